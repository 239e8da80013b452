#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/BorderedVolumeReader.h"
#include "quarn/voxora/files/FaultFileSystem.h"
#include "quarn/voxora/files/copyWithoutBorders.h"
#include "quarn/voxora/files/fileSetParts.h"
#include "tests/support/BorderedVolume.h"
#include "tests/voxora/RandomSource.h"
#include "tests/voxora/files/volume_files.h"
#include "tests/voxora/tiles/budgetScopes.h"

/// Volumes of the older layout: what a plain array holds comes out of them, and nothing else.

using hxvoxora::BorderedVolumeReader;
using hxvoxora::FaultFileSystem;
using hxvoxora::MemoryFileSystem;
using hxvoxora::StoredTileKind;
using hxvoxora::TileCompression;
using hxvoxora::TiledFileReader;
using hxvoxora::TiledFileWriter;
using hxvoxora::VolumeHeader;
using testing::HasSubstr;
using volumefiles::Bytes;
using volumefiles::messageOf;

namespace {

bool bitOf(const Bytes& bits, std::size_t i) {
  return (bits[i / 8] & std::byte(0x80 >> i % 8)) != std::byte{0};
}

/// The voxels of one level of a file of the current layout.
BorderedVolume::Voxels voxelsOf(const TiledFileReader& file, int level) {
  const McVec3i size = file.header().levelDimensions(level), tile = file.header().tileDimensions;
  const McVec3i tiles = file.header().tilesPerAxis(level);
  BorderedVolume::Voxels voxels(BorderedVolume::place(size, 0, 0, size.z));
  Bytes bits(file.header().tileBytes());
  for (std::uint64_t i = 0; i < file.header().levelTileCount(level); ++i) {
    const std::uint64_t number = file.header().levelFirstTile(level) + i;
    const McVec3i extent = file.header().tileExtent(number);
    const auto at = static_cast<int>(i);
    const McVec3i low{at % tiles.x * tile.x, at / tiles.x % tiles.y * tile.y, at / tiles.x / tiles.y * tile.z};
    const StoredTileKind kind = file.kind(number);
    if (kind == StoredTileKind::stored) file.read(number, bits);
    for (int z = 0; z < extent.z; ++z)
      for (int y = 0; y < extent.y; ++y)
        for (int x = 0; x < extent.x; ++x)
          voxels[BorderedVolume::place(size, low.x + x, low.y + y, low.z + z)] =
              kind == StoredTileKind::one ||
              (kind == StoredTileKind::stored && bitOf(bits, BorderedVolume::place(tile, x, y, z)));
  }
  return voxels;
}

SbBox3i32 boundsOf(const BorderedVolume& volume) {
  SbBox3i32 bounds;
  for (int z = 0; z < volume.dimensions.z; ++z)
    for (int y = 0; y < volume.dimensions.y; ++y)
      for (int x = 0; x < volume.dimensions.x; ++x)
        if (volume.voxel(x, y, z)) bounds.extendBy({{x, y, z}, {x, y, z}});
  return bounds;
}

/// A volume with boxes of set and clear voxels and some noise.
BorderedVolume randomVolume(RandomSource& random) {
  const auto pick = [&](int low, int high) { return random.between(low, high); };
  const McVec3i tile{32 << pick(0, 1), 8 << pick(0, 1), 8 << pick(0, 1)};
  BorderedVolume volume({pick(1, 150), pick(1, 40), pick(1, 30)}, tile, pick(1, std::min(tile.y, tile.z) / 2));
  for (int boxes = pick(0, 4); boxes > 0; --boxes) {
    McVec3i low, high;
    for (int axis = 0; axis < 3; ++axis) {
      low[axis] = pick(0, volume.dimensions[axis] - 1);
      high[axis] = pick(low[axis], volume.dimensions[axis] - 1);
    }
    volume.fill(low, high, random.chance(0.7));
  }
  for (int voxels = pick(0, 1) * pick(0, 200); voxels > 0; --voxels)
    volume.set(pick(0, volume.dimensions.x - 1), pick(0, volume.dimensions.y - 1), pick(0, volume.dimensions.z - 1),
               random.chance(0.5));
  volume.levels = pick(1, VolumeHeader::maxLevels(volume.dimensions, tile));
  volume.compressed = random.chance(0.5);
  volume.storesEvenly = random.chance(0.3);
  volume.leavesUnwritten = random.chance(0.3);
  return volume;
}

/// Converts "/v/old.ldm" to "/v/new.ldm".
std::optional<SbBox3i32> convert(hxvoxora::FileSystem& files, const hxvoxora::WorkCallback& callback = {}) {
  const auto reader = BorderedVolumeReader::open(files, "/v/old.ldm");
  TiledFileWriter writer(files, "/v/new.ldm", reader->header());
  const auto bounds = copyWithoutBorders(*reader, writer, callback);
  if (bounds) writer.commit();
  return bounds;
}

/// A small volume, 3 x 3 x 2 tiles of 32 x 8 x 8 voxels with a border of 2, cut at its upper ends, all of them stored.
BorderedVolume sampleVolume() {
  BorderedVolume volume({70, 19, 13}, {32, 8, 8}, 2);
  for (int z = 0; z < 13; ++z)
    for (int y = 0; y < 19; ++y)
      for (int x = 0; x < 70; ++x) volume.set(x, y, z, (x * 7 + y * 5 + z * 3 + x * y) % 4 == 0);
  return volume;
}

class BorderedFiles : public testing::Test {
protected:
  BorderedFiles() { files.makeDirectory("/v"); }

