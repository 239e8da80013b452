#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "quarn/voxora/tiles/TileGrid.h"

namespace hxvoxora::detail {

/// Numbers of tiles from their places along the axes.
struct TileNumbers {
  explicit TileNumbers(const TileGrid& grid) {
    for (int axis = 0; axis < 3; ++axis)
      count[static_cast<std::size_t>(axis)] =
          (std::int64_t{grid.dimensions()[axis]} + grid.tileDimensions()[axis] - 1) / grid.tileDimensions()[axis];
  }

  std::int64_t perSlice() const { return count[0] * count[1]; }
  std::int64_t number(std::int64_t x, std::int64_t y, std::int64_t z) const {
    return (z * count[1] + y) * count[0] + x;
  }

  bool isInside(std::int64_t x, std::int64_t y, std::int64_t z) const {
    return x >= 0 && y >= 0 && z >= 0 && x < count[0] && y < count[1] && z < count[2];
  }

  std::array<std::int64_t, 3> count{};
};

}  // namespace hxvoxora::detail
