#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/voxora/RandomSource.h"
#include "tests/voxora/files/volume_files.h"

using hxvoxora::CompressedTile;
using hxvoxora::MemoryFileSystem;
using hxvoxora::TileCompression;
using hxvoxora::TiledFileReader;
using hxvoxora::TiledFileWriter;
using hxvoxora::TileForm;
using hxvoxora::VolumeHeader;
using testing::AllOf;
using testing::HasSubstr;
using volumefiles::Bytes;
using volumefiles::messageOf;

namespace {

const McVec3i smallTile{32, 16, 8};  // 8 bricks in 2 bytes of codes, 512 bytes of bits

VolumeHeader oneTile(McVec3i tileDimensions) {
  return volumefiles::makeHeader(tileDimensions, tileDimensions);
}

bool bitAt(const Bytes& bits, const McVec3i& size, int x, int y, int z) {
  const auto i = static_cast<std::size_t>((z * size.y + y) * size.x + x);
  return (bits[i / 8] & std::byte(0x80 >> i % 8)) != std::byte{0};
}

/// A brick voxel by voxel.
Bytes brickBytes(const Bytes& bits, const McVec3i& size, const McVec3i& brick) {
  Bytes bytes(64);
  for (int i = 0; i < 512; ++i) {
    if (!bitAt(bits, size, 8 * brick.x + i % 8, 8 * brick.y + i / 8 % 8, 8 * brick.z + i / 64)) continue;
    bytes[static_cast<std::size_t>(i / 8)] |= std::byte(0x80 >> i % 8);
  }
  return bytes;
}

/// What docs/format/tile-data.md tells of a tile packed by bricks.
Bytes packPlainly(const Bytes& bits, const McVec3i& size) {
  Bytes codes, mixed;
  std::size_t number = 0;
  for (int z = 0; z < size.z / 8; ++z) {
    for (int y = 0; y < size.y / 8; ++y) {
      for (int x = 0; x < size.x / 8; ++x, ++number) {
        const Bytes brick = brickBytes(bits, size, {x, y, z});
        const bool isClear = brick == Bytes(64), isSet = brick == Bytes(64, std::byte{0xFF});
        if (number % 4 == 0) codes.push_back({});
        codes.back() |= std::byte((isClear ? 0 : isSet ? 1 : 2) << 2 * (number % 4));
        if (!isClear && !isSet) mixed.insert(mixed.end(), brick.begin(), brick.end());
      }
    }
  }
  codes.insert(codes.end(), mixed.begin(), mixed.end());
  return codes;
}

/// Bricks that are clear, set or noise, each with the given chance of noise.
Bytes randomBricks(const McVec3i& size, double noise, RandomSource& random) {
  Bytes bits(oneTile(size).tileBytes());
  const auto perRow = static_cast<std::size_t>(size.x / 8);
  std::map<std::size_t, int> kinds;
  for (std::size_t i = 0; i < bits.size(); ++i) {
    const std::size_t y = i / perRow % static_cast<std::size_t>(size.y),
                      z = i / perRow / static_cast<std::size_t>(size.y);
    const std::size_t brick = (z / 8 * 100 + y / 8) * 100 + i % perRow;
    const auto [kind, isNew] = kinds.try_emplace(brick);
    if (isNew) kind->second = random.chance(noise) ? 2 : random.between(0, 1);
    bits[i] = kind->second == 2 ? std::byte(random.word() & 0xFF) : std::byte(kind->second * 0xFF);
  }
  return bits;
}

/// Writes a packed tile and reads its bits back.
Bytes readBack(const VolumeHeader& header, CompressedTile packed) {
  packed.checksum = volumefiles::checksumOf(packed.bytes);
  MemoryFileSystem files;
  TiledFileWriter writer(files, "a.ldm", header);
  writer.putCompressed(0, packed);
  writer.commit();
  Bytes bits(header.tileBytes(), std::byte{0xAA});
  TiledFileReader::open(files, "a.ldm")->read(0, bits);
  return bits;
}

std::uint32_t crc32(const Bytes& bytes) {
  std::uint32_t crc = ~0u;
  for (const std::byte b : bytes) {
    crc ^= std::to_integer<std::uint32_t>(b);
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320u : 0u);
  }
  return ~crc;
}

