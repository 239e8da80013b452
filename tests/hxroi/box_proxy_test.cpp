#include <dlfcn.h>
#include <memory>
#include <numeric>

#include "hxroi/details/BBoxCompute.h"
#include "hxroi/details/BoxProxy.h"
#include "tests/hxroi/MaskTest.h"

using hxroi::details::BBoxCompute;

namespace {

class BoxProxyTest : public MaskTest {
protected:
  using View = std::unique_ptr<BoxProxy>;

  template <class... Arguments>
  static View viewOf(Arguments&&... arguments) {
    return std::make_unique<BoxProxy>(std::forward<Arguments>(arguments)...);
  }
  static View writable(Mask& mask, AccessMode mode = AccessMode::ReadWrite) {
    return View(new BoxProxy(mask.getBox({0, 0, 0}, mask.dimensions(), mode)));
  }

  const McHandle<Mask> mask = makeMask({13, 11, 7}, McBox3i(2, 4, 3, 5, 1, 2));
};

}  // namespace

TEST_F(BoxProxyTest, VoxelsLieInTheDocumentedBits) {
  const BoxProxy view = mask->getConstBox({1, 2, 0}, {5, 4, 3});
  EXPECT_EQ(view.bitIndex(0, 0, 0), 0U);
  EXPECT_EQ(view.bitIndex(3, 2, 1), static_cast<std::uint64_t>((1 * 4 + 2) * 5 + 3));
  const std::uint64_t i = view.bitIndex(1, 1, 1);
  EXPECT_TRUE(view.bits()[i >> 3] & (0x80 >> (i & 7)));
}

TEST_F(BoxProxyTest, IterationGoesXFirstThenYThenZ) {
  const BoxProxy view = mask->getConstBox({0, 0, 0}, {2, 3, 2});
  std::vector<McVec3i> positions;
  for (auto at = view.begin(); at != view.end(); ++at) positions.push_back(at.position());
  ASSERT_EQ(positions.size(), 12U);
  EXPECT_EQ(positions[1], McVec3i(1, 0, 0));
  EXPECT_EQ(positions[2], McVec3i(0, 1, 0));
  EXPECT_EQ(positions[6], McVec3i(0, 0, 1));
  EXPECT_EQ(view.end().position(), McVec3i(0, 0, 2));
}

TEST_F(BoxProxyTest, IteratorsOfSubViewsStayInside) {
  const BoxProxy view = mask->getConstBox();
  const BoxProxy part = view.getBox({2, 3, 1}, {3, 3, 2});
  EXPECT_EQ(std::accumulate(part.begin(), part.end(), 0), 3 * 3 * 2);
  const BoxProxy shifted = view.getBox({1, 3, 1}, {3, 3, 2});
  EXPECT_EQ(std::accumulate(shifted.begin(), shifted.end(), 0), 2 * 3 * 2);
}

TEST_F(BoxProxyTest, WriteOnlyViewOverwritesItsBoxOnly) {
  {
    BoxProxy view = mask->getBox({0, 0, 0}, {4, 4, 2}, AccessMode::WriteOnly);
    view = true;
  }
  EXPECT_EQ(count(*mask), 4U * 4 * 2 + 3 * 3 * 2 - 2 * 1 * 1);
}

TEST_F(BoxProxyTest, WriteOnlyViewWritesWhateverItHolds) {
  {
    BoxProxy view = mask->getBox({2, 3, 1}, {3, 3, 2}, AccessMode::WriteOnly);
    std::fill_n(view.bits(), (3 * 3 * 2 + 7) / 8, std::uint8_t{0});
  }
  EXPECT_EQ(count(*mask), 0U);
}

TEST_F(BoxProxyTest, ReadOnlyViewLeavesTheBoxesAndTellsNobody) {
  const McHandle<ListeningRois> rois = new ListeningRois;
  rois->addRoi(mask);
  rois->touches.clear();
  const McBox3i box = mask->getBoundingBox();
  { const BoxProxy view = mask->getConstBox(); }
  EXPECT_EQ(mask->cachedBoundingBox(), box);
  EXPECT_TRUE(rois->touches.empty());
}

TEST_F(BoxProxyTest, WritableViewForgetsTheBoxesAndTouchesContent) {
  const McHandle<ListeningRois> rois = new ListeningRois;
  rois->addRoi(mask);
  rois->touches.clear();
  mask->getBoundingBox();
  writable(*mask).reset();
  EXPECT_FALSE(mask->cachedBoundingBox());
  EXPECT_EQ(rois->touches, std::vector<unsigned int>{8});
}

TEST_F(BoxProxyTest, ConstMaskGivesReadOnlyViewsWhateverTheMode) {
  const Mask& constant = *mask;
  EXPECT_TRUE(constant.getBox(AccessMode::ReadWrite).isConst());
  EXPECT_TRUE(constant.getBox({0, 0, 0}, {1, 1, 1}, AccessMode::WriteOnly).isConst());
  EXPECT_TRUE(BoxProxy(&constant, {0, 0, 0}, {1, 1, 1}, AccessMode::ReadWrite).isConst());
}

