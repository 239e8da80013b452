#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/MemoryFileSystem.h"
#include "quarn/voxora/files/TiledFileReader.h"
#include "tests/voxora/nodes/maskSupport.h"
#include "tests/voxora/tiles/budgetScopes.h"

namespace {

using hxvoxora::MemoryFileSystem;
using hxvoxora::TileSnapshot;
using hxvoxora::TruthTable;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

const std::vector<std::string> gzip = {"-q", "-c", "gzip"};

/// The next lower resolution, voxel by voxel.
DenseMask halved(const DenseMask& fine) {
  const SbVec3i32& size = fine.dimensions();
  DenseMask coarse({(size[0] + 1) / 2, (size[1] + 1) / 2, (size[2] + 1) / 2});
  DenseMask::forEachVoxel(fine.box(), [&](int x, int y, int z) {
    if (fine.at(x, y, z)) coarse.at(x / 2, y / 2, z / 2) = 1;
  });
  return coarse;
}

std::vector<std::byte> fetchedLevel(const SoVolumeMask& mask, int level, const SbBox3i32& box) {
  const auto bits = static_cast<std::size_t>(box.size(0) * box.size(1) * box.size(2));
  const auto buffer = hxvoxora::makeRef<SoCpuBufferObject>((bits + 7) / 8);
  mask.getLdmDataAccess().getData(level, box, buffer.get());
  return {buffer->bytes(), buffer->bytes() + buffer->getByteSize()};
}

/// All levels of a mask are those of its content.
void expectLevels(const SoVolumeMask& mask, DenseMask content, RandomSource& random) {
  for (int level = 0; level < mask.levelCount(); ++level) {
    const TileSnapshot snapshot = mask.snapshot(level);
    ASSERT_EQ(snapshot.dimensions(), content.dimensions()) << "level " << level;
    ASSERT_EQ(snapshot.tileDimensions(), mask.getTileDimension());
    ASSERT_EQ(fetchedLevel(mask, level, content.box()), content.packed(content.box())) << "level " << level;
    const SbBox3i32 part = randomBoxIn(random, content.dimensions());
    ASSERT_EQ(fetchedLevel(mask, level, part), content.packed(part)) << "level " << level;
    ASSERT_EQ(snapshot.countSetVoxels(content.box()), content.count(content.box())) << "level " << level;
    ASSERT_EQ(snapshot.tileCount() == 1, level + 1 == mask.levelCount()) << "level " << level;
    content = halved(content);
  }
}

SbVec3i32 randomSize(RandomSource& random) {
  return {random.between(1, 150), random.between(1, 40), random.between(1, 40)};
}

class SoVolumeMaskLevels : public ::testing::Test {
protected:
  Ref<SoVolumeMask> maskOf(const DenseMask& content) {
    const auto mask = hxvoxora::makeRef<SoVolumeMask>(files_);
    mask->initializeInMemory(content.dimensions(), {32, 8, 8});
    replace(*mask, content.box(), content);
    return mask;
  }

  Ref<SoVolumeMask> open(const std::string& path) {
    const auto mask = hxvoxora::makeRef<SoVolumeMask>(files_);
    mask->bindTo(path);
    return mask;
  }

  int levelsInFile(const std::string& path) { return hxvoxora::TiledFileReader::open(files_, path)->header().levels; }

