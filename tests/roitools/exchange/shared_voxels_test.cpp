#include <gmock/gmock.h>
#include <random>

#include "hxroi/details/boxes.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "roitools/exchange/sharedVoxels.h"

namespace {

using roitools::MaskContent;

const SbVec3i32 kSize(150, 70, 40);

/// Some boxes, as a volume of tiles of one size.
MaskContent drawn(unsigned seed, int tile, int boxes, int longest) {
  std::mt19937 random(seed);
  const auto volume = hxvoxora::makeRef<SoVolumeMask>();
  volume->initializeInMemory(kSize, SbVec3i32(tile, tile, tile));
  const int edit = volume->beginTransaction();
  for (int i = 0; i < boxes; ++i) {
    SbVec3i32 low, high;
    for (int axis = 0; axis < 3; ++axis) {
      low[axis] = static_cast<int>(random() % static_cast<unsigned>(kSize[axis]));
      high[axis] = std::min(kSize[axis] - 1, low[axis] + static_cast<int>(random() % static_cast<unsigned>(longest)));
    }
    volume->fillBox({low, high}, 1);
  }
  volume->endTransaction(edit);
  const SbBox3i32 box = volume->computeBoundingBox({{0, 0, 0}, {kSize[0] - 1, kSize[1] - 1, kSize[2] - 1}});
  if (box.isEmpty()) return {volume->snapshot(), hxroi::emptyBox<int>()};
  const SbVec3i32 &min = box.getMin(), &max = box.getMax();
  return {volume->snapshot(), McBox3i(min[0], max[0], min[1], max[1], min[2], max[2])};
}

std::vector<bool> voxelsOf(const MaskContent& content) {
  std::vector<bool> voxels(static_cast<std::size_t>(kSize[0] * kSize[1] * kSize[2]));
  content.voxels.forEachRun({{0, 0, 0}, {kSize[0] - 1, kSize[1] - 1, kSize[2] - 1}}, [&](int y, int z, int x0, int x1) {
    for (int x = x0; x < x1; ++x) voxels[static_cast<std::size_t>((z * kSize[1] + y) * kSize[0] + x)] = true;
  });
  return voxels;
}

std::uint64_t countedOneByOne(const MaskContent& a, const MaskContent& b) {
  const std::vector<bool> voxelsOfA = voxelsOf(a), voxelsOfB = voxelsOf(b);
  std::uint64_t count = 0;
  for (std::size_t i = 0; i < voxelsOfA.size(); ++i) count += voxelsOfA[i] && voxelsOfB[i] ? 1 : 0;
  return count;
}

TEST(SharedVoxels, AreThoseThatAreCountedOneByOne) {
  std::vector<MaskContent> contents;
  for (unsigned seed = 0; seed < 12; ++seed)
    contents.push_back(drawn(seed, seed % 3 == 0 ? 64 : 32, seed == 5 ? 0 : 6, seed % 4 == 0 ? 150 : 25));
  const auto counts = roitools::countSharedVoxels(contents, {});
  ASSERT_TRUE(counts);
  std::uint64_t sum = 0;
  for (std::size_t i = 0; i < contents.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      const std::uint64_t expected = countedOneByOne(contents[i], contents[j]);
      EXPECT_EQ(counts->shared(i, j), expected) << i << " " << j;
      sum += expected;
    }
  }
  EXPECT_GT(sum, 1000U);
  EXPECT_FALSE(roitools::countSharedVoxels(contents, [](double) { return false; }));
}

TEST(SharedVoxels, PartMasksIntoLayersWithoutAny) {
  std::vector<MaskContent> contents;
  for (unsigned seed = 0; seed < 12; ++seed) contents.push_back(drawn(seed, 32, 3, 30));
  const std::vector<int> layers = roitools::assignLayers(roitools::countSharedVoxels(contents, {}).value());
  for (std::size_t i = 0; i < contents.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (layers[i] != layers[j]) continue;
      EXPECT_EQ(countedOneByOne(contents[i], contents[j]), 0U) << i << " " << j;
    }
    for (int layer = 0; layer < layers[i]; ++layer) {
      std::uint64_t shared = 0;
      for (std::size_t j = 0; j < i; ++j)
        if (layers[j] == layer) shared += countedOneByOne(contents[i], contents[j]);
      EXPECT_GT(shared, 0U) << i << " would have had room in layer " << layer;
    }
  }
}

}  // namespace
