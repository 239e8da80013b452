#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "quarn/voxora/nodes/SbTypes.h"

/// The volumes that the benchmarks work on. All are drawn with fixed seeds.
namespace bench {

/// One bit per voxel: x fastest, most significant bit of a byte first, no padding.
struct PackedVolume {
  explicit PackedVolume(const SbVec3i32& dimensions);

  SbBox3i32 box() const { return {{0, 0, 0}, {size[0] - 1, size[1] - 1, size[2] - 1}}; }

  SbVec3i32 size;
  std::vector<std::uint8_t> bits;
};

/// 100 ellipsoids with half axes of 10 to 60 voxels.
PackedVolume solidBodies(const SbVec3i32& size, std::uint64_t seed);

/// 200 balls with radii of 4 to 24 voxels.
PackedVolume balls(const SbVec3i32& size, std::uint64_t seed);

/// Every voxel set with probability 1/2: no tile is constant and nothing compresses.
PackedVolume noise(const SbVec3i32& size, std::uint64_t seed);

/// Every voxel set with probability 51/256, a fifth: most pieces are single voxels.
PackedVolume sparseNoise(const SbVec3i32& size, std::uint64_t seed);

/// 200 balls with radii of 20 to 120 voxels.
PackedVolume wideBalls(const SbVec3i32& size, std::uint64_t seed);

/// A kind of volume: two of it, drawn from different seeds, are the operands of an operation.
struct VolumeKind {
  std::string name;
  SbVec3i32 size;
  PackedVolume (*draw)(const SbVec3i32& size, std::uint64_t seed);
};

/// Bodies, balls and noise on 512 x 512 x 512, and bodies on 181 x 217 x 181, the grid of a head at 1 mm.
const std::vector<VolumeKind>& volumeKinds();

/// What the bars are held on: wide balls on 1024 x 1024 x 1024, noise on 512 x 512 x 512.
const VolumeKind& largeBalls();
const VolumeKind& largeNoise();

}  // namespace bench
