#pragma once

#include <cstdint>
#include <vector>

#include "quarn/voxora/components/Component.h"
#include "quarn/voxora/components/detail/BlockGrid.h"

namespace hxvoxora::detail {

/// Tiles first <= tile < end.
struct TileStretch {
  std::int64_t first = 0, end = 0;
};

/// Full tiles, all of whose voxels are set. A mark of the tile table that stands for many of them is not walked tile by
/// tile, but cut into stretches that fill boxes: part of a row of tiles, rows of a slice, or slices. Each full tile
/// belongs to one of these.
class FullTiles {
public:
  explicit FullTiles(const BlockGrid& blocks) : blocks_(blocks) {}

  /// The stretch of a full tile.
  TileStretch at(std::int64_t tile) const;

  /// Calls visit(stretch) for the stretches of full tiles first <= tile < end, which must not cut any.
  template <typename Visit>
  void forEachIn(std::int64_t first, std::int64_t end, Visit visit) const {
    while (first < end) {
      const TileStretch stretch = at(first);
      visit(stretch);
      first = stretch.end;
    }
  }

  /// The voxels of a stretch.
  SbBox3i32 box(const TileStretch& stretch) const;

  /// The same as a component by itself.
  Component component(const TileStretch& stretch) const;

  /// The tiles whose voxels may be neighbours of those of a stretch, as stretches of any content.
  std::vector<TileStretch> around(const TileStretch& stretch, Neighbours neighbours) const;

  /// The numbers of two tiles that touch differ by so much at most.
  std::int64_t reach() const { return tilesPerSlice() + tilesPerRow() + 1; }

private:
  std::int64_t tilesPerRow() const { return blocks_.tilesPerAxis()[0]; }
  std::int64_t tilesPerSlice() const { return tilesPerRow() * blocks_.tilesPerAxis()[1]; }

  const BlockGrid& blocks_;
};

}  // namespace hxvoxora::detail
