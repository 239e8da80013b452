#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "quarn/voxora/readers/SoLDMReader.h"
#include "quarn/voxora/readers/SoVRLdmFileReader.h"
#include "quarn/voxora/tiles/Ref.h"
#include "tests/voxora/files/volume_files.h"

using hxvoxora::makeRef;
using hxvoxora::Ref;
using hxvoxora::TiledFileReader;
using testing::AllOf;
using testing::HasSubstr;
using volumefiles::messageOf;
using volumefiles::SampleSet;

namespace {

Ref<SoLDMReader> openSample(SampleSet& set) {
  return makeRef<SoLDMReader>(std::shared_ptr<const TiledFileReader>(TiledFileReader::open(set.files, set.path)));
}

/// The voxel of the sample volume, in which tiles have 32 x 8 x 8 voxels.
int sampleVoxel(const volumefiles::Tiles& tiles, int x, int y, int z) {
  const auto found = tiles.find(static_cast<std::uint64_t>((z / 8 * 2 + y / 8) * 2 + x / 32));
  if (found == tiles.end()) return 0;
  const auto& [kind, bits] = found->second;
  if (kind != hxvoxora::StoredTileKind::stored) return kind == hxvoxora::StoredTileKind::one;
  const auto i = static_cast<std::size_t>((z % 8 * 8 + y % 8) * 32 + x % 32);
  return std::to_integer<int>(bits[i / 8]) >> (7 - i % 8) & 1;
}

}  // namespace

TEST(SoVolumeReader, HasDefaultsForEverything) {
  const auto reader = makeRef<SoVolumeReader>();
  SbBox3f size(SbVec3f(1, 2, 3), SbVec3f(4, 5, 6));
  const SbBox3f before = size;
  SoDataSet::DataType type = SoDataSet::FLOAT;
  SbVec3i32 dimension(7, 8, 9);
  EXPECT_EQ(reader->getDataChar(size, type, dimension), 1);
  EXPECT_EQ(size, before);
  EXPECT_EQ(type, SoDataSet::FLOAT);
  EXPECT_EQ(dimension, SbVec3i32(7, 8, 9));
  unsigned char byte = 42;
  reader->getSubSlice(SbBox2i32(0, 0, 0, 0), 0, &byte);
  EXPECT_EQ(byte, 42);
  EXPECT_TRUE(reader->getIsBuiltIn());
  ASSERT_NE(reader->getFieldData(), nullptr);
  EXPECT_EQ(reader->getTypeId(), SoVolumeReader::getClassTypeId());
}

TEST(SoVolumeReader, NotifiesListenersUntilTheyAreRemoved) {
  const auto reader = makeRef<SoVolumeReader>();
  std::string calls;
  const int a = reader->addListener([&] { calls += 'a'; });
  reader->addListener([&] { calls += 'b'; });
  reader->startNotify();
  reader->removeListener(a);
  reader->removeListener(a);
  reader->startNotify();
  EXPECT_EQ(calls, "abb");
}

TEST(SoVolumeReader, ClassesRegisterTheirParentsAndComeBackAfterExit) {
  SoVRLdmFileReader::exitClass();
  SoLDMReader::exitClass();
  SoVolumeReader::exitClass();
  EXPECT_TRUE(SoVRLdmFileReader::getClassTypeId().isBad());
  EXPECT_TRUE(SoVolumeReader::getClassTypeId().isBad());
  EXPECT_EQ(SoVolumeReader::getClassFieldData(), nullptr);

  SoVRLdmFileReader::initClass();
  SoVRLdmFileReader::initClass();
  const SoType type = SoVRLdmFileReader::getClassTypeId();
  EXPECT_EQ(type.getName(), SbName("SoVRLdmFileReader"));
  EXPECT_TRUE(type.isDerivedFrom(SoLDMReader::getClassTypeId()));
  EXPECT_TRUE(type.isDerivedFrom(SoVolumeReader::getClassTypeId()));
  const Ref<SoVolumeReader> made(static_cast<SoVolumeReader*>(type.createInstance()));
  EXPECT_NE(dynamic_cast<SoLDMReader*>(made.get()), nullptr);
  EXPECT_EQ(made->getTypeId(), type);
}

TEST(SoFieldData, StartsWithTheParentsFields) {
  SoFieldData parent;
  parent.addField("fileName");
  SoFieldData child(&parent);
  child.addField("mask");
  EXPECT_EQ(child.fieldNames(), (std::vector<std::string>{"fileName", "mask"}));
  EXPECT_TRUE(SoFieldData(nullptr).fieldNames().empty());
}

TEST(SoLDMReader, TellsTheVolume) {
  SampleSet set;
  const auto reader = openSample(set);
  SbBox3f size(SbVec3f(1, 2, 3), SbVec3f(4, 5, 6));
  SoDataSet::DataType type = SoDataSet::FLOAT;
  SbVec3i32 dimension;
  EXPECT_EQ(reader->getDataChar(size, type, dimension), 0);
  EXPECT_EQ(size, SbBox3f(SbVec3f(0, 0, 0), SbVec3f(1, 1, 1)));
  EXPECT_EQ(type, SoDataSet::UNSIGNED_BYTE);
  EXPECT_EQ(dimension, SbVec3i32(50, 13, 11));
  EXPECT_EQ(makeRef<SoLDMReader>()->getDataChar(size, type, dimension), 1);
}