TEST_F(BoxProxyTest, WholeViewOfAMaskIsAlwaysWritable) {
  BoxProxy view = mask->getBox(AccessMode::ReadOnly);
  EXPECT_FALSE(view.isConst());
  EXPECT_EQ(view.size(), mask->dimensions());
}

TEST_F(BoxProxyTest, ReadOnlyBoxOfAMaskIsReadOnly) {
  EXPECT_TRUE(mask->getBox({0, 0, 0}, {1, 1, 1}, AccessMode::ReadOnly).isConst());
}

TEST_F(BoxProxyTest, EditsShowWhenTheLastSharerEnds) {
  View outer = writable(*mask);
  View part = View(new BoxProxy(outer->getBox({12, 10, 6}, {1, 1, 1})));
  *part = true;
  EXPECT_FALSE(voxel(*mask, 12, 10, 6));
  outer.reset();
  EXPECT_FALSE(voxel(*mask, 12, 10, 6));
  part.reset();
  EXPECT_TRUE(voxel(*mask, 12, 10, 6));
}

TEST_F(BoxProxyTest, BoxFoundBeforeALateWriteBackIsForgotten) {
  View outer = writable(*mask);
  View part = View(new BoxProxy(std::as_const(*outer).getBox({0, 0, 0}, {1, 1, 1})));
  *outer = true;
  outer.reset();
  EXPECT_NE(mask->getBoundingBox(), McBox3i(0, 12, 0, 10, 0, 6));
  part.reset();
  EXPECT_EQ(mask->getBoundingBox(), McBox3i(0, 12, 0, 10, 0, 6));
}

TEST_F(BoxProxyTest, WriteOnlyViewLeftAloneWritesZeros) {
  { const BoxProxy view = mask->getBox({2, 3, 1}, {3, 3, 2}, AccessMode::WriteOnly); }
  EXPECT_EQ(count(*mask), 0U);
}

TEST_F(BoxProxyTest, ContentIsTouchedBeforeTheBufferIsWrittenBack) {
  class VoxelReader : public ListeningRois {
  public:
    void touch(unsigned int flags) override {
      if (watched && flags == 8) sawNewVoxel = voxel(*watched, 12, 10, 6);
      ListeningRois::touch(flags);
    }
    const Mask* watched = nullptr;
    bool sawNewVoxel = true;
  };
  const McHandle<VoxelReader> rois = new VoxelReader;
  rois->addRoi(mask);
  rois->watched = mask;
  View view = writable(*mask);
  *view = true;
  view.reset();
  EXPECT_FALSE(rois->sawNewVoxel);
  EXPECT_TRUE(voxel(*mask, 12, 10, 6));
  rois->watched = nullptr;
}

TEST_F(BoxProxyTest, FlushWritesBackAndKeepsTheViewUsable) {
  View view = writable(*mask);
  (*view)(12, 10, 6) = true;
  view->flush();
  EXPECT_TRUE(voxel(*mask, 12, 10, 6));
  (*view)(0, 0, 0) = true;
  view.reset();
  EXPECT_TRUE(voxel(*mask, 0, 0, 0));
}

TEST_F(BoxProxyTest, OverlappingViewsOverwriteEachOtherInTheOrderInWhichTheyEnd) {
  View first = writable(*mask);
  View second = writable(*mask);
  *first = true;
  *second = false;
  second.reset();
  EXPECT_EQ(count(*mask), 0U);
  first.reset();
  EXPECT_EQ(count(*mask), 13U * 11 * 7);
}

TEST_F(BoxProxyTest, SubtractionIsNotSymmetric) {
  const auto other = makeMask({13, 11, 7}, McBox3i(3, 6, 3, 5, 1, 2));
  const auto a = new Mask("a", *mask);
  const McHandle<Mask> left = a;
  const McHandle<Mask> right = new Mask("b", *other);
  *writable(*left) -= other->getConstBox();
  *writable(*right) -= mask->getConstBox();
  EXPECT_EQ(left->getBoundingBox(), McBox3i(2, 2, 3, 5, 1, 2));
  EXPECT_EQ(right->getBoundingBox(), McBox3i(5, 6, 3, 5, 1, 2));
}