  std::string readMessage(std::uint64_t tile) {
    Bytes bits(32 * 8 * 8 / 8);
    return messageOf([&] { BorderedVolumeReader::open(files, "/v/old.ldm")->read(tile, bits); });
  }

  std::string openMessage() {
    return messageOf([&] { BorderedVolumeReader::open(files, "/v/old.ldm"); });
  }

  void edit(const std::string& path, const std::function<void(Bytes&)>& change) {
    Bytes bytes = files.content(path);
    change(bytes);
    files.setContent(path, bytes);
  }

  void editIndex(const std::function<void(Bytes&)>& change) {
    edit("/v/old.fcp", [&](Bytes& bytes) {
      change(bytes);
      volumefiles::sign(bytes);
    });
  }

  MemoryFileSystem files;
};

}  // namespace

TEST(BorderedVolumes, RandomOnesHoldWhatAPlainArrayHolds) {
  RandomSource random;
  for (int round = 0; round < 400; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    const BorderedVolume volume = randomVolume(random);
    const std::optional<BudgetScope> fewBlocks = random.chance(0.3) ? std::optional<BudgetScope>(4096) : std::nullopt;
    MemoryFileSystem files;
    files.makeDirectory("/v");
    volume.write(files, "/v/old.ldm");
    ASSERT_EQ(convert(files), boundsOf(volume));
    const auto file = TiledFileReader::open(files, "/v/new.ldm");
    EXPECT_EQ(file->header().border, 0);
    EXPECT_EQ(file->header().levels, volume.levels);
    McVec3i size = volume.dimensions;
    BorderedVolume::Voxels voxels = volume.voxels;
    for (int level = 0; level < volume.levels; ++level) {
      ASSERT_EQ(voxelsOf(*file, level), voxels) << "level " << level;
      voxels = BorderedVolume::halved(voxels, size);
      size = BorderedVolume::halved(size);
    }
  }
}

TEST_F(BorderedFiles, EvenTilesAreStoredAsSuch) {
  BorderedVolume volume({64, 8, 16}, {32, 8, 8}, 1);
  volume.fill({0, 0, 0}, {31, 7, 7});
  volume.storesEvenly = true;
  volume.write(files, "/v/old.ldm");
  EXPECT_EQ(convert(files), SbBox3i32({0, 0, 0}, {31, 7, 7}));
  const auto file = TiledFileReader::open(files, "/v/new.ldm");
  EXPECT_EQ(file->storedCount(), 0U);
  EXPECT_EQ(file->kind(0), StoredTileKind::one);
  EXPECT_EQ(file->kind(3), StoredTileKind::zero);
}

TEST_F(BorderedFiles, TilesNeverWrittenStaySo) {
  BorderedVolume volume({64, 8, 8}, {32, 8, 8}, 1);
  volume.fill({0, 0, 0}, {31, 7, 7});
  volume.leavesUnwritten = true;
  volume.write(files, "/v/old.ldm");
  convert(files);
  const auto file = TiledFileReader::open(files, "/v/new.ldm");
  EXPECT_EQ(file->kind(1), StoredTileKind::unwritten);
}

