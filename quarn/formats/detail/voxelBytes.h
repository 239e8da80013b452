#pragma once

#include <QString>
#include <array>
#include <cstdint>

#include "quarn/formats/detail/VoxelKind.h"

namespace quarn::formats::detail {

/// Bytes of all voxels of a lattice.
///
/// @throws McException, naming `file`, for numbers of voxels that are not positive, and for bytes that cannot be
///   counted in 63 bits.
std::int64_t voxelBytes(const std::array<std::int64_t, 3>& dimensions, VoxelKind kind, const QString& file);

/// Checks, before room for the voxels is made, that `stored` compressed bytes can be unpacked to as many as they are
/// said to be: no compression that is read here packs more than `ratio` bytes into one.
///
/// @throws McException, naming `file`.
void requireUnpackable(std::int64_t stored, std::int64_t unpacked, std::int64_t ratio, const QString& file);

/// Of the "deflate" compression.
constexpr std::int64_t deflateRatio = 1032;

}  // namespace quarn::formats::detail
