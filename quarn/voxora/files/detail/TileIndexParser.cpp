#include "quarn/voxora/files/detail/TileIndexParser.h"

#include <algorithm>
#include <array>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/detail/filePrelude.h"
#include "quarn/voxora/files/detail/littleEndian.h"
#include "quarn/voxora/files/detail/tileIndexLayout.h"

namespace hxvoxora::detail {

namespace {

constexpr std::uint64_t entriesPerPiece = 128;

}  // namespace

TileIndex TileIndexParser::parse() {
  readHead();
  std::vector<StoredTileRun> runs = readKinds();
  std::vector<StoredTile> stored = readStored(runs);
  checkChecksum();
  checkLayout(stored);
  return {std::move(runs), std::move(stored)};
}

void TileIndexParser::fail(const std::string& field, const std::string& value, const std::string& reason) const {
  throw McException(file_.path() + ": " + field + " " + value + ": " + reason);
}

void TileIndexParser::require(const char* field, std::uint64_t value, std::uint64_t expected) const {
  if (value != expected) fail(field, std::to_string(value), "must be " + std::to_string(expected));
}

void TileIndexParser::readHead() {
  std::array<std::byte, indexHeadBytes> head{};
  reader_.read(head);
  const auto number32 = [&](std::size_t at) { return readLittleEndian<std::uint32_t>(&head[at]); };
  const auto number64 = [&](std::size_t at) { return readLittleEndian<std::uint64_t>(&head[at]); };
  require("byte order", number32(16), byteOrderMark);
  require("compression", number32(20), compressionCode(header_.compression));
  for (int axis = 0; axis < 3; ++axis) {
    const auto at = static_cast<std::size_t>(4 * axis);
    require("dimension", number32(24 + at), static_cast<std::uint32_t>(header_.dimensions[axis]));
    require("tile dimension", number32(36 + at), static_cast<std::uint32_t>(header_.tileDimensions[axis]));
  }
  require("tile count", number64(48), header_.tileCount());
  storedCount_ = number64(56);
  const std::uint64_t dataBytes = number64(64);
  kindsBytes_ = number64(72);
  if (dataBytes != dataBytes_) {
    fail("data length", std::to_string(dataBytes), header_.dataFile + " has " + std::to_string(dataBytes_) + " bytes");
  }

  // A run takes no more bytes than it has tiles, so that neither product nor sum below can overflow.
  const std::uint64_t tiles = header_.tileCount();
  if (storedCount_ > tiles) fail("stored count", std::to_string(storedCount_), "more than there are tiles");
  if (kindsBytes_ > tiles) fail("kinds length", std::to_string(kindsBytes_), "more than there are tiles");
  require("size of the file", file_.identity().size,
          indexHeadBytes + kindsBytes_ + indexEntryBytes * storedCount_ + indexChecksumBytes);
}

std::vector<StoredTileRun> TileIndexParser::readKinds() {
  std::vector<StoredTileRun> runs;
  std::uint64_t tile = 0;
  for (std::uint64_t bytesLeft = kindsBytes_; bytesLeft > 0;) {
    StoredTileRun run = readRun(bytesLeft);
    run.firstTile = tile;
    if (run.tileCount == 0) fail("kinds", "of tile " + std::to_string(tile), "a run without tiles");
    if (run.tileCount > header_.tileCount() - tile) {
      fail("kinds", "of tile " + std::to_string(tile), std::to_string(run.tileCount) + " tiles are too many");
    }
    if (!runs.empty() && runs.back().kind == run.kind) {
      fail("kinds", "of tile " + std::to_string(tile), "same kind as the run before");
    }
    tile += run.tileCount;
    runs.push_back(run);
  }
  if (tile != header_.tileCount()) fail("kinds", "of tile " + std::to_string(tile), "missing");
  return runs;
}

StoredTileRun TileIndexParser::readRun(std::uint64_t& bytesLeft) {
  std::uint64_t value = 0;
  for (int shift = 0; shift < 63; shift += 7) {
    if (bytesLeft-- == 0) break;
    const auto byte = std::to_integer<std::uint64_t>(reader_.readByte());
    value |= (byte & 0x7F) << shift;
    if (byte < 0x80) return {0, value >> 2, static_cast<StoredTileKind>(value & 3)};
  }
  fail("kinds", std::to_string(value), "a number does not end");
}

std::vector<StoredTile> TileIndexParser::readStored(const std::vector<StoredTileRun>& runs) {
  std::vector<StoredTile> stored;
  for (const StoredTileRun& run : runs) {
    if (run.kind != StoredTileKind::stored) continue;
    if (run.tileCount > storedCount_ - stored.size()) break;
    for (std::uint64_t done = 0; done < run.tileCount;) {
      const std::uint64_t count = std::min(run.tileCount - done, entriesPerPiece);
      readEntries(run.firstTile + done, count, stored);
      done += count;
    }
  }
  std::uint64_t storedKinds = 0;
  for (const StoredTileRun& run : runs) storedKinds += run.kind == StoredTileKind::stored ? run.tileCount : 0;
  require("stored count", storedCount_, storedKinds);
  return stored;
}

void TileIndexParser::readEntries(std::uint64_t firstTile, std::uint64_t count, std::vector<StoredTile>& stored) {
  std::array<std::byte, indexEntryBytes * entriesPerPiece> piece;
  reader_.read(std::span(piece).first(static_cast<std::size_t>(indexEntryBytes * count)));
  for (std::uint64_t i = 0; i < count; ++i) {
    const std::byte* bytes = &piece[static_cast<std::size_t>(indexEntryBytes * i)];
    const StoredTile entry{readLittleEndian<std::uint64_t>(bytes), readLittleEndian<std::uint32_t>(bytes + 8),
                           static_cast<TileForm>(readLittleEndian<std::uint32_t>(bytes + 12)),
                           readLittleEndian<std::uint64_t>(bytes + 16)};
    checkStored(firstTile + i, entry);
    stored.push_back(entry);
  }
}

void TileIndexParser::checkStored(std::uint64_t tile, const StoredTile& entry) const {
  const auto failTile = [&](const char* field, std::uint64_t value, const std::string& reason) {
    fail(std::string(field) + " of tile " + std::to_string(tile), std::to_string(value), reason);
  };
  if (entry.offset < preludeBytes) failTile("offset", entry.offset, "inside the head of the data file");
  if (entry.offset >= dataBytes_) failTile("offset", entry.offset, "behind the end of the data file");
  if (entry.length == 0) failTile("length", entry.length, "empty");
  if (entry.length > dataBytes_ - entry.offset) failTile("length", entry.length, "beyond the end of the data file");
  const auto form = static_cast<std::uint32_t>(entry.form);
  if (entry.form > TileForm::gzipBricks) failTile("form", form, "not known");
  if (entry.form != TileForm::raw && header_.compression == TileCompression::none) {
    failTile("form", form, "compression is none");
  }
  if (entry.form == TileForm::bricks && header_.border > 0) failTile("form", form, "tiles with borders have no bricks");
  if (entry.form == TileForm::raw ? entry.length != tileBytes_ : entry.length >= tileBytes_) {
    failTile("length", entry.length, "does not fit a tile of " + std::to_string(tileBytes_) + " bytes");
  }
}

/// Every byte behind the head of the data file belongs to exactly one tile.
void TileIndexParser::checkLayout(const std::vector<StoredTile>& stored) const {
  std::vector<StoredTile> sorted;
  const auto before = [](const StoredTile& a, const StoredTile& b) { return a.offset < b.offset; };
  const bool inOrder = std::is_sorted(stored.begin(), stored.end(), before);
  if (!inOrder) {
    sorted = stored;
    std::sort(sorted.begin(), sorted.end(), before);
  }
  std::uint64_t end = preludeBytes;
  for (const StoredTile& entry : inOrder ? stored : sorted) {
    if (entry.offset < end) fail("offset", std::to_string(entry.offset), "inside another tile");
    if (entry.offset > end) fail("offset", std::to_string(entry.offset), "a gap before it");
    end += entry.length;
  }
  if (end != dataBytes_) fail("data length", std::to_string(dataBytes_), "no tile ends there");
}

void TileIndexParser::checkChecksum() {
  const std::uint64_t expected = reader_.checksum();
  std::array<std::byte, indexChecksumBytes> bytes{};
  reader_.read(bytes);
  const auto found = readLittleEndian<std::uint64_t>(bytes.data());
  if (found != expected) fail("checksum", std::to_string(found), "must be " + std::to_string(expected));
}

}  // namespace hxvoxora::detail
