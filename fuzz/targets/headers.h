#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "quarn/voxora/files/VolumeHeader.h"

namespace fuzz {

/// Headers of several shapes for index and data, chosen by a number of any size: small and cut at the upper borders,
/// one voxel, not packed, huge. File names and generation are set.
hxvoxora::VolumeHeader headerNumber(std::size_t number);
constexpr std::size_t headerCount = 4;

/// The generation of these headers.
constexpr std::uint64_t generation = 0x7d0c93a1b2f4e865;

/// Makes an index or data file belong to these headers.
void setGeneration(std::span<std::byte> file);

/// What a data file of these headers begins with.
std::vector<std::byte> dataHead();

/// Puts the checksum that belongs to a tile index at its end.
void sign(std::span<std::byte> index);

}  // namespace fuzz
