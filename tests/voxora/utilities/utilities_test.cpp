#include "quarn/voxora/utilities/utilities.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/MemoryFileSystem.h"
#include "tests/voxora/nodes/maskSupport.h"
#include "tests/voxora/tiles/budgetScopes.h"

namespace {

namespace utilities = hxvoxora::utilities;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

TEST(LdmUtilities, TileSizeIsThePreferenceWhateverTheVolume) {
  ASSERT_EQ(utilities::getDefaultTileSize(), 64);
  EXPECT_EQ(utilities::computeLDMTileSize(McDim3l(5, 5, 5)), SbVec3i32(64, 64, 64));
  utilities::setDefaultTileSize(128);
  EXPECT_EQ(utilities::computeLDMTileSize(McDim3l(4096, 1, 70)), SbVec3i32(128, 128, 128));
  for (const int wrong : {0, -64, 16, 100, 512})
    EXPECT_THAT([&] { utilities::setDefaultTileSize(wrong); },
                ThrowsMessage<McException>(HasSubstr(std::to_string(wrong))));
  EXPECT_EQ(utilities::getDefaultTileSize(), 128);
  utilities::setDefaultTileSize(64);
}

TEST(LdmUtilities, ResourceParametersTellTheNode) {
  const auto mask = makeMask({70, 20, 9});
  fill(*mask, {{0, 0, 0}, {40, 7, 7}}, true);
  std::ostringstream out;
  utilities::outputLDMResourceParameters(mask.get(), out);
  EXPECT_THAT(out.str(), HasSubstr("file: in memory\n"));
  EXPECT_THAT(out.str(), HasSubstr("dimensions: 70 x 20 x 9\n"));
  EXPECT_THAT(out.str(), HasSubstr("tile dimensions: 32 x 8 x 8\n"));
  EXPECT_THAT(out.str(), HasSubstr("\ntiles: 18\n"));
  EXPECT_THAT(out.str(), HasSubstr("written tiles: 2\n"));
  EXPECT_THAT(out.str(), HasSubstr("tiles with all voxels set: 1\n"));
  EXPECT_THAT(out.str(), HasSubstr("tiles with voxels of both values: 1\n"));
  EXPECT_THAT(out.str(), HasSubstr("unsaved edits: yes\n"));
}

TEST(LdmUtilities, TilesOfAVastVolumeAreCountedInRuns) {
  const auto mask = makeMask({2147483647, 1024, 1024}, {32, 8, 8});
  fill(*mask, {{0, 0, 0}, {2147483646, 7, 7}}, true);
  fill(*mask, {{64, 0, 0}, {64, 0, 0}}, false);
  std::ostringstream out;
  utilities::outputLDMResourceParameters(mask.get(), out);
  EXPECT_THAT(out.str(), HasSubstr("\ntiles: 1099511627776\n"));
  EXPECT_THAT(out.str(), HasSubstr("\nwritten tiles: 67108864\n"));
  EXPECT_THAT(out.str(), HasSubstr("all voxels set: 67108863\n"));
  EXPECT_THAT(out.str(), HasSubstr("both values: 1\n"));
}

TEST(LdmUtilities, ResourceParametersTellTheCache) {
  hxvoxora::MemoryFileSystem files;
  const SpillScope place(files);
  const BudgetScope budget(std::size_t{3} << 12);
  const auto mask = makeMask({320, 32, 32}, {32, 32, 32});
  for (int tile = 0; tile < 10; ++tile) fill(*mask, {{32 * tile, 0, 0}, {32 * tile, 0, 0}}, true);
  mask->countSetVoxels(wholeBox(*mask));
  std::ostringstream out;
  utilities::outputLDMResourceParameters(mask.get(), out);
  const hxvoxora::CacheStatistics cache = hxvoxora::cacheStatistics();
  ASSERT_GT(cache.spills, 0u);
  const auto line = [](const std::string& name, std::uint64_t value) {
    return "\n" + name + ", all volumes: " + std::to_string(value) + "\n";
  };
  EXPECT_THAT(out.str(), HasSubstr(line("memory budget in bytes", 12288)));
  EXPECT_THAT(out.str(), HasSubstr(line("bytes of tiles in memory", cache.bytesInMemory)));
  EXPECT_THAT(out.str(), HasSubstr(line("bytes of box buffers", cache.bytesInBuffers)));
  EXPECT_THAT(out.str(), HasSubstr(line("bytes of tiles in spill files", cache.bytesSpilled)));
  EXPECT_THAT(out.str(), HasSubstr(line("tile hits", cache.hits)));
  EXPECT_THAT(out.str(), HasSubstr(line("tile loads", cache.loads)));
  EXPECT_THAT(out.str(), HasSubstr(line("tile evictions", cache.evictions)));
  EXPECT_THAT(out.str(), HasSubstr(line("tile spills", cache.spills)));
}

TEST(LdmUtilities, ResourceParametersOfNoVolume) {
  std::ostringstream out;
  utilities::outputLDMResourceParameters(nullptr, out);
  EXPECT_EQ(out.str(), "no volume\n");
}

}  // namespace
