#include <functional>

#include "tests/hxroi/MaskTest.h"

/// Operators between views on one and the same buffer.

namespace {

struct Nand {
  bool operator()(bool a, bool b) const { return !(a && b); }
};

class BoxProxyItself : public MaskTest {
protected:
  BoxProxyItself() { setBits(*mask, randomBits(kGrid, random)); }

  /// What `change` leaves of a box inside the mask.
  template <class Change>
  Bits after(Change change) {
    BoxProxy view = mask->getBox({0, 0, 0}, kGrid, AccessMode::ReadWrite);
    BoxProxy part = view.getBox({1, 2, 1}, kSize);
    change(part);
    return Bits(view.begin(), view.end());
  }

  /// The bits of the mask with those of the box replaced by the value of a function of the old ones.
  Bits expected(const std::function<bool(bool)>& f) const {
    Bits bits = bitsOf(*mask);
    for (int z = 1; z < 1 + kSize.z; ++z) {
      for (int y = 2; y < 2 + kSize.y; ++y) {
        for (int x = 1; x < 1 + kSize.x; ++x) {
          auto&& bit = bits[static_cast<std::size_t>((z * kGrid.y + y) * kGrid.x + x)];
          bit = f(bit);
        }
      }
    }
    return bits;
  }

  static constexpr McVec3i kGrid{131, 37, 23};
  static constexpr McVec3i kSize{117, 31, 20};
  std::mt19937 random = seededRandom();
  const McHandle<Mask> mask = makeMask(kGrid);
};

}  // namespace

TEST_F(BoxProxyItself, OperatorsGiveTheFunctionOfOneOperand) {
  const auto zero = expected([](bool) { return false; });
  const auto same = bitsOf(*mask);
  // The mask is restored before each, as every view writes back what it holds.
  const auto check = [&](const Bits& wanted, auto change) {
    setBits(*mask, same);
    EXPECT_EQ(after(change), wanted);
  };
  check(zero, [](BoxProxy& a) { a -= BoxProxy(a); });
  check(zero, [](BoxProxy& a) { a ^= BoxProxy(a); });
  check(same, [](BoxProxy& a) { a |= BoxProxy(a); });
  check(same, [](BoxProxy& a) { a &= BoxProxy(a); });
}

TEST_F(BoxProxyItself, FunctorsOfOnesOwnDoToo) {
  const auto inverted = expected([](bool bit) { return !bit; });
  EXPECT_EQ(after([](BoxProxy& a) { a.transform<Nand>(BoxProxy(a)); }), inverted);
}

TEST_F(BoxProxyItself, ShiftedViewsGiveTheResultOfASequentialPass) {
  for (const McVec3i shift : {McVec3i(1, 0, 0), McVec3i(3, 1, 0), McVec3i(0, 0, 1), McVec3i(-1, 0, 0)}) {
    const McVec3i size{100, 30, 20};
    const McVec3i a{2, 2, 1};
    const McVec3i b = a + shift;
    Bits bits = bitsOf(*mask);
    const auto at = [](const McVec3i& p) { return static_cast<std::size_t>((p.z * kGrid.y + p.y) * kGrid.x + p.x); };
    for (int z = 0; z < size.z; ++z) {
      for (int y = 0; y < size.y; ++y) {
        for (int x = 0; x < size.x; ++x) {
          const McVec3i p{x, y, z};
          bits[at(a + p)] = bits[at(a + p)] != bits[at(b + p)];
        }
      }
    }
    {
      BoxProxy view = mask->getBox({0, 0, 0}, kGrid, AccessMode::ReadWrite);
      BoxProxy target = view.getBox(a, size);
      target ^= view.getBox(b, size);
    }
    EXPECT_EQ(bitsOf(*mask), bits);
  }
}