TEST(SoLDMReader, ServesEverySliceAsBytes) {
  SampleSet set;
  const auto reader = openSample(set);
  const auto tiles = volumefiles::sampleTiles(1);
  for (int z = 0; z < 11; ++z) {
    std::vector<unsigned char> slice(50 * 13, 9);
    reader->getSubSlice(SbBox2i32(0, 0, 49, 12), z, slice.data());
    for (int y = 0; y < 13; ++y) {
      for (int x = 0; x < 50; ++x) {
        ASSERT_EQ(slice[static_cast<std::size_t>(y * 50 + x)], sampleVoxel(tiles, x, y, z))
            << x << " " << y << " " << z;
      }
    }
  }
}

TEST(SoLDMReader, ServesPartsOfSlices) {
  SampleSet set;
  const auto reader = openSample(set);
  const auto tiles = volumefiles::sampleTiles(1);
  std::vector<unsigned char> part(5 * 3 + 1, 9);
  reader->getSubSlice(SbBox2i32(30, 6, 34, 8), 9, part.data());
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 5; ++x) {
      EXPECT_EQ(part[static_cast<std::size_t>(y * 5 + x)], sampleVoxel(tiles, 30 + x, 6 + y, 9));
    }
  }
  EXPECT_EQ(part.back(), 9);

  std::vector<unsigned char> one(2, 9);
  reader->getSubSlice(SbBox2i32(33, 2, 32, 2), 0, one.data());
  EXPECT_EQ(one[0], 1);
  EXPECT_EQ(one[1], 9);
  reader->getSubSlice(SbBox2i32(0, 1, 5, 0), 0, &one[1]);
  EXPECT_EQ(one[1], 9);
}

TEST(SoLDMReader, SlicesOutsideTheVolumeAreRefused) {
  SampleSet set;
  const auto reader = openSample(set);
  std::vector<unsigned char> bytes(100);
  for (const SbBox2i32& box : {SbBox2i32(-1, 0, 0, 0), SbBox2i32(0, 0, 50, 0), SbBox2i32(0, 0, 0, 13)}) {
    EXPECT_THAT(messageOf([&] { reader->getSubSlice(box, 0, bytes.data()); }), HasSubstr("/v/a.ldm: slice 0"));
  }
  EXPECT_THAT(messageOf([&] { reader->getSubSlice(SbBox2i32(0, 0, 0, 0), 11, bytes.data()); }), HasSubstr("slice 11"));
  EXPECT_THAT(messageOf([&] { makeRef<SoLDMReader>()->getSubSlice(SbBox2i32(0, 0, 0, 0), 0, bytes.data()); }),
              HasSubstr("no open file"));
}

TEST(SoLDMReader, FindsHeaderTags) {
  SampleSet set;
  set.replaceInHeader("</Volume", " <BoundingBox>9 -1 4 5 6 7</BoundingBox>\n <Empty/>\n</Volume");
  const auto reader = openSample(set);
  EXPECT_EQ(reader->findHeaderTag("BoundingBox"), "9 -1 4 5 6 7");
  EXPECT_EQ(reader->findHeaderTag("Empty"), "");
  EXPECT_EQ(reader->findHeaderTag("ApproximatedBoundingBox"), std::nullopt);
  EXPECT_EQ(makeRef<SoLDMReader>()->findHeaderTag("BoundingBox"), std::nullopt);
}

TEST(SoVRLdmFileReader, ReadsTheHeaderWithoutTheOtherFiles) {
  SampleSet set;
  set.files.remove(set.dataPath);
  set.files.remove(set.indexPath);
  const auto reader = makeRef<SoVRLdmFileReader>(set.files);
  ASSERT_TRUE(reader->openHeader(set.path)) << reader->headerError();
  EXPECT_FALSE(reader->hasTileBorders());
  EXPECT_EQ(reader->header()->dimensions, McVec3i(50, 13, 11));
  EXPECT_EQ(reader->findHeaderTag("VoxelType"), "bit");
}

TEST(SoVRLdmFileReader, TellsTileBorders) {
  SampleSet set;
  set.replaceInHeader("</Volume", "<TileBorder>1</TileBorder></Volume");
  const auto reader = makeRef<SoVRLdmFileReader>(set.files);
  EXPECT_TRUE(reader->openHeader(set.path));
  EXPECT_TRUE(reader->hasTileBorders());
  set.replaceInHeader("<TileBorder>1", "<TileBorder>0");
  EXPECT_TRUE(reader->openHeader(set.path));
  EXPECT_FALSE(reader->hasTileBorders());
}

TEST(SoVRLdmFileReader, MissingOrDamagedHeadersHaveNoBorders) {
  SampleSet set;
  const auto reader = makeRef<SoVRLdmFileReader>(set.files);
  EXPECT_FALSE(reader->hasTileBorders());
  set.replaceInHeader("</Volume", "<TileBorder>1</TileBorder></Volume");
  ASSERT_TRUE(reader->openHeader(set.path));
  EXPECT_FALSE(reader->openHeader("/v/none.ldm"));
  EXPECT_THAT(reader->headerError(), AllOf(HasSubstr("/v/none.ldm"), HasSubstr("No such file")));
  EXPECT_FALSE(reader->hasTileBorders());
  EXPECT_EQ(reader->header(), nullptr);
  set.replaceInHeader("<TileBorder>1", "<TileBorder>-1");
  EXPECT_FALSE(reader->openHeader(set.path));
  EXPECT_THAT(reader->headerError(), HasSubstr("element TileBorder \"-1\""));
  EXPECT_FALSE(reader->hasTileBorders());
  SoVRLdmFileReader::initClass();
  EXPECT_FALSE(makeRef<SoVRLdmFileReader>()->openHeader("/nowhere/a.ldm"));
}
