#include <functional>
#include <limits>

#include "hxroi/details/MaskBitfields.h"
#include "quarn/base/McBitfield.h"
#include "quarn/base/McMorphology.h"
#include "quarn/base/McNullProgress.h"
#include "quarn/voxora/tiles/MemoryBudget.h"
#include "tests/hxroi/MaskTest.h"

namespace {

using hxroi::maskFromBitfield;
using hxroi::maskToBitfield;

class MaskMorphology : public MaskTest {
protected:
  using Operation = std::function<void(Mask&, unsigned long)>;

  static constexpr McVec3i kGrid{13, 11, 7};
  static constexpr McBox3i kBox{4, 8, 3, 7, 1, 5};

  static void dilate(Mask& mask, unsigned long n) { mask.dilate(n); }
  static void erode(Mask& mask, unsigned long n) { mask.erode(n); }

  static McHandle<Mask> exact(const McBox3i& box) {
    auto mask = makeMask(kGrid, box);
    mask->setBoundingBox(box);
    return mask;
  }

  static std::size_t indexOf(const McVec3i& n, int x, int y, int z) {
    return (static_cast<std::size_t>(z) * static_cast<std::size_t>(n.y) + static_cast<std::size_t>(y)) *
               static_cast<std::size_t>(n.x) +
           static_cast<std::size_t>(x);
  }

  /// One iteration, voxel by voxel. What lies outside is clear.
  static Bits stepped(const Bits& bits, const McVec3i& n, bool dilates) {
    const auto at = [&](int x, int y, int z) {
      return x >= 0 && y >= 0 && z >= 0 && x < n.x && y < n.y && z < n.z && bits[indexOf(n, x, y, z)];
    };
    Bits result(bits.size());
    for (int z = 0; z < n.z; ++z) {
      for (int y = 0; y < n.y; ++y) {
        for (int x = 0; x < n.x; ++x) {
          const int set = at(x, y, z) + at(x - 1, y, z) + at(x + 1, y, z) + at(x, y - 1, z) + at(x, y + 1, z) +
                          at(x, y, z - 1) + at(x, y, z + 1);
          result[indexOf(n, x, y, z)] = dilates ? set > 0 : set == 7;
        }
      }
    }
    return result;
  }

  static Bits iterated(Bits bits, const McVec3i& n, bool dilates, unsigned long iterations) {
    for (; iterations > 0; --iterations) bits = stepped(bits, n, dilates);
    return bits;
  }

  /// A mask with tiles of a given size.
  static McHandle<Mask> makeTiled(const McVec3i& n, const SbVec3i32& tile) {
    const auto node = hxvoxora::makeRef<SoVolumeMask>();
    node->initializeInMemory({n.x, n.y, n.z}, tile);
    return new Mask("tiled", node.get(), McColor(), nullptr);
  }
};

/// Progress that is interrupted when it is asked for the n-th time.
class InterruptedProgress : public McProgressInterface {
public:
  explicit InterruptedProgress(int asked) : left_(asked) {}
  void start(const std::string&) override {}
  bool isInterrupted() override { return --left_ <= 0; }
  void setValue(float value) override { values.push_back(value); }
  void setText(const std::string&) override {}
  void stop() override {}
  void setStepCount(int) override {}
  void startStep(const std::string&) override {}
  void endStep() override {}
  void endSteps() override {}

