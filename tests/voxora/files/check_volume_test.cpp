#include <algorithm>
#include <gmock/gmock.h>

#include "quarn/voxora/files/checkVolume.h"
#include "tests/voxora/files/volume_files.h"

using hxvoxora::checkVolume;
using hxvoxora::StoredTileKind;
using hxvoxora::TiledFileReader;
using hxvoxora::VolumeCheck;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using volumefiles::SampleSet;

namespace {

VolumeCheck check(SampleSet& set) {
  return checkVolume(*TiledFileReader::open(set.files, set.path));
}

/// Voxels and their bounds, one by one.
VolumeCheck counted(SampleSet& set) {
  VolumeCheck expected;
  const auto file = TiledFileReader::open(set.files, set.path);
  const hxvoxora::VolumeHeader& header = file->header();
  const McVec3i tiles = header.tilesPerAxis(), size = header.tileDimensions, n = header.dimensions;
  for (const auto& [number, tile] : set.read()) {
    if (number >= header.levelTileCount(0) || tile.kind == StoredTileKind::zero) continue;
    const auto t = static_cast<int>(number);
    const SbVec3i32 origin(t % tiles.x * size.x, t / tiles.x % tiles.y * size.y, t / (tiles.x * tiles.y) * size.z);
    for (int bit = 0; bit < size.x * size.y * size.z; ++bit) {
      const SbVec3i32 voxel(origin[0] + bit % size.x, origin[1] + bit / size.x % size.y,
                            origin[2] + bit / (size.x * size.y));
      const bool isInside = voxel[0] < n.x && voxel[1] < n.y && voxel[2] < n.z;
      const bool isSet = tile.kind == StoredTileKind::one ||
                         (static_cast<int>(tile.bits[static_cast<std::size_t>(bit / 8)]) >> (7 - bit % 8) & 1) != 0;
      if (!isInside || !isSet) continue;
      ++expected.setVoxels;
      expected.bounds.extendBy(SbBox3i32(voxel, voxel));
    }
  }
  return expected;
}

}  // namespace

TEST(CheckVolume, CountsAndBoundsWhatIsThere) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE(seed);
    SampleSet set(seed);
    const VolumeCheck found = check(set), expected = counted(set);
    EXPECT_EQ(found.setVoxels, expected.setVoxels);
    EXPECT_GT(found.setVoxels, 0U);
    EXPECT_EQ(found.bounds, expected.bounds);
    EXPECT_EQ(found.damagedTiles, 0U);
    EXPECT_THAT(found.damage, SizeIs(0));
  }
}

TEST(CheckVolume, AnyFlippedBitOfTheDataIsFound) {
  SampleSet set;
  const volumefiles::Bytes whole = set.files.content(set.dataPath);
  const auto first = TiledFileReader::open(set.files, set.path)->storedCount();
  ASSERT_GT(first, 0U);
  std::uint64_t found = 0, missed = 0;
  for (std::size_t i = 0; i < whole.size(); ++i) {
    volumefiles::Bytes flipped = whole;
    flipped[i] ^= std::byte{1} << (i % 8);
    set.files.setContent(set.dataPath, flipped);
    try {
      const VolumeCheck result = check(set);
      (result.damagedTiles > 0 ? found : missed) += 1;
      EXPECT_EQ(result.damage.size(), std::min<std::size_t>(result.damagedTiles, VolumeCheck::listedTiles));
      for (const std::string& text : result.damage) EXPECT_THAT(text, HasSubstr("/v/a.dat: tile "));
    } catch (const std::exception& refusal) {
      EXPECT_THAT(refusal.what(), HasSubstr("/v/a.dat"));
      ++found;
    }
  }
  EXPECT_EQ(missed, 0U);
  EXPECT_EQ(found, whole.size());
}

TEST(CheckVolume, LowerResolutionsAreReadAndNotCounted) {
  hxvoxora::MemoryFileSystem files;
  files.makeDirectory("/v");
  hxvoxora::VolumeHeader header = volumefiles::sampleHeader();
  header.levels = 2;
  const std::uint64_t coarse = header.levelFirstTile(1);
  volumefiles::write(files, "/v/a.ldm", header,
                     {{coarse, {StoredTileKind::stored, volumefiles::maskBits(header, coarse, 3)}}});
  const auto whole = checkVolume(*TiledFileReader::open(files, "/v/a.ldm"));
  EXPECT_EQ(whole.setVoxels, 0U);
  EXPECT_TRUE(whole.damage.empty());
  volumefiles::Bytes data = files.content("/v/a.dat");
  data.back() ^= std::byte{1};
  files.setContent("/v/a.dat", data);
  EXPECT_EQ(checkVolume(*TiledFileReader::open(files, "/v/a.ldm")).damagedTiles, 1U);
}
