#include "quarn/voxora/files/detail/tilePacking.h"

#include <algorithm>
#include <xxhash.h>

#include "quarn/voxora/files/detail/ScratchBytes.h"
#include "quarn/voxora/files/detail/brickPacking.h"
#include "quarn/voxora/files/detail/gzip.h"

namespace hxvoxora::detail {

namespace {

constexpr std::size_t smallestProbe = 512, largestProbe = 4096;

/// Whether gzip has a chance. Tiles made of mixed bricks are often noise; a piece from the middle shows it for a part
/// of the time that the whole would take in vain.
bool isWorthGzip(std::span<const std::byte> packed, std::size_t tileBytes) {
  if (packed.size() < tileBytes / 2 || packed.size() < 4 * smallestProbe) return true;
  const std::size_t size = std::clamp(packed.size() / 8, smallestProbe, largestProbe);
  thread_local ScratchBytes scratch;
  return gzipCompress(packed.subspan(packed.size() / 2, size), scratch.get(size - size / 16)) > 0;
}

CompressedTile made(TileForm form, std::span<const std::byte> bytes) {
  return {{bytes.begin(), bytes.end()}, form, XXH3_64bits(bytes.data(), bytes.size())};
}

}  // namespace

CompressedTile packTile(std::span<const std::byte> raw, const McVec3i& tileDimensions, TileCompression compression) {
  if (compression == TileCompression::none) return made(TileForm::raw, raw);
  thread_local ScratchBytes brickScratch, gzipScratch;
  const std::span<std::byte> room = brickScratch.get(maxPackedBytes(tileDimensions));
  const std::span<std::byte> bricks = room.first(packBricks(raw, tileDimensions, room));
  if (isWorthGzip(bricks, raw.size())) {
    const std::span<std::byte> shorter = gzipScratch.get(std::min(bricks.size(), raw.size()) - 1);
    if (const std::size_t size = gzipCompress(bricks, shorter)) return made(TileForm::gzipBricks, shorter.first(size));
  }
  return bricks.size() < raw.size() ? made(TileForm::bricks, bricks) : made(TileForm::raw, raw);
}

std::string unpackTile(TileForm form, std::span<const std::byte> packed, const McVec3i& tileDimensions,
                       std::span<std::byte> out) {
  if (form == TileForm::bricks) return unpackBricks(packed, tileDimensions, out);
  thread_local ScratchBytes scratch;
  const std::span<std::byte> room = scratch.get(maxPackedBytes(tileDimensions));
  std::size_t size = 0;
  std::string objection = gzipDecompress(packed, room, size);
  return objection.empty() ? unpackBricks(room.first(size), tileDimensions, out) : objection;
}

}  // namespace hxvoxora::detail