  std::vector<float> values;

private:
  int left_;
};

TEST_F(MaskMorphology, RandomMasksEqualThoseOfSingleSteps) {
  auto random = seededRandom();
  for (int round = 0; round < 60; ++round) {
    const McVec3i n(1 + static_cast<int>(random() % 140), 1 + static_cast<int>(random() % 40),
                    1 + static_cast<int>(random() % 40));
    const SbVec3i32 tile(32 << random() % 4, 8 << random() % 3, 8 << random() % 3);
    const bool dilates = random() % 2 == 0;
    const double density = random() % 2 == 0 ? 0.001 : 0.05;
    const Bits bits = randomBits(n, random, dilates ? density : 1 - density);
    const unsigned long iterations = random() % 21;
    const auto mask = makeTiled(n, tile);
    setBits(*mask, bits);
    dilates ? mask->dilate(iterations) : mask->erode(iterations);
    ASSERT_EQ(bitsOf(*mask), iterated(bits, n, dilates, iterations))
        << (dilates ? "dilate " : "erode ") << iterations << ", grid " << n << ", tile " << tile[0] << ' ' << tile[1]
        << ' ' << tile[2];
  }
}

TEST_F(MaskMorphology, EqualsThatOfBitFields) {
  auto random = seededRandom();
  const McVec3i n(75, 33, 41);
  for (int round = 0; round < 10; ++round) {
    const auto mask = makeMask(n);
    setBits(*mask, randomBits(n, random, round % 2 == 0 ? 0.01 : 0.99));
    const unsigned long iterations = random() % 6;
    McBitfield bits, expected, result;
    maskToBitfield(bits, *mask);
    const McDim3l dims(n.x, n.y, n.z);
    if (round % 2 == 0) {
      McMorphology::dilation3D(bits, expected, dims, iterations);
      mask->dilate(iterations);
    } else {
      McMorphology::erosion3D(bits, expected, dims, iterations, true, true, true);
      mask->erode(iterations);
    }
    maskToBitfield(result, *mask);
    ASSERT_TRUE(result == expected) << "round " << round;
  }
}

TEST_F(MaskMorphology, ExactBoxMovesByOneVoxelWhateverTheIterations) {
  for (const unsigned long n : {0UL, 1UL, 3UL, 1000000000UL}) {
    const auto grown = exact(kBox), shrunk = exact(kBox);
    grown->dilate(n);
    shrunk->erode(n);
    EXPECT_EQ(grown->cachedBoundingBox(), McBox3i(3, 9, 2, 8, 0, 6)) << n;
    EXPECT_EQ(shrunk->cachedBoundingBox(), McBox3i(5, 7, 4, 6, 2, 4)) << n;
    EXPECT_FALSE(grown->cachedApproximatedBoundingBox());
  }
}

TEST_F(MaskMorphology, ApproximatedBoxMovesLikewise) {
  const auto grown = makeMask(kGrid, kBox), shrunk = makeMask(kGrid, kBox);
  grown->setApproximatedBoundingBox(kBox);
  shrunk->setApproximatedBoundingBox(kBox);
  grown->dilate(2);
  shrunk->erode(2);
  EXPECT_EQ(grown->cachedApproximatedBoundingBox(), McBox3i(3, 9, 2, 8, 0, 6));
  EXPECT_EQ(shrunk->cachedApproximatedBoundingBox(), McBox3i(5, 7, 4, 6, 2, 4));
  EXPECT_FALSE(grown->cachedBoundingBox());
}

TEST_F(MaskMorphology, BoxThatIsNotKnownStaysSo) {
  const auto mask = makeMask(kGrid, kBox);
  mask->dilate(1);
  mask->erode(1);
  EXPECT_FALSE(mask->cachedBoundingBox());
  EXPECT_FALSE(mask->cachedApproximatedBoundingBox());
  EXPECT_EQ(mask->getBoundingBox(), kBox);
}

TEST_F(MaskMorphology, BoxIsCutAtTheMask) {
  const McBox3i left(0, 12, 0, 0, 2, 6);
  const auto mask = exact(left);
  mask->dilate(1);
  EXPECT_EQ(mask->cachedBoundingBox(), McBox3i(0, 12, 0, 1, 1, 6));
  EXPECT_EQ(boundsOf(bitsOf(*mask), kGrid), McBox3i(0, 12, 0, 1, 1, 6));
}

TEST_F(MaskMorphology, EmptyBoxStaysEmpty) {
  for (const Operation& operation : {Operation(dilate), Operation(erode)}) {
    for (const unsigned long n : {0UL, 1UL, 5UL}) {
      const auto mask = makeMask(kGrid);
      ASSERT_EQ(mask->cachedBoundingBox(), hxroi::emptyBox<int>());
      operation(*mask, n);
      EXPECT_EQ(mask->cachedBoundingBox(), hxroi::emptyBox<int>());
      EXPECT_EQ(count(*mask), 0U);
      mask->setApproximatedBoundingBox(hxroi::emptyBox<int>());
      operation(*mask, n);
      EXPECT_EQ(mask->cachedApproximatedBoundingBox(), hxroi::emptyBox<int>());
    }
  }
}

TEST_F(MaskMorphology, BoxThatShrinksAwayIsEmpty) {
  const auto mask = exact({4, 5, 3, 7, 1, 5});
  mask->erode(1);
  EXPECT_EQ(mask->cachedBoundingBox(), hxroi::emptyBox<int>());
  EXPECT_EQ(count(*mask), 0U);
  EXPECT_TRUE(mask->empty());
}

TEST_F(MaskMorphology, OneVoxelInTheCornerGrowsInside) {
  const auto mask = exact({0, 0, 0, 0, 0, 0});
  mask->dilate(1);
  EXPECT_EQ(count(*mask), 4U);
  EXPECT_EQ(mask->cachedBoundingBox(), McBox3i(0, 1, 0, 1, 0, 1));
  mask->erode(1);
  EXPECT_EQ(count(*mask), 0U) << "what lies outside is clear";
}

/// A full mask that was never written remembers an empty box.
TEST_F(MaskMorphology, FullMask) {
  const auto mask = makeMask(kGrid, true);
  mask->dilate(2);
  EXPECT_EQ(count(*mask), 13U * 11 * 7);
  EXPECT_EQ(mask->cachedBoundingBox(), hxroi::emptyBox<int>());
  mask->erode(1);
  EXPECT_EQ(count(*mask), 11U * 9 * 5);
  EXPECT_EQ(mask->cachedBoundingBox(), hxroi::emptyBox<int>());
  const auto written = makeMask(kGrid);
  *written = true;
  written->erode(3);
  EXPECT_EQ(boundsOf(bitsOf(*written), kGrid), McBox3i(3, 9, 3, 7, 3, 3));
  EXPECT_EQ(written->cachedBoundingBox(), McBox3i(1, 11, 1, 9, 1, 5)) << "one voxel, whatever the iterations";
}

TEST_F(MaskMorphology, NumbersOfIterationsWithoutEnd) {
  const auto mask = exact({6, 6, 5, 5, 3, 3});
  mask->dilate(std::numeric_limits<unsigned long>::max());
  EXPECT_EQ(count(*mask), 13U * 11 * 7);
  mask->erode(std::numeric_limits<unsigned long>::max());
  EXPECT_EQ(count(*mask), 0U);
}

/// Closing adds to a mask and opening takes from it, where its border is far away; both again change nothing.
TEST_F(MaskMorphology, ClosingAndOpening) {
  auto random = seededRandom();
  const McVec3i n(80, 40, 40);
  const auto mask = makeMask(n);
  Bits bits = randomBits(n, random, 0.02);
  for (int z = 0; z < n.z; ++z)
    for (int y = 0; y < n.y; ++y)
      for (int x = 0; x < n.x; ++x)
        if (std::min({x, y, z, n.x - 1 - x, n.y - 1 - y, n.z - 1 - z}) < 8) bits[indexOf(n, x, y, z)] = false;
  for (const unsigned long k : {1UL, 2UL, 4UL, 7UL}) {
    setBits(*mask, bits);
    mask->dilate(k).erode(k);
    const Bits closed = bitsOf(*mask);
    for (std::size_t i = 0; i < bits.size(); ++i) ASSERT_LE(bits[i], closed[i]);
    mask->dilate(k).erode(k);
    EXPECT_EQ(bitsOf(*mask), closed) << k;
    mask->erode(k).dilate(k);
    const Bits opened = bitsOf(*mask);
    for (std::size_t i = 0; i < bits.size(); ++i) ASSERT_LE(opened[i], closed[i]);
    mask->erode(k).dilate(k);
    EXPECT_EQ(bitsOf(*mask), opened) << k;
  }
}

TEST_F(MaskMorphology, TouchesTheContent) {
  for (const Operation& operation : {Operation(dilate), Operation(erode)}) {
    const McHandle<ListeningRois> rois = new ListeningRois;
    const auto mask = exact(kBox);
    rois->addRoi(mask);
    rois->touches.clear();
    operation(*mask, 1);
    EXPECT_EQ(rois->touches, std::vector<unsigned int>{8});
  }
}

TEST_F(MaskMorphology, BorrowedMaskMovesToFilesOfItsOwn) {
  const auto user = borrowed(*exact(kBox));
  const auto before = hashesOf(folder);
  user->dilate(1);
  EXPECT_TRUE(user->ownsTemporaryFiles());
  EXPECT_GT(count(*user), 125U);
  EXPECT_EQ(hashesOf(folder), before);
}

TEST_F(MaskMorphology, InterruptedLeavesTheMask) {
  const McVec3i n(1024, 400, 300);
  const auto mask = makeTiled(n, {32, 8, 8});
  const int id = mask->volumeMask()->beginTransaction();
  mask->volumeMask()->fillBox({{0, 0, 0}, {511, 399, 299}}, 1);
  mask->volumeMask()->endTransaction(id);
  mask->setApproximatedBoundingBox(hxroi::wholeBox(n));
  const McHandle<ListeningRois> rois = new ListeningRois;
  rois->addRoi(mask);
  rois->touches.clear();
  InterruptedProgress progress(2);
  EXPECT_FALSE(mask->dilate(400, &progress));
  EXPECT_EQ(progress.values.size(), 2U);
  EXPECT_EQ(count(*mask), std::uint64_t{512} * 400 * 300);
  EXPECT_EQ(mask->cachedApproximatedBoundingBox(), hxroi::wholeBox(n));
  EXPECT_TRUE(rois->touches.empty());
  McNullProgress unwatched;
  EXPECT_TRUE(mask->erode(1, &unwatched));
  EXPECT_TRUE(mask->dilate(1, nullptr));
}

TEST_F(MaskMorphology, FailureLeavesTheMask) {
  auto random = seededRandom();
  const McVec3i n(128, 128, 128);
  const McHandle<Mask> mask = makeTiled(n, {32, 8, 8});
  setBits(*mask, randomBits(n, random, 0.1));
  mask->setApproximatedBoundingBox(hxroi::wholeBox(n));
  const Bits before = bitsOf(*mask);
  const std::size_t budget = hxvoxora::memoryBudget();
  hxvoxora::setSpillPrefix(std::string());
  hxvoxora::setMemoryBudget(std::size_t{16} << 10);
  EXPECT_FALSE(refusal([&] { mask->dilate(2); }).empty());
  hxvoxora::setMemoryBudget(budget);
  makeMask();  // there is a place for edited tiles again
  EXPECT_EQ(bitsOf(*mask), before);
  EXPECT_EQ(mask->cachedApproximatedBoundingBox(), hxroi::wholeBox(n));
  mask->dilate(1);
  EXPECT_EQ(bitsOf(*mask), stepped(before, n, true));
}

TEST_F(MaskMorphology, BitFieldsHoldTheVoxelsXFastest) {
  auto random = seededRandom();
  for (const McVec3i& n : {McVec3i(1, 1, 1), McVec3i(13, 11, 7), McVec3i(70, 66, 65)}) {
    const auto mask = makeMask(n);
    const Bits voxels = randomBits(n, random);
    setBits(*mask, voxels);
    McBitfield bits(3);
    maskToBitfield(bits, *mask);
    ASSERT_EQ(bits.size(), voxels.size());
    for (std::size_t i = 0; i < voxels.size(); ++i) ASSERT_EQ(bits.get(i), voxels[i]) << i;
    const auto other = makeMask(n, true);
    maskFromBitfield(*other, bits);
    EXPECT_EQ(bitsOf(*other), voxels);
    EXPECT_FALSE(other->cachedBoundingBox()) << "as after any other edit";
  }
}

TEST_F(MaskMorphology, BitFieldOfAnotherSizeIsRefused) {
  const auto mask = exact(kBox);
  const std::string text = refusal([&] { maskFromBitfield(*mask, McBitfield(1000)); });
  EXPECT_THAT(text, ::testing::AllOf(::testing::HasSubstr("1001 voxels"), ::testing::HasSubstr("1000 bits")));
  EXPECT_EQ(count(*mask), 125U);
  EXPECT_EQ(mask->cachedBoundingBox(), kBox);
}

}  // namespace