/// A gzip member that holds the bytes without making them shorter.
Bytes wrappedInGzip(const Bytes& bytes) {
  Bytes member{std::byte{0x1F}, std::byte{0x8B}, std::byte{8}};
  member.resize(10);
  member.push_back(std::byte{1});  // one stored block, the last one
  const auto append = [&](std::uint64_t value, std::size_t size) {
    member.resize(member.size() + size);
    volumefiles::poke(member, member.size() - size, value, size);
  };
  append(bytes.size(), 2);
  append(~bytes.size() & 0xFFFF, 2);
  member.insert(member.end(), bytes.begin(), bytes.end());
  append(crc32(bytes), 4);
  append(bytes.size(), 4);
  return member;
}

/// The message for a small tile of this packed content, which must be the same within gzip.
std::string refusal(const Bytes& packed) {
  const auto message = [](const CompressedTile& tile) {
    return messageOf([&] { readBack(oneTile(smallTile), tile); });
  };
  const std::string plain = message({packed, TileForm::bricks, 0});
  EXPECT_EQ(message({wrappedInGzip(packed), TileForm::gzipBricks, 0}), plain);
  return plain;
}

auto inTile(const std::string& reason) {
  return AllOf(HasSubstr("a.dat: tile 0: "), HasSubstr(reason));
}

/// Codes of the small tile, and so many mixed bricks, each with its first byte set.
Bytes packedOf(int firstCodes, int lastCodes, std::size_t mixed) {
  Bytes packed(2 + 64 * mixed);
  packed[0] = std::byte(firstCodes);
  packed[1] = std::byte(lastCodes);
  for (std::size_t brick = 0; brick < mixed; ++brick) packed[2 + 64 * brick] = std::byte{0xFF};
  return packed;
}

const std::vector<McVec3i> someTiles{{32, 8, 8},   {32, 16, 8},  {64, 8, 8},   {64, 16, 32},
                                     {128, 8, 16}, {256, 32, 8}, {32, 32, 32}, {64, 64, 64}};

}  // namespace

TEST(TilePacking, IsThatOfAPlainLoop) {
  RandomSource random;
  int packedTiles = 0;
  for (int round = 0; round < 200; ++round) {
    const McVec3i size = someTiles[random.between<std::size_t>(0, 5)];
    const Bytes bits = randomBricks(size, 0.01 * random.between(0, 100), random);
    const CompressedTile tile = TiledFileWriter::compress(bits, oneTile(size));
    EXPECT_EQ(tile.checksum, volumefiles::checksumOf(tile.bytes));
    if (tile.form == TileForm::bricks) {
      ASSERT_EQ(tile.bytes, packPlainly(bits, size)) << round;
      ++packedTiles;
    }
    if (tile.form == TileForm::raw) {
      ASSERT_EQ(tile.bytes, bits) << round;
    }
    ASSERT_EQ(readBack(oneTile(size), tile), bits) << round;
  }
  EXPECT_GT(packedTiles, 20);
}

TEST(TilePacking, ReadsWhatAPlainLoopPacked) {
  RandomSource random;
  for (const McVec3i& size : someTiles) {
    for (int round = 0; round < 10; ++round) {
      const VolumeHeader header = oneTile(size);
      const Bytes bits = randomBricks(size, 0.5, random);
      const Bytes packed = packPlainly(bits, size);
      if (packed.size() < bits.size()) {
        ASSERT_EQ(readBack(header, {packed, TileForm::bricks, 0}), bits) << round;
      }
      const Bytes member = wrappedInGzip(packed);
      if (member.size() < bits.size()) {
        ASSERT_EQ(readBack(header, {member, TileForm::gzipBricks, 0}), bits) << round;
      }
    }
  }
}

