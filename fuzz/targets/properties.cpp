#include "fuzz/targets/properties.h"

#include <algorithm>
#include <stdexcept>

#include "quarn/base/McException.h"

namespace fuzz {

namespace {

// A path, an element and two values, each cut at 200 characters of at most four bytes.
constexpr std::size_t longestMessage = 4000;

}  // namespace

void require(bool holds, const std::string& property) {
  if (!holds) throw std::logic_error(property);
}

std::string refusalOf(const std::function<void()>& action) {
  try {
    action();
    return {};
  } catch (const McException& failure) {
    const std::string text = failure.what();
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    require(text.find("/v/a.") != std::string::npos, "a refusal names a file: " + text);
    require(text.size() <= longestMessage, "a refusal is short: " + text);
    require(std::none_of(text.begin(), text.end(), isControl), "a refusal has no control characters: " + text);
    return text;
  }
}

void requireSame(const hxvoxora::VolumeHeader& a, const hxvoxora::VolumeHeader& b) {
  require(a.dimensions == b.dimensions, "same dimensions");
  require(a.tileDimensions == b.tileDimensions, "same tile dimensions");
  require(a.compression == b.compression, "same compression");
  require(a.border == b.border, "same border");
  require(a.dataFile == b.dataFile, "same data file");
  require(a.indexFile == b.indexFile, "same index file");
  require(a.generation == b.generation, "same generation");
  require(a.levels == b.levels, "same levels");
  require(a.tileCount() == b.tileCount(), "same tile count");
}

bool isClearOutside(std::span<const std::byte> bits, const hxvoxora::VolumeHeader& header, std::uint64_t tile) {
  const McVec3i size = header.tileDimensions;
  const McVec3i extent = header.tileExtent(tile);
  std::size_t i = 0;
  for (int z = 0; z < size.z; ++z) {
    for (int y = 0; y < size.y; ++y) {
      for (int x = 0; x < size.x; ++x, ++i) {
        const bool outside = x >= extent.x || y >= extent.y || z >= extent.z;
        if (outside && (bits[i / 8] & std::byte(0x80 >> i % 8)) != std::byte{0}) return false;
      }
    }
  }
  return true;
}

}  // namespace fuzz