TEST_F(BorderedFiles, RunsOfFullTilesReachAcrossRowsAndLayers) {
  // 3 x 2 x 2 tiles; the runs of full ones are given by the numbers of their first and last tile.
  const auto boundsOfRun = [&](int first, int last) {
    BorderedVolume volume({96, 16, 16}, {32, 8, 8}, 1);
    for (int i = first; i <= last; ++i) {
      const McVec3i low{i % 3 * 32, i / 3 % 2 * 8, i / 6 * 8};
      volume.fill(low, {low.x + 31, low.y + 7, low.z + 7});
    }
    volume.write(files, "/v/old.ldm");
    const auto bounds = convert(files);
    EXPECT_EQ(bounds, boundsOf(volume));
    return *bounds;
  };
  EXPECT_EQ(boundsOfRun(1, 1), SbBox3i32({32, 0, 0}, {63, 7, 7}));
  EXPECT_EQ(boundsOfRun(2, 3), SbBox3i32({0, 0, 0}, {95, 15, 7}));
  EXPECT_EQ(boundsOfRun(5, 6), SbBox3i32({0, 0, 0}, {95, 15, 15}));
  EXPECT_EQ(boundsOfRun(7, 8), SbBox3i32({32, 0, 8}, {95, 7, 15}));
  for (int first = 0; first < 12; ++first)
    for (int last = first; last < 12; ++last) boundsOfRun(first, last);
}

/// Whatever bit of a block is wrong, unless it is the only place where a voxel stands: some tile is refused.
TEST_F(BorderedFiles, BordersThatContradictANeighbourAreRefused) {
  BorderedVolume volume = sampleVolume();
  const McVec3i block{36, 12, 12};
  const auto outsideOwn = [](int at, int tile, int extent) { return at < 2 || at >= 2 + std::min(tile, extent); };
  for (const std::uint64_t tile : {std::uint64_t{0}, std::uint64_t{4}, std::uint64_t{17}}) {
    const McVec3i own = tile == 17 ? McVec3i{6, 3, 5} : McVec3i{32, 8, 8};
    for (int i = 0; i < block.x * block.y * block.z; i += 7) {
      const int x = i % block.x, y = i / block.x % block.y, z = i / block.x / block.y;
      volume.damage = [&](std::uint64_t number, Bytes& bits) {
        if (number == tile) bits[static_cast<std::size_t>(i / 8)] ^= std::byte(0x80 >> i % 8);
      };
      volume.write(files, "/v/old.ldm");
      if (outsideOwn(x, 32, own.x) || outsideOwn(y, 8, own.y) || outsideOwn(z, 8, own.z)) {
        EXPECT_THAT(readMessage(tile), HasSubstr("/v/old.dat: tile " + std::to_string(tile) + ": "));
      } else if (x < 4 && tile == 4) {
        EXPECT_THAT(readMessage(tile - 1), HasSubstr("contradicts tile 4"));
      }
    }
  }
}

TEST_F(BorderedFiles, TheFirstWrongVoxelIsNamed) {
  BorderedVolume volume = sampleVolume();
  const auto flip = [](int x, int y, int z) {
    return [=](std::uint64_t number, Bytes& bits) {
      const int i = (z * 12 + y) * 36 + x;
      if (number == 4) bits[static_cast<std::size_t>(i / 8)] ^= std::byte(0x80 >> i % 8);
    };
  };
  // The block of tile 4 begins at voxel (30, 6, -2).
  volume.damage = flip(1, 5, 6);
  volume.write(files, "/v/old.ldm");
  EXPECT_EQ(readMessage(4), "/v/old.dat: tile 4: its border at voxel (31, 11, 4) contradicts tile 3");
  volume.damage = flip(35, 11, 11);
  volume.write(files, "/v/old.ldm");
  EXPECT_EQ(readMessage(4), "/v/old.dat: tile 4: its border at voxel (65, 17, 9) contradicts tile 17");
  volume.damage = flip(3, 3, 1);
  volume.write(files, "/v/old.ldm");
  EXPECT_EQ(readMessage(4), "/v/old.dat: tile 4: voxel (33, 9, -1) outside the level is set");
}

