#pragma once

#include <cstddef>
#include <random>
#include <vector>

#include "quarn/base/McVec3i.h"

/// The voxels that a worker process and the test that reads them afterwards make of one seed.
namespace randommask {

inline constexpr McVec3i kGrid(40, 33, 21);

/// All voxels, x fastest: a random box of noise in an empty grid.
inline std::vector<bool> bits(std::mt19937& random) {
  const int last = static_cast<int>(random() % 20) + 1;
  std::vector<bool> all(static_cast<std::size_t>(kGrid.x) * kGrid.y * kGrid.z);
  for (int z = 0; z < last; ++z) {
    for (int y = 0; y < last; ++y) {
      for (int x = 0; x < last; ++x) {
        all[static_cast<std::size_t>((z * kGrid.y + y) * kGrid.x + x)] = (random() & 1) != 0;
      }
    }
  }
  all[0] = true;
  return all;
}

}  // namespace randommask
