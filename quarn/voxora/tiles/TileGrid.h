#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "quarn/voxora/bits/BitRows.h"
#include "quarn/voxora/export.h"
#include "quarn/voxora/nodes/SbTypes.h"

namespace hxvoxora {

/// A volume cut into tiles of one size. Tiles are numbered from 0, x fastest, then y, then z; tiles at the upper ends
/// may reach over the volume. Values of this class never change and are safe to read from any thread.
class QUARN_VOXORA_API TileGrid {
public:
  /// More tiles than this are refused.
  static constexpr std::int64_t maximumTileCount = std::int64_t{1} << 40;

  /// A grid without voxels and tiles.
  TileGrid() = default;

  /// Throws McException when a dimension is not positive, when a tile dimension is not a power of two from 8 (x: 32)
  /// to 256, or when there are too many tiles; the text names the value.
  TileGrid(const SbVec3i32& dimensions, const SbVec3i32& tileDimensions);

  bool isEmpty() const { return tileCount_ == 0; }
  const SbVec3i32& dimensions() const { return dimensions_; }
  const SbVec3i32& tileDimensions() const { return tileDimensions_; }
  std::int64_t tileCount() const { return tileCount_; }

  /// The bytes of one tile's bits.
  std::size_t tileByteSize() const { return tileByteSize_; }

  /// All voxels; empty for a grid without voxels.
  SbBox3i32 box() const;

  /// Voxels of a tile inside the volume.
  SbBox3i32 tileBox(std::int64_t tile) const;

  /// True when a tile reaches over the volume, so that some of its bits stand for no voxel. These are always clear.
  bool isCut(std::int64_t tile) const;

  /// Where the voxels of a tile lie in its bits.
  BitLayout tileLayout(std::int64_t tile) const;

  friend bool operator==(const TileGrid& a, const TileGrid& b) {
    return a.dimensions_ == b.dimensions_ && a.tileDimensions_ == b.tileDimensions_;
  }

  /// The tiles that share voxels with a box, in ascending order.
  class Range {
  public:
    std::int64_t size() const { return count_[0] * count_[1] * count_[2]; }
    std::int64_t operator[](std::int64_t i) const;

    /// Tiles of the range along an axis.
    std::int64_t count(int axis) const { return count_[axis]; }

  private:
    friend class TileGrid;
    std::array<std::int64_t, 3> first_{}, count_{}, tilesPerAxis_{};
  };

  /// The tiles of a box; the part outside the volume has none.
  Range tilesOf(const SbBox3i32& box) const;

private:
  std::array<std::int64_t, 3> place(std::int64_t tile) const;

  SbVec3i32 dimensions_;
  SbVec3i32 tileDimensions_;
  std::array<std::int64_t, 3> tilesPerAxis_{};
  std::int64_t tileCount_ = 0;
  std::size_t tileByteSize_ = 0;
};

}  // namespace hxvoxora
