#include "bench/codec.h"

#include <cstdio>
#include <libdeflate.h>
#include <memory>
#include <oneapi/tbb/enumerable_thread_specific.h>
#include <oneapi/tbb/parallel_for.h>
#include <vector>

#include "bench/measure.h"

namespace bench {

namespace {

struct FreeCodec {
  void operator()(libdeflate_compressor* codec) const { libdeflate_free_compressor(codec); }
  void operator()(libdeflate_decompressor* codec) const { libdeflate_free_decompressor(codec); }
};

using Tile = hxvoxora::Ref<const hxvoxora::TilePayload>;
using Bytes = std::vector<std::uint8_t>;

std::vector<Tile> tilesWithBits(const hxvoxora::TileSnapshot& content) {
  std::vector<Tile> tiles;
  for (std::int64_t i = 0; i < content.tileCount(); ++i)
    if (Tile tile = content.payload(i)) tiles.push_back(std::move(tile));
  return tiles;
}

/// A codec and a buffer of one worker.
struct Compressor {
  std::unique_ptr<libdeflate_compressor, FreeCodec> codec{libdeflate_alloc_compressor(1)};
  Bytes out;

  std::size_t run(const Tile& tile) {
    out.resize(libdeflate_gzip_compress_bound(codec.get(), tile->byteSize()));
    return libdeflate_gzip_compress(codec.get(), tile->bits(), tile->byteSize(), out.data(), out.size());
  }
};

struct Decompressor {
  std::unique_ptr<libdeflate_decompressor, FreeCodec> codec{libdeflate_alloc_decompressor()};
  Bytes out;

  void run(const Bytes& packed, std::size_t size) {
    out.resize(size);
    libdeflate_gzip_decompress(codec.get(), packed.data(), packed.size(), out.data(), size, nullptr);
    benchmark::ClobberMemory();
  }
};

/// The best of three parallel passes over the tiles.
template <class Work>
Limit timeTiles(const char* what, const std::vector<Tile>& tiles, Work work) {
  if (tiles.empty()) return {};
  double seconds = 0;
  for (int i = 0; i < 3; ++i) {
    const double pass = secondsOf([&] { tbb::parallel_for(std::size_t{0}, tiles.size(), work); });
    seconds = i == 0 ? pass : std::min(seconds, pass);
  }
  char text[64];
  std::snprintf(text, sizeof text, "%s %zu tiles", what, tiles.size());
  return {seconds, text};
}

}  // namespace

Limit compress(const hxvoxora::TileSnapshot& content) {
  const std::vector<Tile> tiles = tilesWithBits(content);
  tbb::enumerable_thread_specific<Compressor> workers;
  return timeTiles("compress", tiles, [&](std::size_t i) { workers.local().run(tiles[i]); });
}

Limit decompress(const hxvoxora::TileSnapshot& content) {
  const std::vector<Tile> tiles = tilesWithBits(content);
  std::vector<Bytes> packed;
  Compressor compressor;
  for (const Tile& tile : tiles) {
    const std::size_t size = compressor.run(tile);
    packed.emplace_back(compressor.out.begin(), compressor.out.begin() + static_cast<std::ptrdiff_t>(size));
  }
  tbb::enumerable_thread_specific<Decompressor> workers;
  return timeTiles("decompress", tiles, [&](std::size_t i) { workers.local().run(packed[i], tiles[i]->byteSize()); });
}

}  // namespace bench
