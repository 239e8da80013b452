#pragma once

#include <cstdint>

#include "quarn/base/McVec3i.h"
#include "quarn/base/export.h"

/// Numbers of voxels along x, y, z in 64 bits.
struct McDim3l {
  std::int64_t nx = 0;
  std::int64_t ny = 0;
  std::int64_t nz = 0;

  constexpr McDim3l() noexcept = default;
  constexpr McDim3l(std::int64_t x, std::int64_t y, std::int64_t z) noexcept : nx(x), ny(y), nz(z) {}
  constexpr McDim3l(const McVec3i& dimensions) noexcept : nx(dimensions.x), ny(dimensions.y), nz(dimensions.z) {}

  /// 0, 1, 2 are x, y, z.
  constexpr std::int64_t& operator[](int axis) noexcept { return axis == 0 ? nx : axis == 1 ? ny : nz; }
  constexpr const std::int64_t& operator[](int axis) const noexcept { return axis == 0 ? nx : axis == 1 ? ny : nz; }

  friend constexpr bool operator==(const McDim3l&, const McDim3l&) noexcept = default;

  /// nx * ny * nz. McException when a count is negative or the product exceeds 64 bits.
  QUARN_BASE_API std::int64_t voxelCount() const;
};
