#include "tests/voxora/files/volume_files.h"

#include <gtest/gtest.h>

#define XXH_INLINE_ALL
#include <cstdlib>
#include <random>
#include <xxhash.h>

#include "quarn/base/McException.h"

namespace volumefiles {

using hxvoxora::StoredTileKind;
using hxvoxora::VolumeHeader;

VolumeHeader makeHeader(McVec3i dimensions, McVec3i tileDimensions, hxvoxora::TileCompression compression) {
  VolumeHeader header;
  header.dimensions = dimensions;
  header.tileDimensions = tileDimensions;
  header.compression = compression;
  return header;
}

Bytes maskBits(const VolumeHeader& header, std::uint64_t tile, unsigned seed) {
  Bytes bits(header.tileBytes());
  const McVec3i size = header.tileDimensions;
  const McVec3i extent = header.tileExtent(tile);
  for (int z = 0; z < extent.z; ++z) {
    for (int y = 0; y < extent.y; ++y) {
      for (int x = 0; x < extent.x; ++x) {
        const unsigned place = static_cast<unsigned>(x / 3 + 5 * y + 11 * z + 17 * static_cast<int>(tile));
        if ((place * (seed + 2) >> 2) % 3 != 0) continue;
        const auto i = static_cast<std::size_t>((z * size.y + y) * size.x + x);
        bits[i / 8] |= std::byte(0x80 >> i % 8);
      }
    }
  }
  return bits;
}

VolumeHeader sampleHeader() {
  return makeHeader({50, 13, 11}, {32, 8, 8});
}

Tiles sampleTiles(unsigned seed) {
  Tiles tiles;
  tiles[0] = {StoredTileKind::stored, maskBits(sampleHeader(), 0, seed)};
  tiles[1] = {StoredTileKind::one, {}};
  tiles[3] = {StoredTileKind::stored, maskBits(sampleHeader(), 3, seed)};
  tiles[4] = {StoredTileKind::zero, {}};
  tiles[7] = {StoredTileKind::stored, maskBits(sampleHeader(), 7, seed)};
  return tiles;
}

void write(hxvoxora::FileSystem& fileSystem, const std::string& path, const VolumeHeader& header, const Tiles& tiles) {
  hxvoxora::TiledFileWriter writer(fileSystem, path, header);
  for (const auto& [number, tile] : tiles) {
    if (tile.kind == StoredTileKind::stored) {
      writer.put(number, tile.bits);
    } else {
      writer.setKind(number, tile.kind);
    }
  }
  writer.commit();
}

Tiles read(hxvoxora::FileSystem& fileSystem, const std::string& path) {
  const auto reader = hxvoxora::TiledFileReader::open(fileSystem, path);
  Tiles tiles;
  for (std::uint64_t i = 0; i < reader->header().tileCount(); ++i) {
    Tile tile{reader->kind(i), {}};
    if (tile.kind == StoredTileKind::stored) {
      tile.bits.resize(reader->header().tileBytes());
      reader->read(i, tile.bits);
    }
    if (tile.kind != StoredTileKind::unwritten) tiles[i] = tile;
  }
  return tiles;
}

Bytes toBytes(std::string_view text) {
  const auto bytes = std::as_bytes(std::span(text));
  return {bytes.begin(), bytes.end()};
}

std::string toText(const Bytes& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string messageOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const McException& failure) {
    return failure.what();
  }
  ADD_FAILURE() << "nothing was thrown";
  return {};
}

std::uint64_t checksumOf(const Bytes& bytes) {
  return XXH3_64bits(bytes.data(), bytes.size());
}

void poke(Bytes& bytes, std::size_t offset, std::uint64_t value, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) bytes.at(offset + i) = std::byte(value >> 8 * i & 0xFF);
}

void sign(Bytes& index) {
  poke(index, index.size() - 8, XXH3_64bits(index.data(), index.size() - 8), 8);
}

SampleSet::SampleSet(unsigned seed) {
  files.makeDirectory("/v");
  write(files, path, sampleHeader(), sampleTiles(seed));
}

void SampleSet::replaceInHeader(const std::string& from, const std::string& to) {
  std::string text = toText(files.content(path));
  const std::size_t at = text.find(from);
  ASSERT_NE(at, std::string::npos) << from;
  files.setContent(path, toBytes(text.replace(at, from.size(), to)));
}

void SampleSet::editIndex(const std::function<void(Bytes&)>& edit, bool signAnew) {
  Bytes index = files.content(indexPath);
  edit(index);
  if (signAnew) sign(index);
  files.setContent(indexPath, index);
}

std::string SampleSet::openMessage() {
  return messageOf([this] { hxvoxora::TiledFileReader::open(files, path); });
}

}  // namespace volumefiles
