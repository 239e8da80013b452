#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "quarn/voxora/files/CompressedTile.h"
#include "quarn/voxora/files/VolumeHeader.h"

/// How the fuzzer of tile data reads its input.
namespace fuzz {

/// Takes up to `count` bytes from the front.
std::span<const std::byte> take(std::span<const std::byte>& input, std::size_t count);

struct PlacedTile {
  std::uint64_t number = 0;
  hxvoxora::CompressedTile packed;
};

/// A byte of flags, two for a length, and this many of a tile. The checksum is made to be right unless the flags say
/// otherwise: only what is behind it is of interest. Numbers ascend from `first`.
PlacedTile nextTile(std::span<const std::byte>& input, const hxvoxora::VolumeHeader& header, std::uint64_t first);

/// Triples of a place (two bytes) and a byte that is put over it by exclusive or. A place behind the end cuts the file
/// at that place modulo its size.
std::vector<std::byte> damaged(std::vector<std::byte> data, std::span<const std::byte> input);

}  // namespace fuzz
