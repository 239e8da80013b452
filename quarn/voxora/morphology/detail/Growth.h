#pragma once

namespace hxvoxora::detail {

/// What a sweep over the tiles of a volume does. The *front* are the voxels that spread: the set ones, or for an
/// erosion the clear ones, to which everything outside of the volume belongs.
struct Growth {
  bool isErosion = false;
  int reach = 1;  ///< how far the front spreads, in steps to face neighbours; 1 to maximumReach

  bool isFront(bool voxel) const { return voxel != isErosion; }
};

}  // namespace hxvoxora::detail