TEST_F(BorderedFiles, BordersTowardsEvenTilesAreCompared) {
  BorderedVolume volume({64, 8, 8}, {32, 8, 8}, 1);
  volume.fill({32, 0, 0}, {63, 7, 7});
  volume.set(5, 5, 5);
  for (const bool full : {true, false}) {
    if (!full) volume.fill({32, 0, 0}, {63, 7, 7}, false);
    for (const bool unwritten : {true, false}) {
      volume.leavesUnwritten = unwritten;
      volume.damage = nullptr;
      volume.write(files, "/v/old.ldm");
      EXPECT_TRUE(convert(files));
      volume.damage = [](std::uint64_t, Bytes& bits) {
        const int i = (4 * 10 + 4) * 34 + 33;
        bits[static_cast<std::size_t>(i / 8)] ^= std::byte(0x80 >> i % 8);
      };
      volume.write(files, "/v/old.ldm");
      EXPECT_EQ(readMessage(0), "/v/old.dat: tile 0: its border at voxel (32, 3, 3) contradicts tile 1");
    }
  }
}

TEST_F(BorderedFiles, DamagedBytesAreRefused) {
  const std::string data = "/v/old.dat";
  sampleVolume().write(files, "/v/old.ldm");
  edit(data, [](Bytes& bytes) { bytes[20] ^= std::byte{1}; });
  EXPECT_EQ(readMessage(0), "/v/old.dat: tile 0: the checksum is wrong");
  // Tile 1 and all other neighbours need tile 0, too.
  EXPECT_EQ(readMessage(1), "/v/old.dat: tile 1: its neighbour, tile 0: the checksum is wrong");
  edit(data, [](Bytes& bytes) { bytes.pop_back(); });
  EXPECT_THAT(openMessage(), HasSubstr("/v/old.fcp: data length"));
}

TEST_F(BorderedFiles, GzipMembersOfAnotherSizeAreRefused) {
  BorderedVolume volume = sampleVolume();
  volume.damage = [](std::uint64_t tile, Bytes& bits) {
    if (tile == 0) bits.pop_back();
  };
  volume.write(files, "/v/old.ldm");
  EXPECT_EQ(readMessage(0), "/v/old.dat: tile 0: holds 647 bytes, not 648");
  volume.damage = [](std::uint64_t tile, Bytes& bits) {
    if (tile == 0) bits.resize(700);
  };
  volume.write(files, "/v/old.ldm");
  EXPECT_EQ(readMessage(0), "/v/old.dat: tile 0: holds more than 648 bytes");
}

TEST_F(BorderedFiles, IndexesAreCheckedAgainstTheSizeOfABlock) {
  BorderedVolume volume({20, 5, 5}, {32, 8, 8}, 1);
  volume.set(3, 3, 3);
  volume.compressed = false;
  volume.write(files, "/v/old.ldm");
  const auto setForm = [&](std::uint64_t form) {
    editIndex([&](Bytes& bytes) { volumefiles::poke(bytes, bytes.size() - 8 - 24 + 12, form, 4); });
  };
  setForm(2);
  EXPECT_THAT(openMessage(), HasSubstr("form of tile 0 2: compression is none"));
  volume.compressed = true;
  volume.write(files, "/v/old.ldm");
  setForm(1);
  EXPECT_THAT(openMessage(), HasSubstr("form of tile 0 1: tiles with borders have no bricks"));
  setForm(0);
  EXPECT_THAT(openMessage(), HasSubstr("does not fit a tile of 425 bytes"));
}

TEST_F(BorderedFiles, EachLayoutHasItsReader) {
  sampleVolume().write(files, "/v/old.ldm");
  EXPECT_THAT(messageOf([&] { TiledFileReader::open(files, "/v/old.ldm"); }), HasSubstr("TileBorder \"2\""));
  convert(files);
  EXPECT_THAT(messageOf([&] { BorderedVolumeReader::open(files, "/v/new.ldm"); }),
              HasSubstr("/v/new.ldm: element TileBorder \"0\": not a file of the older layout"));
  EXPECT_THAT(messageOf([&] { BorderedVolumeReader::open(files, "/v/none.ldm"); }), HasSubstr("/v/none.ldm"));
  files.remove("/v/old.fcp");
  EXPECT_THAT(openMessage(), HasSubstr("/v/old.fcp"));
}

