#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace bench {

/// The image of a head, 8 bits a voxel, and masks of it on a much finer grid: what is brighter than a threshold. The
/// image is stretched over the grid, each voxel of it becoming a block.
class Brain {
public:
  /// Reads a gzip-packed NIfTI file of unsigned bytes; throws std::runtime_error naming the file when it is not one.
  explicit Brain(const std::string& file);

  /// Each voxel as a cube of `factor` voxels a side: the dimensions, and the values, x fastest.
  struct Voxels {
    SbVec3i32 size;
    std::vector<std::uint8_t> values;
  };
  Voxels enlarged(int factor) const;

  /// Puts the mask of a threshold into an empty mask on a cube, block by block: at no time is there more than a block
  /// in memory beside the mask. One transaction per layer of blocks.
  void draw(SoVolumeMask& mask, int threshold) const;

private:
  struct Block;

  std::uint8_t voxel(const int (&place)[3]) const;
  Block blockAt(const SoVolumeMask& mask, const SbBox3i32& box, int threshold) const;

  void drawSlice(void* bits, std::uint64_t at, const SbVec3i32& grid, const SbBox3i32& box, int imageZ,
                 int threshold) const;

  int size_[3] = {};
  std::vector<std::uint8_t> voxels_;
};

}  // namespace bench
