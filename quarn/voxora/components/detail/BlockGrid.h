#pragma once

#include <array>
#include <cstdint>

#include "quarn/voxora/export.h"
#include "quarn/voxora/nodes/SbTypes.h"
#include "quarn/voxora/tiles/detail/TileTable.h"

namespace hxvoxora::detail {

/// Where a block stands among the blocks of a volume, or the way from one to another.
using BlockPlace = std::array<std::int32_t, 3>;

/// A volume cut into blocks of at most 64 voxels a side, so that a row of a block is a word: a tile is one block, or is
/// cut into several.
class QUARN_VOXORA_API BlockGrid {
public:
  explicit BlockGrid(const TileTable& table);

  const TileTable& table() const { return table_; }
  const TileGrid& grid() const { return table_.grid(); }

  /// Voxels of a block along each axis where the volume does not cut it.
  const SbVec3i32& blockSize() const { return blockSize_; }

  const std::array<std::int64_t, 3>& tilesPerAxis() const { return tilesPerAxis_; }

  /// Blocks are numbered tile by tile, and within a tile x fastest, then y, then z.
  std::int64_t blocksPerTile() const { return blocksPerTile_; }
  std::int64_t tileOf(std::int64_t block) const { return block / blocksPerTile_; }
  BlockPlace placeOf(std::int64_t block) const;
  std::int64_t blockAt(const BlockPlace& place) const;

  /// False for a block that has no voxels of the volume.
  bool contains(const BlockPlace& place) const;

  /// False when all voxels of a tile with this content, or of the tile of a block, are clear.
  bool mayHaveVoxels(const TileSlot& slot) const {
    return slot.isReference() || (slot.isUnwritten() ? table_.defaultValue() : slot.value());
  }
  bool mayHaveVoxels(std::int64_t block) const { return mayHaveVoxels(table_.slot(tileOf(block))); }

  /// The block of a voxel.
  BlockPlace placeOfVoxel(const SbVec3i32& voxel) const;

  /// The first voxel of a block.
  SbVec3i32 origin(const BlockPlace& place) const;

  /// Voxels of a block inside the volume.
  SbVec3i32 extent(const BlockPlace& place) const;

  /// Where the bits of a block begin in those of its tile, in bytes.
  std::size_t byteOffset(const BlockPlace& place) const;

private:
  const TileTable& table_;
  SbVec3i32 blockSize_;
  std::array<std::int32_t, 3> blocksPerTileAxis_{}, blocksPerAxis_{};
  std::array<std::int64_t, 3> tilesPerAxis_{};
  std::int64_t blocksPerTile_ = 1;
};

}  // namespace hxvoxora::detail
