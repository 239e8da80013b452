#include "quarn/voxora/files/detail/TileIndex.h"

#include <algorithm>
#include <xxhash.h>

#include "quarn/voxora/files/detail/TileIndexParser.h"
#include "quarn/voxora/files/detail/filePrelude.h"
#include "quarn/voxora/files/detail/littleEndian.h"
#include "quarn/voxora/files/detail/tileIndexLayout.h"

namespace hxvoxora {

namespace {

using detail::appendLittleEndian;

void appendVector(std::vector<std::byte>& bytes, const McVec3i& v) {
  for (int axis = 0; axis < 3; ++axis) appendLittleEndian(bytes, static_cast<std::uint32_t>(v[axis]));
}

std::vector<std::byte> packKinds(const std::vector<StoredTileRun>& runs) {
  std::vector<std::byte> bytes;
  for (const StoredTileRun& run : runs) {
    std::uint64_t value = run.tileCount << 2 | static_cast<std::uint64_t>(run.kind);
    for (; value >= 0x80; value >>= 7) bytes.push_back(static_cast<std::byte>(value | 0x80));
    bytes.push_back(static_cast<std::byte>(value));
  }
  return bytes;
}

}  // namespace

TileIndex::TileIndex(std::vector<StoredTileRun> runs, std::vector<StoredTile> stored)
    : runs_(std::move(runs)), stored_(std::move(stored)) {
  std::uint64_t count = 0;
  storedBefore_.reserve(runs_.size());
  for (const StoredTileRun& run : runs_) {
    storedBefore_.push_back(count);
    if (run.kind == StoredTileKind::stored) count += run.tileCount;
  }
}

TileIndex TileIndex::read(const InputFile& file, const VolumeHeader& header, std::uint64_t dataBytes) {
  return detail::TileIndexParser(file, header, dataBytes).parse();
}

std::vector<std::byte> TileIndex::toBytes(const VolumeHeader& header, std::uint64_t dataBytes) const {
  const std::vector<std::byte> kinds = packKinds(runs_);
  std::vector<std::byte> bytes;
  bytes.reserve(detail::indexHeadBytes + kinds.size() + detail::indexEntryBytes * stored_.size() +
                sizeof(XXH64_hash_t));
  detail::appendPrelude(bytes, detail::indexMagic, header.generation);
  appendLittleEndian(bytes, detail::byteOrderMark);
  appendLittleEndian(bytes, detail::compressionCode(header.compression));
  appendVector(bytes, header.dimensions);
  appendVector(bytes, header.tileDimensions);
  appendLittleEndian(bytes, header.tileCount());
  appendLittleEndian(bytes, std::uint64_t{stored_.size()});
  appendLittleEndian(bytes, dataBytes);
  appendLittleEndian(bytes, std::uint64_t{kinds.size()});
  bytes.insert(bytes.end(), kinds.begin(), kinds.end());
  for (const StoredTile& tile : stored_) {
    appendLittleEndian(bytes, tile.offset);
    appendLittleEndian(bytes, tile.length);
    appendLittleEndian(bytes, static_cast<std::uint32_t>(tile.form));
    appendLittleEndian(bytes, tile.checksum);
  }
  appendLittleEndian(bytes, std::uint64_t{XXH3_64bits(bytes.data(), bytes.size())});
  return bytes;
}

const StoredTile* TileIndex::find(std::uint64_t tile) const {
  const std::size_t run = runOf(tile);
  if (runs_[run].kind != StoredTileKind::stored) return nullptr;
  return &stored_[static_cast<std::size_t>(storedBefore_[run] + (tile - runs_[run].firstTile))];
}

std::size_t TileIndex::runOf(std::uint64_t tile) const {
  const auto after = std::upper_bound(runs_.begin(), runs_.end(), tile,
                                      [](std::uint64_t t, const StoredTileRun& run) { return t < run.firstTile; });
  return static_cast<std::size_t>(after - runs_.begin()) - 1;
}

}  // namespace hxvoxora
