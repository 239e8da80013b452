#include "fuzz/targets/tileInput.h"

#include <algorithm>
#include <libdeflate.h>
#include <memory>
#include <xxhash.h>

namespace fuzz {

using hxvoxora::TileForm;
using hxvoxora::VolumeHeader;
using Bytes = std::vector<std::byte>;
using Span = std::span<const std::byte>;

namespace {

std::size_t takeNumber16(Span& input) {
  std::size_t value = 0;
  for (const std::byte byte : take(input, 2)) value = value << 8 | std::to_integer<std::size_t>(byte);
  return value;
}

Bytes gzipped(Span raw) {
  const std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor*)> codec(libdeflate_alloc_compressor(1),
                                                                                       libdeflate_free_compressor);
  Bytes packed(libdeflate_gzip_compress_bound(codec.get(), raw.size()));
  packed.resize(libdeflate_gzip_compress(codec.get(), raw.data(), raw.size(), packed.data(), packed.size()));
  return packed;
}

}  // namespace

Span take(Span& input, std::size_t count) {
  const Span front = input.first(std::min(count, input.size()));
  input = input.subspan(front.size());
  return front;
}

PlacedTile nextTile(Span& input, const VolumeHeader& header, std::uint64_t first) {
  constexpr unsigned isGzip = 1, isBricks = 2, packHere = 4, wrongChecksum = 8, fillUp = 16;
  const auto flags = std::to_integer<unsigned>(take(input, 1)[0]);
  const Span content = take(input, takeNumber16(input));
  PlacedTile tile;
  tile.number = first + (flags >> 5);
  tile.packed.bytes.assign(content.begin(), content.end());
  if (flags & fillUp) tile.packed.bytes.resize(header.tileBytes());
  if (flags & packHere) tile.packed.bytes = gzipped(tile.packed.bytes);
  if (flags & isBricks) tile.packed.form = TileForm::bricks;
  if (flags & (isGzip | packHere)) tile.packed.form = TileForm::gzipBricks;
  tile.packed.checksum = XXH3_64bits(tile.packed.bytes.data(), tile.packed.bytes.size());
  if (flags & wrongChecksum) ++tile.packed.checksum;
  return tile;
}

Bytes damaged(Bytes data, Span input) {
  while (input.size() >= 3 && !data.empty()) {
    const std::size_t place = takeNumber16(input);
    const std::byte value = take(input, 1)[0];
    if (place < data.size()) {
      data[place] ^= value;
    } else {
      data.resize(place % data.size());
    }
  }
  return data;
}

}  // namespace fuzz