TEST_F(BoxProxyTest, OperatorsFollowTheirTables) {
  const auto a = makeMask({64, 2, 1});
  const auto b = makeMask({64, 2, 1});
  setBits(*a, [] {
    Bits bits(128);
    bits[2] = bits[3] = true;
    return bits;
  }());
  setBits(*b, [] {
    Bits bits(128);
    bits[1] = bits[3] = true;
    return bits;
  }());
  const auto first4 = [](const Mask& m) {
    const Bits all = bitsOf(m);
    return Bits(all.begin(), all.begin() + 4);
  };
  const auto result = [&](auto operation) {
    const McHandle<Mask> copy = new Mask("copy", *a);
    operation(*writable(*copy), b->getConstBox());
    return first4(*copy);
  };
  EXPECT_EQ(result([](BoxProxy& x, const BoxProxy& y) { x -= y; }), (Bits{false, false, true, false}));
  EXPECT_EQ(result([](BoxProxy& x, const BoxProxy& y) { x ^= y; }), (Bits{false, true, true, false}));
  EXPECT_EQ(result([](BoxProxy& x, const BoxProxy& y) { x |= y; }), (Bits{false, true, true, true}));
  EXPECT_EQ(result([](BoxProxy& x, const BoxProxy& y) { x &= y; }), (Bits{false, false, false, true}));
  EXPECT_EQ(result([](BoxProxy& x, const BoxProxy&) { x.negate(); }), (Bits{true, true, false, false}));
}

TEST_F(BoxProxyTest, ViewWithoutVoxelsDoesNothing) {
  struct MustNotRun {
    bool operator()(bool) const {
      ADD_FAILURE() << "a chunk ran";
      return true;
    }
  };
  for (const McVec3i size : {McVec3i(0, 3, 3), McVec3i(3, 0, 3), McVec3i(3, 3, 0)}) {
    BoxProxy view = mask->getBox({1, 1, 1}, size, AccessMode::ReadWrite);
    view.transform<MustNotRun>();
    view = true;
    view.negate();
    EXPECT_EQ(view.begin(), view.end());
    EXPECT_TRUE(view.apply<BBoxCompute>().box().isEmpty());
  }
  EXPECT_EQ(count(*mask), 18U);
}

TEST_F(BoxProxyTest, ChunksOfAPassTouchTheMask) {
  const McHandle<ListeningRois> rois = new ListeningRois;
  rois->addRoi(mask);
  rois->touches.clear();
  View view = View(new BoxProxy(mask->getBox({0, 0, 0}, {1, 1, 1}, AccessMode::ReadWrite)));
  view->negate();
  EXPECT_EQ(rois->touches, std::vector<unsigned int>{8});
  view.reset();
  EXPECT_EQ(rois->touches, (std::vector<unsigned int>{8, 8}));
}

TEST_F(BoxProxyTest, BoxOfSetVoxelsCountsFromTheView) {
  EXPECT_EQ(mask->getConstBox().apply<BBoxCompute>().box(), McBox3i(2, 4, 3, 5, 1, 2));
  EXPECT_EQ(mask->getConstBox({1, 4, 2}, {5, 5, 5}).apply<BBoxCompute>().box(), McBox3i(1, 3, 0, 1, 0, 0));
}

TEST_F(BoxProxyTest, BoxOfSetVoxelsVoxelByVoxel) {
  BBoxCompute compute(McBox3i(10, 12, 20, 22, 30, 32));
  const bool voxels[8] = {false, false, false, true, true, false, false, false};
  for (const bool value : voxels) compute(value);
  EXPECT_EQ(compute.box(), McBox3i(10, 11, 20, 21, 30, 31));
}

TEST_F(BoxProxyTest, BoxOutsideTheMaskIsRefused) {
  EXPECT_THROW(mask->getConstBox({10, 0, 0}, {4, 1, 1}), McException);
  EXPECT_THROW(mask->getBox({-1, 0, 0}, {4, 1, 1}, AccessMode::ReadWrite), McException);
  EXPECT_EQ(count(*mask), 18U);
}

TEST_F(BoxProxyTest, WriteBackThatFailsIsThrownByFlushAndReportedAtTheEnd) {
  {
    BoxProxy view = mask->getBox({10, 0, 0}, {4, 1, 1}, AccessMode::WriteOnly);
    view = true;
    EXPECT_THROW(view.flush(), McException);
  }
  ASSERT_EQ(console.errors.size(), 1U);
  EXPECT_THAT(console.errors[0].toStdString(), ::testing::StartsWith("Edits of a mask were lost: "));
  EXPECT_EQ(count(*mask), 18U);
}

TEST_F(BoxProxyTest, OpenMpSettingIsRestoredAfterTheFetch) {
  const auto get = reinterpret_cast<int (*)()>(dlsym(RTLD_DEFAULT, "omp_get_dynamic"));
  const auto set = reinterpret_cast<void (*)(int)>(dlsym(RTLD_DEFAULT, "omp_set_dynamic"));
  ASSERT_TRUE(get && set);
  const int before = get();
  for (const int setting : {0, 1}) {
    set(setting);
    mask->getConstBox();
    EXPECT_THROW(mask->getConstBox({10, 0, 0}, {4, 1, 1}), McException);
    EXPECT_EQ(get(), setting);
  }
  set(before);
}
