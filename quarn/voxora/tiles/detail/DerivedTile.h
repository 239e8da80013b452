#pragma once

#include <array>
#include <cstdint>

#include "quarn/voxora/nodes/SbTypes.h"
#include "quarn/voxora/tiles/detail/TileBacking.h"
#include "quarn/voxora/tiles/detail/TileSlot.h"

namespace hxvoxora::detail {

/// A tile of a lower resolution level, worked out from the eight tiles that it covers whenever its bits are wanted: a
/// voxel is set when any of its eight is. Keeps these tiles alive.
class DerivedTile final : public TileBacking {
public:
  /// Constants or cells, x fastest; a place outside the finer level is a clear constant.
  using Children = std::array<TileSlot, 8>;

  /// `extent` are the voxels of the tile inside its level.
  DerivedTile(Children children, const SbVec3i32& tileDimensions, const SbVec3i32& extent);

  const Children& children() const { return children_; }

  Ref<const TilePayload> load(std::uint64_t key) const override;

private:
  void addChild(int place, std::byte* bits) const;

  const Children children_;
  const SbVec3i32 tileDimensions_;
  const SbVec3i32 extent_;
};

}  // namespace hxvoxora::detail