  MemoryFileSystem files_;
};

TEST_F(SoVolumeMaskLevels, AreThoseOfTheContent) {
  RandomSource random;
  for (int round = 0; round < 40; ++round) {
    const DenseMask content = randomContent(random, randomSize(random));
    expectLevels(*maskOf(content), content, random);
  }
}

TEST_F(SoVolumeMaskLevels, FollowEveryEdit) {
  RandomSource random;
  for (int round = 0; round < 8; ++round) {
    DenseMask content = randomContent(random, randomSize(random));
    const auto mask = maskOf(content);
    for (int edit = 0; edit < 6; ++edit) {
      const SbBox3i32 box = randomBoxIn(random, content.dimensions());
      const bool value = random.chance(0.5);
      fill(*mask, box, value);
      content.fill(box, value);
      if (random.chance(0.6)) expectLevels(*mask, content, random);
    }
    expectLevels(*mask, content, random);
  }
}

TEST_F(SoVolumeMaskLevels, OfAVolumeNeverWrittenAreItsDefaultValue) {
  const auto mask = makeMask({100, 20, 9});
  EXPECT_EQ(mask->levelCount(), 3);
  EXPECT_EQ(mask->snapshot(2).dimensions(), SbVec3i32(25, 5, 3));
  EXPECT_EQ(mask->snapshot(2).countSetVoxels({{0, 0, 0}, {24, 4, 2}}), 0U);
  mask->setDefaultValue(true);
  EXPECT_EQ(mask->snapshot(2).countSetVoxels({{0, 0, 0}, {24, 4, 2}}), 25U * 5 * 3);
}

TEST_F(SoVolumeMaskLevels, OfHugeVolumesTouchNoVoxel) {
  const auto mask = makeMask({1 << 30, 1 << 20, 1}, {256, 256, 256});
  fill(*mask, {{(1 << 30) - 1, 5, 0}, {(1 << 30) - 1, 5, 0}}, true);
  EXPECT_EQ(mask->levelCount(), 23);
  EXPECT_EQ(mask->snapshot(22).countSetVoxels({{0, 0, 0}, {255, 0, 0}}), 1U);
  EXPECT_EQ(mask->snapshot(22).computeBoundingBox({{0, 0, 0}, {255, 0, 0}}), SbBox3i32({255, 0, 0}, {255, 0, 0}));
}

TEST_F(SoVolumeMaskLevels, WithoutDataThereAreNone) {
  EXPECT_EQ(hxvoxora::makeRef<SoVolumeMask>(files_)->levelCount(), 0);
}

TEST_F(SoVolumeMaskLevels, RefusesALevelThatIsNotThere) {
  const auto mask = makeMask({100, 20, 9});
  const auto buffer = hxvoxora::makeRef<SoCpuBufferObject>(2);
  const SbBox3i32 voxel({0, 0, 0}, {0, 0, 0});
  for (const int level : {-1, 3, 64}) {
    EXPECT_THAT([&] { mask->getLdmDataAccess().getData(level, voxel, buffer.get()); },
                ThrowsMessage<McException>("The volume has no resolution level " + std::to_string(level) +
                                           "; the last one is level 2."));
  }
  EXPECT_THAT(
      [&] {
        mask->getLdmDataAccess().getData(2, {{0, 0, 0}, {25, 0, 0}}, buffer.get());
      },
      ThrowsMessage<McException>(HasSubstr("25 x 5 x 3")));
}

TEST_F(SoVolumeMaskLevels, AreInTheFileWhenAskedFor) {
  RandomSource random;
  for (int round = 0; round < 20; ++round) {
    const DenseMask content = randomContent(random, randomSize(random));
    const auto mask = maskOf(content);
    mask->saveEditing("m.ldm", true, round % 2 ? gzip : std::vector<std::string>{});
    EXPECT_EQ(levelsInFile("m.ldm"), mask->levelCount());
    expectLevels(*mask, content, random);
    expectLevels(*open("m.ldm"), content, random);
  }
}

TEST_F(SoVolumeMaskLevels, ComeFromTheFileThatHasThem) {
  RandomSource random;
  const DenseMask content = randomContent(random, {120, 30, 20});
  maskOf(content)->saveEditing("m.ldm", true, gzip);
  const auto mask = open("m.ldm");
  const std::size_t before = hxvoxora::cacheStatistics().loads;
  mask->snapshot(mask->levelCount() - 1).countSetVoxels({{0, 0, 0}, {0, 0, 0}});
  EXPECT_LE(hxvoxora::cacheStatistics().loads, before + 1);  // not the tiles of the finer levels
}

TEST_F(SoVolumeMaskLevels, OfAnEditedFileAreSavedAnewOrLeftOut) {
  RandomSource random;
  DenseMask content = randomContent(random, {120, 30, 20});
  maskOf(content)->saveEditing("m.ldm", true, gzip);
  const auto mask = open("m.ldm");
  content.fill({{3, 3, 3}, {40, 4, 12}}, true);
  fill(*mask, {{3, 3, 3}, {40, 4, 12}}, true);
  expectLevels(*mask, content, random);
  mask->saveEditing("m.ldm", true, gzip);
  expectLevels(*open("m.ldm"), content, random);

  content.fill({{50, 3, 3}, {60, 20, 12}}, false);
  fill(*mask, {{50, 3, 3}, {60, 20, 12}}, false);
  mask->saveEditing("m.ldm", false, gzip);
  EXPECT_EQ(levelsInFile("m.ldm"), 1);
  expectLevels(*mask, content, random);
  expectLevels(*open("m.ldm"), content, random);
}

TEST_F(SoVolumeMaskLevels, AreAddedToAFileOfASavedMask) {
  RandomSource random;
  const DenseMask content = randomContent(random, {120, 30, 20});
  maskOf(content)->saveEditing("m.ldm", false, gzip);
  const auto mask = open("m.ldm");
  mask->saveEditing("m.ldm", false, gzip);
  EXPECT_EQ(levelsInFile("m.ldm"), 1);
  mask->saveEditing("m.ldm", true, gzip);
  EXPECT_EQ(levelsInFile("m.ldm"), mask->levelCount());
  const auto generation = hxvoxora::TiledFileReader::open(files_, "m.ldm")->header().generation;
  mask->saveEditing("m.ldm", true, gzip);
  EXPECT_EQ(hxvoxora::TiledFileReader::open(files_, "m.ldm")->header().generation, generation);  // nothing to do
  expectLevels(*open("m.ldm"), content, random);
}

TEST_F(SoVolumeMaskLevels, NeedLittleMemory) {
  RandomSource random;
  const DenseMask content = randomContent(random, {140, 40, 40});
  const SpillScope spill(files_);
  const BudgetScope budget(8 * 256);
  const auto mask = maskOf(content);
  mask->saveEditing("m.ldm", true, gzip);
  const auto read = open("m.ldm");
  DenseMask level = content;
  for (int i = 0; i < read->levelCount(); ++i, level = halved(level))
    ASSERT_EQ(read->snapshot(i).countSetVoxels(level.box()), level.count(level.box())) << "level " << i;
}

TEST_F(SoVolumeMaskLevels, CanBeReadWhileTheMaskIsEdited) {
  const auto mask = makeMask({128, 32, 32});
  const SbBox3i32 whole = wholeBox(*mask);
  std::atomic<bool> isDone = false;
  std::thread reader([&] {
    while (!isDone) {
      const std::uint64_t count = mask->snapshot(1).countSetVoxels({{0, 0, 0}, {63, 15, 15}});
      EXPECT_TRUE(count == 0 || count == 64U * 16 * 16) << count;
    }
  });
  for (int i = 0; i < 200; ++i) fill(*mask, whole, i % 2 == 0);
  isDone = true;
  reader.join();
}

}  // namespace
