#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "quarn/voxora/files/FaultFileSystem.h"
#include "tests/voxora/files/volume_files.h"

using hxvoxora::CompressedTile;
using hxvoxora::CompressedTiles;
using hxvoxora::FaultFileSystem;
using hxvoxora::FileCall;
using hxvoxora::MemoryFileSystem;
using hxvoxora::StoredTileKind;
using hxvoxora::TiledFileReader;
using hxvoxora::TiledFileWriter;
using hxvoxora::VolumeHeader;
using testing::AllOf;
using testing::HasSubstr;
using volumefiles::Bytes;
using volumefiles::messageOf;
using volumefiles::Tiles;

namespace {

/// Many tiles, handed on from one set to another.
class TileCopy : public testing::Test {
protected:
  TileCopy() {
    for (std::uint64_t i = 0; i < header_.tileCount(); i += 2) {
      tiles_[i] = {StoredTileKind::stored, volumefiles::maskBits(header_, i, 1)};
      numbers_.push_back(i);
    }
    volumefiles::write(base_, "a.ldm", header_, tiles_);
  }

  MemoryFileSystem base_;
  FaultFileSystem files_{base_};
  const VolumeHeader header_ = volumefiles::makeHeader({640, 80, 80}, {64, 8, 8});
  Tiles tiles_;
  std::vector<std::uint64_t> numbers_;
};

}  // namespace

TEST_F(TileCopy, IsReadInOneGo) {
  const auto reader = TiledFileReader::open(files_, "a.ldm");
  const std::uint64_t before = files_.callCount(FileCall::read);
  const CompressedTiles all = reader->readCompressed(numbers_);
  EXPECT_EQ(files_.callCount(FileCall::read), before + 1);
  ASSERT_EQ(all.tiles.size(), numbers_.size());
  EXPECT_EQ(all.bytes.size(), base_.content("a.dat").size() - 16);

  TiledFileWriter writer(files_, "b.ldm", header_);
  writer.putCompressed(all);
  writer.commit();
  EXPECT_EQ(volumefiles::read(files_, "b.ldm"), tiles_);
}

TEST_F(TileCopy, MayBeOfAnyTilesInAnyOrder) {
  const auto reader = TiledFileReader::open(files_, "a.ldm");
  const std::vector<std::uint64_t> numbers{400, 402, 10, 404, 0, 2, 4, 10};
  const CompressedTiles some = reader->readCompressed(numbers);
  auto bytes = some.bytes.begin();
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const CompressedTile one = reader->readCompressed(numbers[i]);
    EXPECT_EQ(some.tiles[i].number, numbers[i]);
    EXPECT_EQ(some.tiles[i].length, reader->storedBytes(numbers[i]));
    EXPECT_EQ(some.tiles[i].form, one.form);
    EXPECT_EQ(some.tiles[i].checksum, one.checksum);
    EXPECT_EQ(Bytes(bytes, bytes + some.tiles[i].length), one.bytes);
    bytes += some.tiles[i].length;
  }
  EXPECT_EQ(bytes, some.bytes.end());
  EXPECT_TRUE(reader->readCompressed(std::span<const std::uint64_t>()).tiles.empty());
}

TEST_F(TileCopy, NamesTheDamagedTile) {
  const auto whole = TiledFileReader::open(files_, "a.ldm");
  std::size_t end = 16;
  for (std::uint64_t tile = 0; tile <= 100; tile += 2) end += whole->storedBytes(tile);
  Bytes data = base_.content("a.dat");
  data[end - 1] ^= std::byte{1};
  base_.setContent("a.dat", data);
  const auto reader = TiledFileReader::open(files_, "a.ldm");
  EXPECT_THAT(messageOf([&] { reader->readCompressed(numbers_); }),
              HasSubstr("a.dat: tile 100: the checksum is wrong"));
  const std::vector<std::uint64_t> notStored{0, 1};
  EXPECT_THAT(messageOf([&] { reader->readCompressed(notStored); }), HasSubstr("a.dat: tile 1: is not stored"));
  files_.arm({.only = FileCall::read, .reason = "Input/output error"});
  const std::vector<std::uint64_t> later{200, 202};
  EXPECT_THAT(messageOf([&] { reader->readCompressed(later); }),
              AllOf(HasSubstr("a.dat: tile 200: "), HasSubstr("read a.dat: Input/output error")));
}

TEST_F(TileCopy, LengthsMustFit) {
  const auto reader = TiledFileReader::open(files_, "a.ldm");
  TiledFileWriter writer(files_, "b.ldm", header_);
  CompressedTiles packed = reader->readCompressed(numbers_);
  packed.bytes.pop_back();
  EXPECT_THAT(messageOf([&] { writer.putCompressed(packed); }), HasSubstr("b.ldm: "));
  packed = reader->readCompressed(numbers_);
  packed.tiles[3].number = header_.tileCount();
  EXPECT_THAT(messageOf([&] { writer.putCompressed(packed); }), HasSubstr("b.ldm: tile 1000"));
  packed.tiles[3].number = 6;
  packed.tiles[3].length = 0;
  EXPECT_THAT(messageOf([&] { writer.putCompressed(packed); }), HasSubstr("b.ldm: tile 6: 0 packed bytes"));
}

TEST_F(TileCopy, SmallAndLargePiecesKeepTheirOrder) {
  const VolumeHeader header =
      volumefiles::makeHeader({256, 256, 2560}, {256, 256, 64}, hxvoxora::TileCompression::none);
  Tiles tiles;
  for (std::uint64_t i = 0; i < header.tileCount(); ++i)
    tiles[i] = {StoredTileKind::stored, volumefiles::maskBits(header, i, 2)};
  volumefiles::write(base_, "large.ldm", header, tiles);
  const auto reader = TiledFileReader::open(files_, "large.ldm");
  {
    TiledFileWriter writer(files_, "b.ldm", header);
    writer.put(0, tiles[0].bits);
    for (std::uint64_t first = 1; first < header.tileCount();) {
      std::vector<std::uint64_t> numbers;
      for (std::uint64_t count = first % 3 + 1; count > 0 && first < header.tileCount(); --count)
        numbers.push_back(first++);
      writer.putCompressed(reader->readCompressed(numbers));
    }
    writer.commit();
  }
  EXPECT_EQ(volumefiles::read(files_, "b.ldm"), tiles);
}

TEST_F(TileCopy, RoomIsAskedFor) {
  const TiledFileWriter writer(files_, "b.ldm", header_);
  base_.setFreeSpace(1000);
  writer.requireSpace(1000);
  EXPECT_EQ(messageOf([&] { writer.requireSpace(1001); }),
            "b.ldm: 1001 bytes are needed, and only 1000 are free in its folder");
}
