#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/voxora/files/volume_files.h"

using hxvoxora::CompressedTile;
using hxvoxora::TileCompression;
using hxvoxora::TiledFileReader;
using hxvoxora::TiledFileWriter;
using hxvoxora::TileForm;
using hxvoxora::VolumeHeader;
using testing::AllOf;
using testing::HasSubstr;
using volumefiles::Bytes;
using volumefiles::messageOf;
using volumefiles::SampleSet;

namespace {

constexpr std::size_t tileBytes = 64 * 64 * 64 / 8;

/// Reads the only tile of a volume in which it is stored as `packed`, with the checksum that belongs to these bytes.
std::string readMessage(CompressedTile packed, McVec3i tileDimensions = {64, 64, 64}) {
  hxvoxora::MemoryFileSystem files;
  packed.checksum = volumefiles::checksumOf(packed.bytes);
  TiledFileWriter writer(files, "a.ldm", volumefiles::makeHeader({60, 64, 64}, tileDimensions));
  writer.putCompressed(0, packed);
  writer.commit();
  const auto reader = TiledFileReader::open(files, "a.ldm");
  Bytes bits(reader->header().tileBytes());
  return messageOf([&] { reader->read(0, bits); });
}

/// A tile of these dimensions, packed, in which all bricks look the same.
CompressedTile packStripes(McVec3i tileDimensions) {
  const VolumeHeader header = volumefiles::makeHeader(tileDimensions, tileDimensions);
  CompressedTile packed = TiledFileWriter::compress(Bytes(header.tileBytes(), std::byte{0x5A}), header);
  EXPECT_EQ(packed.form, TileForm::gzipBricks);
  return packed;
}

/// The bits in both of the forms that a tile has when it is packed and when it is not.
std::string bothRefusals(const Bytes& bits, McVec3i tileDimensions) {
  VolumeHeader header = volumefiles::makeHeader(tileDimensions, tileDimensions);
  const std::string packed = readMessage(TiledFileWriter::compress(bits, header), tileDimensions);
  header.compression = TileCompression::none;
  EXPECT_EQ(readMessage(TiledFileWriter::compress(bits, header), tileDimensions), packed);
  return packed;
}

auto inTile(const std::string& reason) {
  return AllOf(HasSubstr("a.dat: tile 0: "), HasSubstr(reason));
}

}  // namespace

TEST(TileData, MissingFileIsRefused) {
  SampleSet set;
  set.files.remove(set.dataPath);
  EXPECT_THAT(set.openMessage(), AllOf(HasSubstr("open /v/a.dat"), HasSubstr("No such file")));
}

TEST(TileData, CutFileIsRefused) {
  SampleSet set;
  const Bytes whole = set.files.content(set.dataPath);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    set.files.setContent(set.dataPath, Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
    EXPECT_THAT(set.openMessage(), HasSubstr("a.dat")) << size;
  }
}

TEST(TileData, LongerFileIsRefused) {
  SampleSet set;
  Bytes data = set.files.content(set.dataPath);
  data.resize(data.size() + 1);
  set.files.setContent(set.dataPath, data);
  EXPECT_THAT(set.openMessage(), AllOf(HasSubstr("data length"), HasSubstr("a.dat has")));
}

TEST(TileData, UnpackingStopsAtTheSizeOfATile) {
  const CompressedTile bomb = packStripes({256, 256, 256});
  ASSERT_LT(bomb.bytes.size(), tileBytes);
  EXPECT_THAT(readMessage(bomb), inTile("holds more than 32896 bytes"));
  EXPECT_THAT(readMessage(packStripes({64, 64, 128})), inTile("holds more than 32896 bytes"));
}

TEST(TileData, DamagedGzipIsRefused) {
  CompressedTile badCrc = packStripes({64, 64, 64});
  badCrc.bytes[badCrc.bytes.size() - 8] ^= std::byte{1};
  EXPECT_THAT(readMessage(badCrc), inTile("not a valid gzip member"));

  CompressedTile noTrailer = packStripes({64, 64, 64});
  noTrailer.bytes.resize(noTrailer.bytes.size() - 8);
  EXPECT_THAT(readMessage(noTrailer), inTile("not a valid gzip member"));

  CompressedTile twice = packStripes({64, 64, 64});
  const Bytes member = twice.bytes;
  twice.bytes.insert(twice.bytes.end(), member.begin(), member.end());
  EXPECT_THAT(readMessage(twice), inTile("bytes follow the gzip member"));

  EXPECT_THAT(readMessage({Bytes(1000, std::byte{0x5A}), TileForm::gzipBricks, 0}), inTile("not a valid gzip member"));
}

TEST(TileData, BitsOutsideTheVolumeAreRefused) {
  Bytes bits(tileBytes);
  bits[7] = std::byte{0x10};  // x = 59, the last one inside
  hxvoxora::MemoryFileSystem files;
  TiledFileWriter writer(files, "good.ldm", volumefiles::makeHeader({60, 64, 64}, {64, 64, 64}));
  writer.put(0, bits);
  writer.commit();
  EXPECT_EQ(volumefiles::read(files, "good.ldm")[0].bits, bits);

  bits[7] = std::byte{0x08};
  EXPECT_THAT(bothRefusals(bits, {64, 64, 64}), inTile("outside the level"));
}

TEST(TileData, RowsAndSlicesOutsideTheVolumeAreRefused) {
  Bytes bits(64 * 128 * 64 / 8);
  bits[64 * 8] = std::byte{0x80};  // y = 64 of a tile that is 128 high
  EXPECT_THAT(bothRefusals(bits, {64, 128, 64}), inTile("outside the level"));
  bits.assign(64 * 64 * 128 / 8, std::byte{0});
  bits[64 * 64 * 8] = std::byte{0x80};  // z = 64 of a tile that is 128 deep
  EXPECT_THAT(bothRefusals(bits, {64, 64, 128}), inTile("outside the level"));
}

TEST(TileData, EveryFlippedBitIsReported) {
  for (const TileCompression compression : {TileCompression::gzip, TileCompression::none}) {
    hxvoxora::MemoryFileSystem files;
    hxvoxora::VolumeHeader header = volumefiles::sampleHeader();
    header.compression = compression;
    volumefiles::write(files, "a.ldm", header, volumefiles::sampleTiles(1));
    const Bytes whole = files.content("a.dat");
    for (std::size_t bit = 0; bit < 8 * whole.size(); ++bit) {
      Bytes damaged = whole;
      damaged[bit / 8] ^= std::byte(1 << bit % 8);
      files.setContent("a.dat", damaged);
      EXPECT_THAT(messageOf([&] { volumefiles::read(files, "a.ldm"); }), HasSubstr("a.dat: ")) << bit;
    }
  }
}

TEST(TileData, DamageIsNotHandedOnPacked) {
  SampleSet set;
  Bytes data = set.files.content(set.dataPath);
  data[20] ^= std::byte{1};
  set.files.setContent(set.dataPath, data);
  const auto reader = TiledFileReader::open(set.files, set.path);
  EXPECT_THAT(messageOf([&] { reader->readCompressed(0); }), HasSubstr("/v/a.dat: tile 0: the checksum is wrong"));
  EXPECT_NO_THROW(reader->readCompressed(3));
}
