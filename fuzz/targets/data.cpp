#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <optional>

#include "fuzz/targets/headers.h"
#include "fuzz/targets/properties.h"
#include "fuzz/targets/targets.h"
#include "fuzz/targets/tileInput.h"
#include "quarn/voxora/files/MemoryFileSystem.h"
#include "quarn/voxora/files/TiledFileReader.h"
#include "quarn/voxora/files/TiledFileWriter.h"

namespace fuzz {

using hxvoxora::CompressedTile;
using hxvoxora::MemoryFileSystem;
using hxvoxora::StoredTileKind;
using hxvoxora::StoredTileRun;
using hxvoxora::TiledFileReader;
using hxvoxora::TiledFileWriter;
using hxvoxora::VolumeHeader;

namespace {

using Bytes = std::vector<std::byte>;
using Span = std::span<const std::byte>;

// Options: bits 0 and 1 choose the header, bits 2 and 3 what the rest of the input is, bit 4 what becomes of tiles that
// were read.
constexpr unsigned headerBits = 3;
constexpr unsigned handOn = 16;  // they are copied packed, otherwise packed anew
enum class Rest : unsigned {
  storedTiles = 0,  // tiles in the form in which the data file has them, see nextTile()
  bits = 1,         // the bits of a tile, from its beginning
  damage = 2        // what is changed in the data file of a sound set, see damaged()
};

const std::string path = "/v/a.ldm";
const std::string dataPath = "/v/a.dat";

std::unique_ptr<MemoryFileSystem> emptyFolder() {
  auto files = std::make_unique<MemoryFileSystem>();
  files->makeDirectory("/v");
  return files;
}

/// Whether a writer took what `put` gives it.
bool write(MemoryFileSystem& files, const VolumeHeader& header, const std::function<void(TiledFileWriter&)>& put) {
  return refusalOf([&] {
           TiledFileWriter writer(files, path, header);
           put(writer);
           writer.commit();
         })
      .empty();
}

/// The bits of a tile; none when it is refused.
std::optional<Bytes> readTile(const TiledFileReader& reader, std::uint64_t tile) {
  // Read over two different backgrounds: no byte may be left from before.
  Bytes first(reader.header().tileBytes(), std::byte{0xAA});
  Bytes second(first.size(), std::byte{0x55});
  const std::string refusal = refusalOf([&] { reader.read(tile, first); });
  require(refusalOf([&] { reader.read(tile, second); }) == refusal, "a tile is read the same way twice");
  if (!refusal.empty()) return std::nullopt;
  require(first == second, "every byte of a tile is read");
  require(isClearOutside(first, reader.header(), tile), "a tile is clear outside the volume");
  return first;
}

/// Tiles read packed in one piece are those that are read one by one; the first refusal is that of all.
void requireTogether(const TiledFileReader& reader, const std::vector<std::uint64_t>& numbers) {
  std::string expected;
  Bytes bytes;
  for (const std::uint64_t tile : numbers) {
    const std::string refusal = refusalOf([&] {
      const CompressedTile packed = reader.readCompressed(tile);
      bytes.insert(bytes.end(), packed.bytes.begin(), packed.bytes.end());
    });
    if (expected.empty()) expected = refusal;
  }
  Bytes together;
  const std::string refusal = refusalOf([&] { together = reader.readCompressed(std::span(numbers)).bytes; });
  require(refusal == expected, "tiles are refused together as they are one by one");
  require(!refusal.empty() || together == bytes, "tiles are the same together and one by one");
}

std::map<std::uint64_t, Bytes> readTiles(MemoryFileSystem& files) {
  std::map<std::uint64_t, Bytes> tiles;
  std::shared_ptr<TiledFileReader> reader;
  if (!refusalOf([&] { reader = TiledFileReader::open(files, path); }).empty()) return tiles;
  std::vector<std::uint64_t> numbers;
  for (const StoredTileRun& run : reader->runs()) {
    if (run.kind != StoredTileKind::stored) continue;
    for (std::uint64_t tile = run.firstTile; tile < run.firstTile + run.tileCount; ++tile) {
      numbers.push_back(tile);
      if (auto bits = readTile(*reader, tile)) tiles[tile] = std::move(*bits);
    }
  }
  requireTogether(*reader, numbers);
  return tiles;
}

/// Tiles that could be read come back the same from a set that is written with them.
void requireRoundTrip(const VolumeHeader& header, const std::map<std::uint64_t, Bytes>& tiles) {
  const auto files = emptyFolder();
  const bool written = write(*files, header, [&](TiledFileWriter& writer) {
    for (const auto& [number, bits] : tiles) writer.put(number, bits);
  });
  require(written, "what was read can be written");
  require(readTiles(*files) == tiles, "what was written is read");
}

/// Tiles handed on packed, in one piece, read as in the set that they come from.
void requireCopies(MemoryFileSystem& files, const std::map<std::uint64_t, Bytes>& tiles) {
  const auto reader = TiledFileReader::open(files, path);
  std::vector<std::uint64_t> numbers;
  for (const auto& entry : tiles) numbers.push_back(entry.first);
  const auto copy = emptyFolder();
  const bool written = write(*copy, reader->header(), [&](TiledFileWriter& writer) {
    writer.putCompressed(reader->readCompressed(std::span(numbers)));
  });
  require(written, "packed tiles can be handed on");
  require(readTiles(*copy) == tiles, "what was handed on is read");
}

bool storedTiles(const VolumeHeader& header, Span input, bool copy) {
  const auto files = emptyFolder();
  const bool written = write(*files, header, [&](TiledFileWriter& writer) {
    std::uint64_t next = 0;
    while (!input.empty()) {
      const PlacedTile tile = nextTile(input, header, next);
      next = tile.number + 1;
      writer.putCompressed(tile.number, tile.packed);
    }
  });
  if (!written) return false;
  const auto tiles = readTiles(*files);
  if (tiles.empty()) return false;
  if (copy) {
    requireCopies(*files, tiles);
  } else {
    requireRoundTrip(header, tiles);
  }
  return true;
}

void clearOutside(Bytes& bits, const VolumeHeader& header, std::uint64_t tile) {
  const McVec3i size = header.tileDimensions;
  const McVec3i extent = header.tileExtent(tile);
  std::size_t i = 0;
  for (int z = 0; z < size.z; ++z) {
    for (int y = 0; y < size.y; ++y) {
      for (int x = 0; x < size.x; ++x, ++i) {
        if (x >= extent.x || y >= extent.y || z >= extent.z) bits[i / 8] &= ~std::byte(0x80 >> i % 8);
      }
    }
  }
}

/// Any bits come back as they were, in the first and in the last tile of the grid.
bool bitsOfTiles(const VolumeHeader& header, Span input) {
  std::map<std::uint64_t, Bytes> tiles;
  for (const std::uint64_t tile : {std::uint64_t{0}, header.tileCount() - 1}) {
    Bytes bits(header.tileBytes());
    std::copy_n(input.begin(), std::min(input.size(), bits.size()), bits.begin());
    clearOutside(bits, header, tile);
    tiles[tile] = std::move(bits);
  }
  requireRoundTrip(header, tiles);
  return true;
}

/// A sound set, made once for each header.
struct SoundSet {
  explicit SoundSet(const VolumeHeader& header) : files(emptyFolder()) {
    write(*files, header, [&](TiledFileWriter& writer) {
      const std::uint64_t last = header.tileCount() - 1;
      for (std::uint64_t tile = 0; tile <= std::min<std::uint64_t>(last, 2); ++tile) {
        Bytes bits(header.tileBytes());
        for (std::size_t i = 0; i < bits.size(); ++i) bits[i] = std::byte((i * (tile + 3)) >> 4 & 0xFF);
        clearOutside(bits, header, tile);
        writer.put(tile, bits);
      }
    });
    data = files->content(dataPath);
    tiles = readTiles(*files);
  }

  std::unique_ptr<MemoryFileSystem> files;
  Bytes data;
  std::map<std::uint64_t, Bytes> tiles;
};

bool damagedData(std::size_t number, Span input) {
  static std::array<std::unique_ptr<SoundSet>, headerCount> sets;
  std::unique_ptr<SoundSet>& set = sets[number % headerCount];
  if (!set) set = std::make_unique<SoundSet>(headerNumber(number));
  set->files->setContent(dataPath, damaged(set->data, input));
  const auto tiles = readTiles(*set->files);
  for (const auto& [tile, bits] : tiles) require(set->tiles.at(tile) == bits, "damage is noticed");
  return !tiles.empty();
}

}  // namespace

bool data(std::span<const std::byte> input) {
  if (input.empty()) return false;
  const auto options = std::to_integer<unsigned>(take(input, 1)[0]);
  const VolumeHeader header = headerNumber(options & headerBits);
  switch (Rest{options >> 2 & 3}) {
    case Rest::bits:
      return bitsOfTiles(header, input);
    case Rest::damage:
      return damagedData(options & headerBits, input);
    default:
      return storedTiles(header, input, (options & handOn) != 0);
  }
}

}  // namespace fuzz
