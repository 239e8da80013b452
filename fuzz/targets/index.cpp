#include <algorithm>

#include "fuzz/targets/HostileSet.h"
#include "fuzz/targets/headers.h"
#include "fuzz/targets/properties.h"
#include "fuzz/targets/targets.h"
#include "quarn/voxora/files/TiledFileReader.h"

namespace fuzz {

using hxvoxora::StoredTileKind;
using hxvoxora::StoredTileRun;
using hxvoxora::TiledFileReader;

namespace {

// Options: bits 0 and 1 choose the header.
constexpr unsigned headerBits = 3;
constexpr unsigned signAnew = 4;       // put the right checksum at the end, so that damage reaches the other checks
constexpr unsigned believeLength = 8;  // the data file has the size that the index says

constexpr std::size_t dataLengthAt = 64;
constexpr std::uint64_t mostTilesToRead = 16;
constexpr std::size_t mostTileBytes = std::size_t{1} << 20;

std::uint64_t dataLengthIn(std::span<const std::byte> index) {
  if (index.size() < dataLengthAt + 8) return 0;
  std::uint64_t value = 0;
  for (std::size_t i = 8; i-- > 0;) value = value << 8 | std::to_integer<std::uint64_t>(index[dataLengthAt + i]);
  return value;
}

/// The runs cover the grid, and what is said of single tiles agrees with them.
void requireCoverage(const TiledFileReader& reader) {
  std::uint64_t next = 0;
  std::uint64_t stored = 0;
  const StoredTileRun* before = nullptr;
  for (const StoredTileRun& run : reader.runs()) {
    require(run.firstTile == next && run.tileCount > 0, "runs follow each other");
    require(!before || before->kind != run.kind, "neighbouring runs differ");
    next += run.tileCount;
    for (const std::uint64_t tile : {run.firstTile, next - 1}) {
      require(reader.kind(tile) == run.kind, "a tile is what its run says");
      const bool hasChecksum = refusalOf([&] { reader.checksum(tile); }).empty();
      require(hasChecksum == (run.kind == StoredTileKind::stored), "stored tiles have a checksum");
    }
    if (run.kind == StoredTileKind::stored) stored += run.tileCount;
    before = &run;
  }
  require(next == reader.header().tileCount(), "runs end with the grid");
  require(stored == reader.storedCount(), "stored tiles are counted");
  require(!refusalOf([&] { reader.kind(next); }).empty(), "no tile behind the last");
}

/// The data file is all zeros, so that tiles are refused, or hold what their checksum says.
void readTiles(const TiledFileReader& reader) {
  const std::size_t size = reader.header().tileBytes();
  if (size > mostTileBytes) return;
  std::vector<std::byte> bits(size);
  std::uint64_t left = mostTilesToRead;
  for (const StoredTileRun& run : reader.runs()) {
    if (run.kind != StoredTileKind::stored) continue;
    for (std::uint64_t i = 0; i < run.tileCount && left > 0; ++i, --left) {
      const std::uint64_t tile = run.firstTile + i;
      const bool wasRead = refusalOf([&] { reader.read(tile, bits); }).empty();
      require(!wasRead || isClearOutside(bits, reader.header(), tile), "a tile is clear outside the volume");
      refusalOf([&] { reader.readCompressed(tile); });
    }
  }
}

}  // namespace

bool index(std::span<const std::byte> input) {
  if (input.empty()) return false;
  const auto options = std::to_integer<unsigned>(input[0]);
  std::vector<std::byte> bytes(input.begin() + 1, input.end());
  if (options & signAnew) sign(bytes);
  const std::uint64_t dataBytes = options & believeLength ? dataLengthIn(bytes) : 0;
  HostileSet set(headerNumber(options & headerBits).toXml(), bytes, dataHead(), dataBytes);
  std::shared_ptr<TiledFileReader> reader;
  if (!refusalOf([&] { reader = TiledFileReader::open(set, "/v/a.ldm"); }).empty()) return false;
  requireCoverage(*reader);
  readTiles(*reader);
  return true;
}

}  // namespace fuzz