TEST_F(BorderedFiles, QuestionsBesideTheVolumeAreRefused) {
  sampleVolume().write(files, "/v/old.ldm");
  EXPECT_EQ(readMessage(18), "/v/old.dat: tile 18: there are only 18 tiles");
  Bytes few(10);
  EXPECT_THAT(messageOf([&] { BorderedVolumeReader::open(files, "/v/old.ldm")->read(0, few); }),
              HasSubstr("tile 0: 10 bytes of room do not fit"));
  BorderedVolume volume = sampleVolume();
  volume.fill({0, 0, 0}, {31, 7, 7}, false);
  volume.write(files, "/v/old.ldm");
  EXPECT_EQ(readMessage(0), "/v/old.dat: tile 0: is not stored");
}

TEST_F(BorderedFiles, FilesChangedWhileReadAreRefused) {
  sampleVolume().write(files, "/v/old.ldm");
  const auto reader = BorderedVolumeReader::open(files, "/v/old.ldm");
  Bytes bits(32 * 8 * 8 / 8);
  reader->read(17, bits);
  edit("/v/old.dat", [](Bytes& bytes) { bytes.push_back({}); });
  EXPECT_THAT(messageOf([&] { reader->read(0, bits); }), HasSubstr("changed by somebody else"));
}

TEST_F(BorderedFiles, OtherTilesAreNotWritten) {
  sampleVolume().write(files, "/v/old.ldm");
  const auto reader = BorderedVolumeReader::open(files, "/v/old.ldm");
  VolumeHeader header = reader->header();
  header.tileDimensions.x = 64;
  TiledFileWriter writer(files, "/v/new.ldm", header);
  EXPECT_THAT(messageOf([&] { copyWithoutBorders(*reader, writer); }), HasSubstr("/v/old.ldm: is copied to a file"));
}

TEST_F(BorderedFiles, CopyingTellsHowFarItIsAndCanBeGivenUp) {
  BorderedVolume volume({64, 64, 64}, {32, 32, 32}, 4);
  volume.storesEvenly = true;
  volume.write(files, "/v/old.ldm");
  std::vector<double> told;
  EXPECT_TRUE(convert(files, [&](double done) {
    told.push_back(done);
    return true;
  }));
  EXPECT_EQ(told.back(), 1);
  EXPECT_TRUE(std::ranges::is_sorted(told));
  files.remove("/v/new.ldm");
  EXPECT_FALSE(convert(files, [](double) { return false; }));
  EXPECT_EQ(files.kind("/v/new.ldm"), hxvoxora::FileKind::missing);
}

TEST_F(BorderedFiles, EveryFailingCallIsTold) {
  sampleVolume().write(files, "/v/old.ldm");
  for (std::uint64_t call = 1;; ++call) {
    SCOPED_TRACE("failing call " + std::to_string(call));
    FaultFileSystem faults(files);
    faults.arm({.call = call});
    std::string message;
    try {
      convert(faults);
    } catch (const McException& failure) {
      message = failure.what();
    }
    if (!faults.hasFailed()) {
      EXPECT_GT(call, 20U);
      break;
    }
    const bool isThere = files.kind("/v/new.ldm") == hxvoxora::FileKind::regular;
    EXPECT_TRUE(isThere || !message.empty());
    EXPECT_TRUE(message.empty() || message.find("/v") != std::string::npos) << message;
    EXPECT_TRUE(!isThere || voxelsOf(*TiledFileReader::open(files, "/v/new.ldm"), 0) == sampleVolume().voxels);
    for (const char* name : {"/v/new.ldm", "/v/new.dat", "/v/new.fcp"}) files.remove(name);
    ASSERT_LT(call, 1000U);
  }
}

TEST_F(BorderedFiles, BytesOfASetAreThoseOfItsFiles) {
  sampleVolume().write(files, "/v/old.ldm");
  const auto size = [&](const char* name) { return files.content(name).size(); };
  EXPECT_EQ(hxvoxora::fileSetBytes(files, "/v/old.ldm"), size("/v/old.ldm") + size("/v/old.dat") + size("/v/old.fcp"));
  files.remove("/v/old.dat");
  EXPECT_THAT(messageOf([&] { hxvoxora::fileSetBytes(files, "/v/old.ldm"); }), HasSubstr("/v/old.dat"));
}