TEST(TilePacking, LargestTilesComeBack) {
  for (const McVec3i size : {McVec3i(256, 256, 256), McVec3i(256, 8, 256)}) {
    const VolumeHeader header = oneTile(size);
    const Bytes bits = volumefiles::maskBits(header, 0, 1);
    const CompressedTile tile = TiledFileWriter::compress(bits, header);
    EXPECT_EQ(tile.form, TileForm::gzipBricks);
    EXPECT_LT(tile.bytes.size(), bits.size());
    EXPECT_EQ(readBack(header, tile), bits);
  }
}

TEST(TilePacking, TakesTheShortestForm) {
  const McVec3i size{64, 64, 64};
  VolumeHeader header = oneTile(size);
  RandomSource random;
  const Bytes noise = randomBricks(size, 1, random);
  EXPECT_EQ(TiledFileWriter::compress(noise, header).form, TileForm::raw);
  EXPECT_EQ(TiledFileWriter::compress(Bytes(header.tileBytes(), std::byte{0x5A}), header).form, TileForm::gzipBricks);
  // A brick of noise: gzip has nothing to gain but the codes, and costs more in a small tile.
  Bytes oneBrick(oneTile(smallTile).tileBytes());
  for (std::size_t z = 0; z < 8; ++z) {
    for (std::size_t y = 0; y < 8; ++y) oneBrick[(16 * z + y) * 4] = std::byte(random.word() & 0xFF);
  }
  EXPECT_EQ(TiledFileWriter::compress(oneBrick, oneTile(smallTile)).form, TileForm::bricks);
  header.compression = TileCompression::none;
  EXPECT_EQ(TiledFileWriter::compress(Bytes(header.tileBytes()), header).form, TileForm::raw);
}

TEST(TilePacking, UnknownCodesAreRefused) {
  EXPECT_THAT(refusal(packedOf(0x03, 0, 1)), inTile("brick 0: code 3 is not known"));
  EXPECT_THAT(refusal(packedOf(0x30, 0xC0, 1)), inTile("brick 2: code 3 is not known"));
  EXPECT_THAT(refusal(packedOf(0, 0xC0, 1)), inTile("brick 7: code 3 is not known"));
}

TEST(TilePacking, LengthMustFitTheCodes) {
  EXPECT_THAT(refusal(Bytes(1)), inTile("holds 1 bytes, less than the 2 of the brick codes"));
  EXPECT_THAT(refusal(packedOf(0x22, 0, 1)), inTile("holds 66 bytes instead of 130 for 2 mixed bricks"));
  EXPECT_THAT(refusal(packedOf(0x22, 0, 3)), inTile("holds 194 bytes instead of 130 for 2 mixed bricks"));
  Bytes packed = packedOf(0x22, 0x01, 2);
  packed.pop_back();
  EXPECT_THAT(refusal(packed), inTile("holds 129 bytes instead of 130"));
}

TEST(TilePacking, MixedBricksMustBeMixed) {
  for (const std::byte value : {std::byte{0}, std::byte{0xFF}}) {
    Bytes packed = packedOf(0x22, 0x80, 3);
    std::fill(packed.begin() + 2 + 64, packed.begin() + 2 + 128, value);
    EXPECT_THAT(refusal(packed), inTile("brick 2 is called mixed, but all of its voxels are equal"));
    packed[2 + 127] ^= std::byte{1};
    EXPECT_NO_THROW(readBack(oneTile(smallTile), {packed, TileForm::bricks, 0}));
  }
}

TEST(TilePacking, SetBricksMustLieInsideTheVolume) {
  const VolumeHeader header = volumefiles::makeHeader({32, 9, 8}, smallTile);
  const auto message = [&](const Bytes& packed) {
    return messageOf([&] { readBack(header, {packed, TileForm::bricks, 0}); });
  };
  EXPECT_THAT(message(packedOf(0x55, 0x01, 0)), inTile("bits outside the level are set"));
  Bytes packed = packedOf(0x55, 0x02, 1);  // the first row of the brick, which is the last of the volume
  EXPECT_NO_THROW(readBack(header, {packed, TileForm::bricks, 0}));
  packed[3] = std::byte{1};
  EXPECT_THAT(message(packed), inTile("bits outside the level are set"));
}
