#include "quarn/voxora/tiles/MemoryBudget.h"
#include "tests/hxroi/MaskTest.h"

/// Masks and views that do not fit into the memory budget.
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

class MaskBudget : public MaskTest {
protected:
  ~MaskBudget() override { hxvoxora::setMemoryBudget(former_); }

private:
  const std::size_t former_ = hxvoxora::memoryBudget();
};

TEST_F(MaskBudget, WholeViewBeyondTheBudgetIsRefusedWithTheSizes) {
  hxvoxora::setMemoryBudget(std::size_t{4} << 20);
  const McVec3i size(1000, 1000, 300);
  const McHandle<Mask> mask = makeMask(size, McBox3i(10, 20, 30, 40, 50, 60));
  const SbBox3i32 boundsBefore = mask->volumeMask()->computeBoundingBox(SbBox3i32({0, 0, 0}, {999, 999, 299}));
  const auto isTold = AllOf(HasSubstr("The box of (1000, 1000, 300) voxels at (0, 0, 0)"),
                            HasSubstr("needs 37500000 bytes"), HasSubstr("the memory budget is 4194304 bytes"));
  EXPECT_THAT(refusal([&] { mask->getConstBox(); }), isTold);
  EXPECT_THAT(refusal([&] { mask->getBox(AccessMode::ReadWrite); }), isTold);
  EXPECT_THAT(refusal([&] { mask->getBox({0, 0, 0}, size, AccessMode::WriteOnly); }), isTold);
  EXPECT_EQ(boundsBefore, mask->volumeMask()->computeBoundingBox(SbBox3i32({0, 0, 0}, {999, 999, 299})));
  EXPECT_FALSE(voxel(*mask, 0, 0, 0));
}

TEST_F(MaskBudget, ViewOfMoreVoxelsThanCanBeCountedIsRefused) {
  const McHandle<Mask> mask = makeMask();
  const McVec3i size(2000000000, 2000000000, 2000000000);
  EXPECT_THAT(refusal([&] {
                mask->getConstBox({0, 0, 0}, size);
              }),
              HasSubstr("The box of (2000000000, 2000000000, 2000000000) voxels"));
}

TEST_F(MaskBudget, MasksBeyondTheBudgetAreWorkedOnAndLeaveNothing) {
  hxvoxora::setMemoryBudget(std::size_t{4} << 20);
  std::mt19937 random = seededRandom();
  const McVec3i size(300, 200, 200);
  const std::uint64_t spills = hxvoxora::cacheStatistics().spills;
  {
    const Bits a = randomBits(size, random), b = randomBits(size, random);
    const McHandle<Mask> left = makeMask(size), right = makeMask(size);
    setBits(*left, a);
    setBits(*right, b);
    hxvoxora::setMemoryBudget(std::size_t{256} << 10);
    *left ^= *right;
    left->negate();
    EXPECT_GT(hxvoxora::cacheStatistics().spills, spills);
    Bits expected(a.size());
    for (std::size_t i = 0; i < a.size(); ++i) expected[i] = a[i] == b[i];
    hxvoxora::setMemoryBudget(std::size_t{4} << 20);
    EXPECT_EQ(expected, bitsOf(*left));
    left->flush(0);
    EXPECT_EQ(expected, bitsOf(*left));
  }
  for (const std::string& name : temporaryFiles()) EXPECT_THAT(name, Not(HasSubstr(".spill")));
}

}  // namespace
