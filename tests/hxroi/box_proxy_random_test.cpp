#include <functional>
#include <tbb/parallel_for.h>

#include "hxroi/details/BBoxCompute.h"
#include "quarn/base/hxstlhelpers.h"
#include "tests/hxroi/MaskTest.h"
#include "tests/support/stride.h"

/// Parallel passes against a loop over single voxels.

using hxroi::details::BBoxCompute;

namespace {

/// A functor without a form on words.
struct Implies {
  bool operator()(bool a, bool b) const { return !a || b; }
};

struct Flip {
  bool operator()(bool a) const { return !a; }
};

class BoxProxyRandomTest : public MaskTest {
protected:
  struct Case {
    McVec3i dimensions;
    McVec3i origin, otherOrigin, size;
  };

  int pick(int low, int high) { return std::uniform_int_distribution(low, high)(random); }

  Case randomCase() {
    Case c;
    c.dimensions = {pick(1, 70), pick(1, 12), pick(1, 9)};
    return placed(c);
  }

  Case placed(Case c) {
    for (int axis = 0; axis < 3; ++axis) {
      const int n = c.dimensions[axis];
      c.size[axis] = pick(1, n);
      c.origin[axis] = pick(0, n - c.size[axis]);
      c.otherOrigin[axis] = pick(0, n - c.size[axis]);
    }
    return c;
  }

  static std::size_t index(const McVec3i& n, const McVec3i& at) {
    return (static_cast<std::size_t>(at.z) * static_cast<std::size_t>(n.y) + static_cast<std::size_t>(at.y)) *
               static_cast<std::size_t>(n.x) +
           static_cast<std::size_t>(at.x);
  }

  template <class F>
  static Bits expected(const Case& c, Bits a, const Bits& b, F f) {
    for (int z = 0; z < c.size.z; ++z) {
      for (int y = 0; y < c.size.y; ++y) {
        for (int x = 0; x < c.size.x; ++x) {
          const McVec3i at(x, y, z);
          const std::size_t i = index(c.dimensions, at + c.origin);
          a[i] = f(a[i], b[index(c.dimensions, at + c.otherOrigin)]);
        }
      }
    }
    return a;
  }

  /// Passes on sub-views of whole views, so that rows of the chunks start at any bit.
  template <class F>
  void check(const Case& c) {
    const Bits a = randomBits(c.dimensions, random);
    const Bits b = randomBits(c.dimensions, random);
    setBits(*maskA, a);
    setBits(*maskB, b);
    {
      BoxProxy whole = maskA->getBox(AccessMode::ReadWrite);
      BoxProxy part = whole.getBox(c.origin, c.size);
      const BoxProxy otherWhole = maskB->getConstBox();
      const BoxProxy otherPart = otherWhole.getBox(c.otherOrigin, c.size);
      if constexpr (std::is_invocable_v<F, bool, bool>) {
        part.transform<F>(otherPart);
      } else {
        part.transform<F>();
      }
    }
    const auto f = [](bool x, [[maybe_unused]] bool y) {
      if constexpr (std::is_invocable_v<F, bool, bool>)
        return F()(x, y);
      else
        return F()(x);
    };
    ASSERT_EQ(bitsOf(*maskA), expected(c, a, b, f)) << c.dimensions << c.origin << c.otherOrigin << c.size;
  }

  void checkOne(const Case& c, int which) {
    switch (which % 7) {
      case 0:
        return check<std::greater<bool>>(c);
      case 1:
        return check<std::not_equal_to<bool>>(c);
      case 2:
        return check<std::logical_or<bool>>(c);
      case 3:
        return check<std::logical_and<bool>>(c);
      case 4:
        return check<hxstlhelpers::Negate<bool>>(c);
      case 5:
        return check<Implies>(c);
      default:
        return check<Flip>(c);
    }
  }

  void useGrid(const McVec3i& dimensions) {
    maskA = makeMask(dimensions, false, "a");
    maskB = makeMask(dimensions, false, "b");
  }

  std::mt19937 random = seededRandom();
  McHandle<Mask> maskA, maskB;
};

}  // namespace

TEST_F(BoxProxyRandomTest, PassesOnRandomBoxesEqualSequentialOnes) {
  for (int round = 0; round < testRounds(10000); ++round) {
    const Case c = randomCase();
    useGrid(c.dimensions);
    checkOne(c, round);
    if (HasFatalFailure()) return;
  }
}

TEST_F(BoxProxyRandomTest, PassesOnOddGridsEqualSequentialOnes) {
  for (const McVec3i& dimensions : {McVec3i(13, 11, 7), McVec3i(257, 65, 33)}) {
    useGrid(dimensions);
    for (int round = 0; round < 28; ++round) {
      Case c;
      c.dimensions = dimensions;
      c = round < 7 ? Case{dimensions, {0, 0, 0}, {0, 0, 0}, dimensions} : placed(c);
      checkOne(c, round);
      if (HasFatalFailure()) return;
    }
  }
}

TEST_F(BoxProxyRandomTest, NeighbouringSubViewsMayBeWrittenAtOnce) {
  const McVec3i n(257, 5, 3);
  useGrid(n);
  for (int round = 0; round < 50; ++round) {
    const Bits a = randomBits(n, random);
    const Bits b = randomBits(n, random);
    setBits(*maskA, a);
    setBits(*maskB, b);
    {
      BoxProxy whole = maskA->getBox(AccessMode::ReadWrite);
      const BoxProxy other = maskB->getConstBox();
      tbb::parallel_for(0, n.x, [&](int x) {
        BoxProxy column = whole.getBox({x, 0, 0}, {1, n.y, n.z});
        column ^= other.getBox({x, 0, 0}, {1, n.y, n.z});
      });
    }
    const Case c{n, {0, 0, 0}, {0, 0, 0}, n};
    ASSERT_EQ(bitsOf(*maskA), expected(c, a, b, std::not_equal_to<bool>()));
  }
}

TEST_F(BoxProxyRandomTest, BoxOfSetVoxelsEqualsTheOneOfALoop) {
  for (int round = 0; round < 500; ++round) {
    const Case c = randomCase();
    useGrid(c.dimensions);
    const Bits bits = randomBits(c.dimensions, random, 0.01);
    setBits(*maskA, bits);
    const McBox3i found = maskA->getConstBox().apply<BBoxCompute>().box();
    ASSERT_EQ(found, boundsOf(bits, c.dimensions)) << c.dimensions;
  }
}
