#include "hxroi/HxRoisHelpers.h"
#include "tests/hxroi/SplitTest.h"

/// Storing a box of a label field into a box of a mask.
namespace {

class MaskBoxStore : public SplitTest {
protected:
  static McHandle<HxUniformLabelField3> randomField(const McVec3i& n, std::mt19937& random) {
    McHandle<HxUniformLabelField3> field(new HxUniformLabelField3(McDim3l(n)));
    std::uint8_t* labels = field->lattice().getLabels();
    for (std::int64_t i = 0; i < field->voxelCount(); ++i) labels[i] = static_cast<std::uint8_t>(random() % 4);
    return field;
  }

  static McVec3i randomSize(const McVec3i& a, const McVec3i& b, std::mt19937& random) {
    McVec3i size;
    for (int axis = 0; axis < 3; ++axis) {
      size[axis] = 1 + static_cast<int>(random() % static_cast<unsigned>(std::min(a[axis], b[axis])));
    }
    return size;
  }

  static McBox3i placed(const McVec3i& size, const McVec3i& whole, std::mt19937& random) {
    McVec3i origin;
    for (int axis = 0; axis < 3; ++axis) {
      origin[axis] = static_cast<int>(random() % static_cast<unsigned>(whole[axis] - size[axis] + 1));
    }
    return hxroi::boxAt(origin, size);
  }
};

}  // namespace

TEST_F(MaskBoxStore, EqualsAWriteOfSingleVoxels) {
  auto random = seededRandom();
  const McVec3i fieldSize(40, 17, 70);
  const McVec3i maskSize(33, 21, 80);
  for (int round = 0; round < 40; ++round) {
    const auto field = randomField(fieldSize, random);
    const auto mask = makeMask(maskSize);
    Bits expected = randomBits(maskSize, random);
    setBits(*mask, expected);
    const McVec3i size = randomSize(fieldSize, maskSize, random);
    const McBox3i from = placed(size, fieldSize, random);
    const McBox3i to = placed(size, maskSize, random);
    HxRoisHelpers::store(field, 2, from, mask, to, nullptr);
    for (int z = 0; z < size.z; ++z) {
      for (int y = 0; y < size.y; ++y) {
        for (int x = 0; x < size.x; ++x) {
          const McVec3i v = to.getMin() + McVec3i(x, y, z);
          expected[static_cast<std::size_t>((v.z * maskSize.y + v.y) * maskSize.x + v.x)] =
              field->value(from[0] + x, from[2] + y, from[4] + z) == 2;
        }
      }
    }
    ASSERT_EQ(bitsOf(*mask), expected) << "round " << round;
  }
}

TEST_F(MaskBoxStore, AllBoxesOfALabelFieldOfASplitGiveItsComponents) {
  auto random = seededRandom();
  const McVec3i n(30, 20, 10);
  const auto source = makeMask(n);
  setBits(*source, randomBits(n, random, 0.2));
  std::map<int, McBox3i> boxes;
  const McHandle<HxUniformLabelField3> field = source->splitToUniformLabelField3(boxes, 30, nullptr);
  const auto pieces = split(*source, 30);
  const McVec3i origin = source->getBoundingBox().getMin();
  ASSERT_EQ(pieces.size(), 31U);
  for (int label = 2; label < 32; ++label) {
    const auto mask = makeMask(n);
    const McBox3i box = boxes[label];
    HxRoisHelpers::store(field, label, box, mask, McBox3i(box.getMin() + origin, box.getMax() + origin), nullptr);
    ASSERT_EQ(bitsOf(*mask), bitsOf(*pieces[static_cast<std::size_t>(label - 1)]));
  }
}

TEST_F(MaskBoxStore, LabelOutsideOfTheBytesClearsTheBoxOnly) {
  const McHandle<HxUniformLabelField3> field(new HxUniformLabelField3(McDim3l(4, 4, 4)));
  for (const int label : {-1, 256}) {
    const auto mask = makeMask({13, 11, 7});
    *mask = true;
    HxRoisHelpers::store(field, label, {0, 3, 0, 3, 0, 3}, mask, {5, 8, 5, 8, 2, 5}, nullptr);
    EXPECT_EQ(count(*mask), 13U * 11U * 7U - 64U);
    EXPECT_FALSE(voxel(*mask, 5, 5, 2));
    EXPECT_TRUE(voxel(*mask, 4, 5, 2));
  }
}

TEST_F(MaskBoxStore, ProgressCountsTheSlicesOfTheBox) {
  const McHandle<HxUniformLabelField3> field(new HxUniformLabelField3(McDim3l(4, 4, 4)));
  const auto mask = makeMask({13, 11, 7});
  RecordingProgress progress;
  HxRoisHelpers::store(field, 1, {0, 3, 0, 3, 0, 3}, mask, {5, 8, 5, 8, 2, 5}, &progress);
  EXPECT_THAT(progress.values, ::testing::ElementsAre(0.0F, 0.25F, 0.5F, 0.75F));
}

TEST_F(MaskBoxStore, BoxesThatDoNotFitAreRefusedAndChangeNothing) {
  const McHandle<HxUniformLabelField3> field(new HxUniformLabelField3(McDim3l(4, 4, 4)));
  const auto mask = makeMask({13, 11, 7});
  *mask = true;
  const auto stored = [&](const McBox3i& from, const McBox3i& to) {
    return refusal([&] { HxRoisHelpers::store(field, 1, from, mask, to, nullptr); });
  };
  EXPECT_THAT(stored({0, 3, 0, 3, 0, 3}, {0, 3, 0, 3, 0, 2}), ::testing::HasSubstr("differ in size"));
  EXPECT_THAT(stored({1, 4, 0, 3, 0, 3}, {0, 3, 0, 3, 0, 3}), ::testing::HasSubstr("(1, 4, 0, 3, 0, 3)"));
  EXPECT_THAT(stored({0, 3, 0, 3, 0, 3}, {0, 3, 0, 3, 4, 7}), ::testing::HasSubstr("(0, 3, 0, 3, 4, 7)"));
  EXPECT_THAT(stored({0, 3, 0, 3, 0, 3}, {-1, 2, 0, 3, 0, 3}), ::testing::HasSubstr("inside the mask"));
  HxRoisHelpers::store(field, 1, hxroi::emptyBox<int>(), mask, hxroi::emptyBox<int>(), nullptr);
  EXPECT_EQ(count(*mask), 13U * 11U * 7U);
}
