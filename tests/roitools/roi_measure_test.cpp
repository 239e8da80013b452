#include <array>
#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <stdexcept>
#include <vector>

#include "quarn/base/McHandle.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/voxora/nodes/SoCpuBufferBitSet.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "roitools/RoiMeasure.h"

namespace {

using roitools::RoiMeasure;

struct Volume {
  Volume(int nx, int ny, int nz) : size(nx, ny, nz), voxels(static_cast<std::size_t>(nx) * ny * nz) {
    node = hxvoxora::makeRef<SoVolumeMask>();
    node->initializeInMemory(size, SbVec3i32(32, 32, 32));
  }

  std::size_t index(int x, int y, int z) const { return (static_cast<std::size_t>(z) * size[1] + y) * size[0] + x; }

  void fill(const SbBox3i32& box, bool value) {
    const int transaction = node->beginTransaction();
    node->fillBox(box, value ? 1.0 : 0.0);
    node->endTransaction(transaction);
    for (int z = box.getMin()[2]; z <= box.getMax()[2]; ++z) {
      for (int y = box.getMin()[1]; y <= box.getMax()[1]; ++y) {
        for (int x = box.getMin()[0]; x <= box.getMax()[0]; ++x) voxels[index(x, y, z)] = value;
      }
    }
  }

  SbVec3i32 size;
  std::vector<bool> voxels;
  hxvoxora::Ref<SoVolumeMask> node;
};

/// The same, voxel by voxel.
RoiMeasure plainMeasure(const Volume& volume, const HxUniformScalarField3* image) {
  RoiMeasure measure;
  for (int z = 0; z < volume.size[2]; ++z) {
    for (int y = 0; y < volume.size[1]; ++y) {
      for (int x = 0; x < volume.size[0]; ++x) {
        if (!volume.voxels[volume.index(x, y, z)]) continue;
        ++measure.voxels;
        McBox3i voxel;
        voxel.setValue(x, x, y, y, z, z);
        measure.box.extendBy(voxel);
        measure.indexSum[0] += static_cast<std::uint64_t>(x);
        measure.indexSum[1] += static_cast<std::uint64_t>(y);
        measure.indexSum[2] += static_cast<std::uint64_t>(z);
        if (!image) continue;
        const double value = image->value(x, y, z);
        measure.values.add(&value, 1);
      }
    }
  }
  return measure;
}

void expectEqual(const RoiMeasure& measure, const RoiMeasure& expected) {
  EXPECT_EQ(measure.voxels, expected.voxels);
  EXPECT_EQ(measure.box, expected.box);
  EXPECT_EQ(measure.indexSum, expected.indexSum);
  EXPECT_EQ(measure.values.count, expected.values.count);
  if (expected.values.count == 0) return;
  EXPECT_NEAR(measure.values.mean, expected.values.mean, 1e-9);
  EXPECT_NEAR(measure.values.standardDeviation(), expected.values.standardDeviation(), 1e-9);
  EXPECT_EQ(measure.values.minimum, expected.values.minimum);
  EXPECT_EQ(measure.values.maximum, expected.values.maximum);
}

TEST(RoiMeasure, EndsWhereItIsTold) {
  Volume volume(70, 40, 36);
  volume.fill(SbBox3i32(SbVec3i32(0, 0, 0), SbVec3i32(69, 39, 35)), true);
  std::atomic<int> questions = 0;
  const auto stop = [&] {
    ++questions;
    throw std::runtime_error("enough");
  };
  EXPECT_THROW(roitools::measure(volume.node->snapshot(), nullptr, stop), std::runtime_error);
  EXPECT_GT(questions, 0);
}

}  // namespace

TEST(RoiMeasure, OfAnEmptyMaskIsNothing) {
  const Volume volume(40, 30, 20);
  const RoiMeasure measure = roitools::measure(volume.node->snapshot(), nullptr);
  EXPECT_EQ(measure.voxels, 0u);
  EXPECT_TRUE(measure.box.isEmpty());
  EXPECT_EQ(measure.values.count, 0u);
}

TEST(RoiMeasure, OfAFullMaskIsTheGrid) {
  Volume volume(70, 33, 65);
  volume.fill(SbBox3i32(SbVec3i32(0, 0, 0), SbVec3i32(69, 32, 64)), true);
  const RoiMeasure measure = roitools::measure(volume.node->snapshot(), nullptr);
  EXPECT_EQ(measure.voxels, 70u * 33u * 65u);
  EXPECT_EQ(measure.centroidIndex(), (std::array<double, 3>{34.5, 16.0, 32.0}));
  expectEqual(measure, plainMeasure(volume, nullptr));
}

TEST(RoiMeasure, CountsOneVoxelAtItsPlace) {
  Volume volume(100, 50, 40);
  volume.fill(SbBox3i32(SbVec3i32(63, 31, 32), SbVec3i32(63, 31, 32)), true);
  const RoiMeasure measure = roitools::measure(volume.node->snapshot(), nullptr);
  EXPECT_EQ(measure.voxels, 1u);
  EXPECT_EQ(measure.centroidIndex(), (std::array<double, 3>{63.0, 31.0, 32.0}));
  expectEqual(measure, plainMeasure(volume, nullptr));
}

TEST(RoiMeasure, EqualsAVoxelLoopOnRandomBoxesAndImages) {
  const char* given = std::getenv("QUARN_TEST_SEED");
  const std::uint64_t seed = given ? std::strtoull(given, nullptr, 10) : std::random_device{}();
  RecordProperty("seed", std::to_string(seed));
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937_64 random(seed);
  const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  for (int round = 0; round < 20; ++round) {
    Volume volume(1 + below(90), 1 + below(70), 1 + below(50));
    McHandle<HxUniformScalarField3> image(
        new HxUniformScalarField3(McDim3l(volume.size[0], volume.size[1], volume.size[2]), McPrimType::Int16));
    image->visitValues([&](auto* values) {
      for (std::int64_t i = 0; i < image->voxelCount(); ++i) {
        values[i] = static_cast<std::remove_reference_t<decltype(*values)>>(below(1000) - 500);
      }
    });
    for (int edit = 0; edit < 6; ++edit) {
      const SbVec3i32 low(below(volume.size[0]), below(volume.size[1]), below(volume.size[2]));
      const SbVec3i32 high(low[0] + below(volume.size[0] - low[0]), low[1] + below(volume.size[1] - low[1]),
                           low[2] + below(volume.size[2] - low[2]));
      volume.fill(SbBox3i32(low, high), edit % 3 != 2);
    }
    expectEqual(roitools::measure(volume.node->snapshot(), image.get()), plainMeasure(volume, image.get()));
  }
}
