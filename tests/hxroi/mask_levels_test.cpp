#include <gtest/gtest.h>

#include "quarn/voxora/files/TiledFileReader.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "tests/hxroi/MaskTest.h"

namespace {

using hxroi::details::Mask;

class MaskLevels : public MaskTest {
protected:
  static int levelsInFile(const Mask& mask) {
    return hxvoxora::TiledFileReader::open(hxvoxora::FileSystem::current(), mask.temporaryPrefix() + ".ldm")
        ->header()
        .levels;
  }

  static std::uint64_t countOfLevel(const Mask& mask, int level) {
    const hxvoxora::TileSnapshot snapshot = mask.volumeMask()->snapshot(level);
    const SbVec3i32& size = snapshot.dimensions();
    return snapshot.countSetVoxels({{0, 0, 0}, {size[0] - 1, size[1] - 1, size[2] - 1}});
  }
};

TEST_F(MaskLevels, FlushWithTheFlagWritesThem) {
  const auto mask = makeMask({600, 20, 20}, {100, 499, 4, 11, 3, 12});
  mask->flush(2);
  EXPECT_EQ(levelsInFile(*mask), mask->volumeMask()->levelCount());
  EXPECT_EQ(countOfLevel(*mask, 1), 200U * 4 * 6);
}

TEST_F(MaskLevels, ForcedFlushOfASavedMaskAddsThem) {
  const auto mask = makeMask({600, 20, 20}, {100, 499, 4, 11, 3, 12});
  mask->flush(0);
  EXPECT_EQ(levelsInFile(*mask), 1);
  mask->flush(1);
  mask->flush(2);
  EXPECT_EQ(levelsInFile(*mask), 1);
  mask->flush(3);
  EXPECT_GT(mask->volumeMask()->levelCount(), 1);
  EXPECT_EQ(levelsInFile(*mask), mask->volumeMask()->levelCount());
  EXPECT_EQ(countOfLevel(*mask, 2), 100U * 2 * 4);
}

TEST_F(MaskLevels, AreInTheFileOfAMaskWhoseOwnFileWasTaken) {
  const auto user = borrowed(*makeMask({600, 20, 20}, {100, 499, 4, 11, 3, 12}));
  makeMask({600, 20, 20}, {0, 0, 0, 0, 0, 0})->writeToFile(folder / "user");
  user->writeToFile(folder / "copy");
  const McHandle<Mask> copy = Mask::loadFromFile("copy", folder / "copy");
  const auto file = hxvoxora::TiledFileReader::open(hxvoxora::FileSystem::current(), (folder / "copy.ldm").string());
  EXPECT_GT(copy->volumeMask()->levelCount(), 1);
  EXPECT_EQ(file->header().levels, copy->volumeMask()->levelCount());
  EXPECT_EQ(countOfLevel(*copy, 1), 200U * 4 * 6);
}

TEST_F(MaskLevels, AreThoseOfTheEditedMask) {
  const auto mask = makeMask({600, 20, 20}, {100, 499, 4, 11, 3, 12});
  mask->flush(3);
  fill(*mask, {0, 99, 4, 11, 3, 12});
  EXPECT_EQ(countOfLevel(*mask, 1), 250U * 4 * 6);
  mask->flush(0);
  EXPECT_EQ(levelsInFile(*mask), 1);
}

}  // namespace
