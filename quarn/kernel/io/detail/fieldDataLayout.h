#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

/// The fixed parts of the data file of a field; docs/format/field.md.
namespace quarn::detail::fielddata {

static_assert(std::endian::native == std::endian::little, "the files are little endian and are read as they are");

inline constexpr std::string_view magic = "QRNFLD";
inline constexpr std::uint16_t version = 1;
inline constexpr std::uint64_t preludeBytes = 16;
inline constexpr std::uint64_t entryBytes = 16;
inline constexpr std::uint64_t chunkBytes = std::uint64_t{1} << 20;
/// Chunks that are handled at once, and so the memory that it takes: enough for all processors.
inline constexpr std::uint64_t chunksAtOnce = 32;

/// What the file begins with.
using Prelude = std::array<std::byte, preludeBytes>;

inline Prelude makePrelude(std::uint64_t generation) {
  Prelude prelude{};
  std::memcpy(&prelude[0], magic.data(), magic.size());
  std::memcpy(&prelude[6], &version, sizeof version);
  std::memcpy(&prelude[8], &generation, sizeof generation);
  return prelude;
}

/// An entry of the chunk table, as it is in the file.
struct Entry {
  std::uint64_t storedBytes;
  std::uint64_t checksum;
};
static_assert(sizeof(Entry) == entryBytes);

constexpr std::uint64_t chunkCount(std::uint64_t voxelBytes) {
  return voxelBytes / chunkBytes + (voxelBytes % chunkBytes != 0);
}

/// Bytes of chunk number `chunk` of all voxels.
constexpr std::uint64_t bytesOfChunk(std::uint64_t voxelBytes, std::uint64_t chunk) {
  return std::min(chunkBytes, voxelBytes - chunk * chunkBytes);
}

}  // namespace quarn::detail::fielddata
