#include "fuzz/targets/headers.h"

#include <algorithm>
#include <string_view>
#include <xxhash.h>

namespace fuzz {

using hxvoxora::TileCompression;
using hxvoxora::VolumeHeader;

namespace {

constexpr std::size_t generationAt = 8;
constexpr std::size_t checksumBytes = 8;

void poke(std::span<std::byte> bytes, std::uint64_t value) {
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = std::byte(value >> 8 * i & 0xFF);
}

VolumeHeader make(McVec3i dimensions, McVec3i tileDimensions, TileCompression compression, int levels) {
  VolumeHeader header;
  header.dimensions = dimensions;
  header.tileDimensions = tileDimensions;
  header.compression = compression;
  header.levels = levels;
  header.dataFile = "a.dat";
  header.indexFile = "a.fcp";
  header.generation = generation;
  return header;
}

}  // namespace

VolumeHeader headerNumber(std::size_t number) {
  switch (number % headerCount) {
    case 0:
      return make({50, 13, 11}, {32, 8, 8}, TileCompression::gzip, 2);
    case 1:
      return make({1, 1, 1}, {32, 16, 8}, TileCompression::gzip, 1);
    case 2:
      return make({70, 20, 9}, {32, 8, 16}, TileCompression::none, 1);
    default:
      return make({1 << 17, 1 << 15, 1 << 17}, {32, 8, 8}, TileCompression::gzip, 15);
  }
}

void setGeneration(std::span<std::byte> file) {
  if (file.size() >= generationAt + 8) poke(file.subspan(generationAt, 8), generation);
}

std::vector<std::byte> dataHead() {
  constexpr std::string_view start("VOXDAT\1\0", generationAt);
  std::vector<std::byte> head(generationAt + 8);
  std::transform(start.begin(), start.end(), head.begin(), [](char c) { return std::byte(c); });
  setGeneration(head);
  return head;
}

void sign(std::span<std::byte> index) {
  if (index.size() < checksumBytes) return;
  const std::size_t signedBytes = index.size() - checksumBytes;
  poke(index.subspan(signedBytes), XXH3_64bits(index.data(), signedBytes));
}

}  // namespace fuzz
