#include <algorithm>

#include "quarn/voxora/tiles/MemoryBudget.h"
#include "tests/hxroi/SplitTest.h"

/// Splits of random masks against a labelling by flood fill, voxel by voxel.
namespace {

class MaskSplitRandom : public SplitTest {
protected:
  /// The masks that the labels ask for, in their order.
  static void expectLabels(const Masks& masks, const Mask& source, unsigned long maximum) {
    const Labels labels = plainLabels(source, maximum);
    const McBox3i box = source.getBoundingBox();
    const bool hasRest = std::find(labels.values.begin(), labels.values.end(), 1) != labels.values.end();
    const int first = hasRest ? 1 : 2;
    ASSERT_EQ(masks.size(), static_cast<std::size_t>(labels.last - first + 1));
    for (int label = first; label <= labels.last; ++label) {
      const Mask& mask = *masks[static_cast<std::size_t>(label - first)];
      ASSERT_EQ(bitsOf(mask), bitsOf(labels, label, box, source.dimensions())) << "label " << label;
      const McBox3i part = labels.boxes.at(label);
      if (label == 1) {
        ASSERT_EQ(mask.cachedApproximatedBoundingBox(), box);
      } else {
        ASSERT_EQ(mask.cachedBoundingBox(), McBox3i(part.getMin() + box.getMin(), part.getMax() + box.getMin()));
      }
    }
  }

  static void expectLabelField(const Mask& source, unsigned long maximum) {
    const Labels labels = plainLabels(source, maximum);
    std::map<int, McBox3i> boxes;
    const McHandle<HxUniformLabelField3> field = source.splitToUniformLabelField3(boxes, maximum, nullptr);
    ASSERT_EQ(field->latticeDimensions(), McDim3l(labels.size));
    const std::uint8_t* values = field->lattice().getLabels();
    ASSERT_TRUE(std::equal(labels.values.begin(), labels.values.end(), values));
    ASSERT_EQ(boxes, labels.boxes);
  }
};

}  // namespace

TEST_F(MaskSplitRandom, EqualsTheLabellingByFloodFill) {
  auto random = seededRandom();
  const unsigned long maxima[] = {0, 1, 2, 7, 253, 300};
  for (const McVec3i& n :
       {McVec3i(1, 1, 1), McVec3i(40, 1, 1), McVec3i(1, 1, 70), McVec3i(13, 11, 7), McVec3i(70, 35, 34)}) {
    for (const double density : {0.02, 0.3, 0.5, 0.9}) {
      const ThreadSwitch threads(random() % 2 != 0);
      const auto source = makeMask(n);
      setBits(*source, randomBits(n, random, density));
      if (source->empty()) continue;
      const unsigned long maximum = maxima[random() % std::size(maxima)];
      SCOPED_TRACE(std::to_string(n.x) + " voxels along x, density " + std::to_string(density) + ", maximum " +
                   std::to_string(maximum));
      expectLabels(split(*source, maximum), *source, maximum);
      expectLabelField(*source, maximum);
      if (HasFatalFailure()) return;
    }
  }
}

TEST_F(MaskSplitRandom, TheSwitchChangesNothing) {
  auto random = seededRandom();
  const McVec3i n(50, 40, 30);
  const auto source = makeMask(n);
  setBits(*source, randomBits(n, random, 0.15));
  Masks byThreads, inOrder;
  {
    const ThreadSwitch threads(true);
    byThreads = split(*source, 60);
  }
  {
    const ThreadSwitch threads(false);
    inOrder = split(*source, 60);
  }
  ASSERT_EQ(byThreads.size(), inOrder.size());
  for (std::size_t i = 0; i < inOrder.size(); ++i) {
    ASSERT_EQ(bitsOf(*byThreads[i]), bitsOf(*inOrder[i])) << i;
    ASSERT_EQ(byThreads[i]->cachedBoundingBox(), inOrder[i]->cachedBoundingBox());
    ASSERT_EQ(byThreads[i]->cachedApproximatedBoundingBox(), inOrder[i]->cachedApproximatedBoundingBox());
  }
}

TEST_F(MaskSplitRandom, MergedComponentsAreTheMaskAgain) {
  auto random = seededRandom();
  for (const double density : {0.1, 0.4}) {
    const McVec3i n(41, 23, 17);
    const auto source = makeMask(n);
    setBits(*source, randomBits(n, random, density));
    const auto merged = makeMask(n);
    std::uint64_t sum = 0;
    for (const auto& piece : split(*source, 50)) {
      sum += count(*piece);
      *merged |= *piece;
    }
    EXPECT_EQ(sum, count(*source)) << "pieces have voxels in common";
    EXPECT_EQ(bitsOf(*merged), bitsOf(*source));
  }
}

TEST_F(MaskSplitRandom, TilesOfAnotherSizeThanThoseOfTheMaskGiveTheSame) {
  auto random = seededRandom();
  const McVec3i n(70, 20, 40);
  const auto node = hxvoxora::makeRef<SoVolumeMask>();
  node->initializeInMemory({n.x, n.y, n.z}, {32, 8, 16});
  const McHandle<Mask> source = new Mask("mask", node.get(), McColor(), nullptr);
  setBits(*source, randomBits(n, random, 0.2));
  expectLabels(split(*source, 30), *source, 30);
}

TEST_F(MaskSplitRandom, MasksBeyondTheMemoryBudgetAreSplitAndLeaveNothing) {
  auto random = seededRandom();
  const McVec3i n(200, 150, 150);
  const std::size_t budget = hxvoxora::memoryBudget();
  hxvoxora::setMemoryBudget(std::size_t{4} << 20);
  const auto source = makeMask(n);
  const Bits bits = randomBits(n, random, 0.4);
  setBits(*source, bits);
  hxvoxora::setMemoryBudget(std::size_t{64} << 10);
  const std::uint64_t spills = hxvoxora::cacheStatistics().spills;
  const auto masks = split(*source, 10);
  EXPECT_GT(hxvoxora::cacheStatistics().spills, spills);
  hxvoxora::setMemoryBudget(std::size_t{4} << 20);
  expectLabels(masks, *source, 10);
  hxvoxora::setMemoryBudget(budget);
  for (const std::string& name : temporaryFiles()) EXPECT_THAT(name, ::testing::Not(::testing::HasSubstr(".spill")));
}
