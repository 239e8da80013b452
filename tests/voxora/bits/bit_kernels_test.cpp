#include <algorithm>
#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

#include "quarn/voxora/bits/BitKernels.h"
#include "tests/voxora/RandomSource.h"
#include "tests/voxora/bits/EachInstructionSet.h"
#include "tests/voxora/bits/GuardedBytes.h"

namespace {

using hxvoxora::TruthTable;

using Bytes = std::vector<std::uint8_t>;

class BitKernels : public EachInstructionSet {};
WITH_EACH_INSTRUCTION_SET(BitKernels);

bool bitAt(const Bytes& bytes, std::uint64_t i) {
  return (bytes[i >> 3] & (0x80 >> (i & 7))) != 0;
}

void setBit(Bytes& bytes, std::uint64_t i, bool value) {
  const auto mask = static_cast<std::uint8_t>(0x80 >> (i & 7));
  bytes[i >> 3] = static_cast<std::uint8_t>(value ? bytes[i >> 3] | mask : bytes[i >> 3] & ~mask);
}

Bytes randomBytes(RandomSource& random, std::size_t size) {
  Bytes bytes(size);
  std::uint64_t word = 0;
  for (std::size_t i = 0; i < size; ++i, word >>= 8) {
    if (i % 8 == 0) word = random.word();
    bytes[i] = static_cast<std::uint8_t>(word);
  }
  return bytes;
}

/// Lengths that reach every path: less than a byte, bytes, words, and one to three vectors of each kind with and
/// without a rest.
constexpr std::array<std::uint64_t, 22> lengths = {0,   1,   5,   7,   8,   9,   31,  56,  63,  64,  65,
                                                   127, 128, 200, 511, 513, 575, 576, 583, 640, 767, 1000};

/// An array of exactly the bytes that a stretch touches.
std::size_t bytesFor(std::uint64_t firstBit, std::uint64_t count) {
  return static_cast<std::size_t>((firstBit + count + 7) / 8);
}

/// Two arrays that may not be left, each at an end of its memory. They change ends with every use.
class Arrays {
public:
  /// What `edit(dst, src)` makes of an array.
  template <typename Edit>
  Bytes edited(const Bytes& before, const Bytes& source, Edit edit) {
    const GuardedBytes::End end = nextEnd();
    std::uint8_t* const dst = dst_.place(before, end);
    edit(dst, src_.place(source, end));
    EXPECT_TRUE(dst_.isSurroundingIntact());
    EXPECT_EQ(src_.content(), source);
    return dst_.content();
  }

  template <typename Edit>
  Bytes edited(const Bytes& before, Edit edit) {
    std::uint8_t* const dst = dst_.place(before, nextEnd());
    edit(dst);
    EXPECT_TRUE(dst_.isSurroundingIntact());
    return dst_.content();
  }

  const std::uint8_t* placed(const Bytes& source) { return src_.place(source, nextEnd()); }

private:
  GuardedBytes::End nextEnd() {
    back_ = !back_;
    return back_ ? GuardedBytes::End::Back : GuardedBytes::End::Front;
  }

  GuardedBytes dst_, src_;
  bool back_ = false;
};

/// Calls visit(dstBit, srcBit) for all offsets inside a word.
template <typename Visit>
void forAllOffsets(Visit visit) {
  for (std::uint64_t dstBit = 0; dstBit < 64; ++dstBit)
    for (std::uint64_t srcBit = 0; srcBit < 64; ++srcBit) visit(dstBit, srcBit);
}

TEST_P(BitKernels, CopyEqualsBitLoopAtEveryOffset) {
  RandomSource random;
  Arrays arrays;
  forAllOffsets([&](std::uint64_t dstBit, std::uint64_t srcBit) {
    for (const std::uint64_t count : lengths) {
      const Bytes src = randomBytes(random, bytesFor(srcBit, count)),
                  before = randomBytes(random, bytesFor(dstBit, count));
      Bytes expected = before;
      for (std::uint64_t i = 0; i < count; ++i) setBit(expected, dstBit + i, bitAt(src, srcBit + i));
      const Bytes copied = arrays.edited(before, src, [&](std::uint8_t* to, const std::uint8_t* from) {
        hxvoxora::copyBits(to, dstBit, from, srcBit, count);
      });
      ASSERT_EQ(copied, expected) << dstBit << " " << srcBit << " " << count;
    }
  });
}

/// combineBits() and combineBitsShared() against a bit loop.
void expectCombined(Arrays& arrays, RandomSource& random, TruthTable f, std::uint64_t dstBit, std::uint64_t srcBit,
                    std::uint64_t count) {
  const Bytes src = randomBytes(random, bytesFor(srcBit, count)), before = randomBytes(random, bytesFor(dstBit, count));
  Bytes expected = before;
  for (std::uint64_t i = 0; i < count; ++i)
    setBit(expected, dstBit + i, apply(f, bitAt(before, dstBit + i), bitAt(src, srcBit + i)));
  const auto message = [&] {
    return "f " + std::to_string(static_cast<unsigned>(f)) + ", " + std::to_string(count) + " bits from " +
           std::to_string(srcBit) + " to " + std::to_string(dstBit);
  };
  const Bytes combined = arrays.edited(before, src, [&](std::uint8_t* to, const std::uint8_t* from) {
    hxvoxora::combineBits(to, dstBit, from, srcBit, count, f);
  });
  ASSERT_EQ(combined, expected) << message();
  const Bytes shared = arrays.edited(before, src, [&](std::uint8_t* to, const std::uint8_t* from) {
    hxvoxora::combineBitsShared(to, dstBit, from, srcBit, count, f);
  });
  ASSERT_EQ(shared, expected) << message();
}

TEST_P(BitKernels, CombineEqualsBitLoopForAllFunctionsAtEveryOffset) {
  RandomSource random;
  Arrays arrays;
  forAllOffsets([&](std::uint64_t dstBit, std::uint64_t srcBit) {
    for (unsigned table = 0; table < 16; ++table) {
      const std::uint64_t count = lengths[random.between<std::size_t>(0, lengths.size() - 1)];
      expectCombined(arrays, random, static_cast<TruthTable>(table), dstBit, srcBit, count);
    }
  });
}

TEST_P(BitKernels, CombineEqualsBitLoopForAllFunctionsAtEveryLength) {
  RandomSource random;
  Arrays arrays;
  for (std::uint64_t count = 0; count <= 1300; ++count) {
    const auto f = static_cast<TruthTable>(count % 16);
    expectCombined(arrays, random, f, random.between(0, 63), random.between(0, 63), count);
  }
}

TEST_P(BitKernels, CombiningAStretchWithItself) {
  RandomSource random;
  for (std::uint64_t bit = 0; bit < 64; ++bit) {
    for (const std::uint64_t count : {200, 1000}) {
      const Bytes before = randomBytes(random, 150);
      Bytes dst = before;
      hxvoxora::combineBits(dst.data(), bit, dst.data(), bit, count, TruthTable::CopyB);
      ASSERT_EQ(dst, before);
      hxvoxora::combineBits(dst.data(), bit, dst.data(), bit, count, TruthTable::Xor);
      for (std::uint64_t i = 0; i < 8 * dst.size(); ++i)
        ASSERT_EQ(bitAt(dst, i), (i < bit || i >= bit + count) && bitAt(before, i));
    }
  }
}

TEST_P(BitKernels, FillAndInvertEqualBitLoopAtEveryOffset) {
  RandomSource random;
  Arrays arrays;
  const auto check = [&](std::uint64_t bit, std::uint64_t count) {
    const Bytes before = randomBytes(random, bytesFor(bit, count));
    Bytes ones = before, zeros = before, inverted = before;
    for (std::uint64_t i = bit; i < bit + count; ++i) {
      setBit(ones, i, true);
      setBit(zeros, i, false);
      setBit(inverted, i, !bitAt(before, i));
    }
    using namespace hxvoxora;
    ASSERT_EQ(arrays.edited(before, [=](std::uint8_t* p) { fillBits(p, bit, count, true); }), ones);
    ASSERT_EQ(arrays.edited(before, [=](std::uint8_t* p) { fillBits(p, bit, count, false); }), zeros);
    ASSERT_EQ(arrays.edited(before, [=](std::uint8_t* p) { fillBitsShared(p, bit, count, true); }), ones);
    ASSERT_EQ(arrays.edited(before, [=](std::uint8_t* p) { fillBitsShared(p, bit, count, false); }), zeros);
    ASSERT_EQ(arrays.edited(before, [=](std::uint8_t* p) { invertBits(p, bit, count); }), inverted);
    ASSERT_EQ(arrays.edited(before, [=](std::uint8_t* p) { invertBitsShared(p, bit, count); }), inverted);
  };
  for (std::uint64_t bit = 0; bit < 64; ++bit) {
    for (std::uint64_t count = 0; count <= 140; ++count) check(bit, count);
    for (const std::uint64_t count : lengths) check(bit, count);
  }
}

struct Searches {
  std::uint64_t count = 0, firstSet, firstClear, lastSet;
};

Searches searchByLoop(const Bytes& bytes, std::uint64_t bit, std::uint64_t count) {
  Searches found{0, count, count, count};
  for (std::uint64_t i = 0; i < count; ++i) {
    if (bitAt(bytes, bit + i)) {
      ++found.count;
      if (found.firstSet == count) found.firstSet = i;
      found.lastSet = i;
    } else if (found.firstClear == count) {
      found.firstClear = i;
    }
  }
  return found;
}

void expectSearches(Arrays& arrays, const Bytes& bytes, std::uint64_t bit, std::uint64_t count) {
  const Searches expected = searchByLoop(bytes, bit, count);
  const std::uint8_t* const bits = arrays.placed(bytes);
  ASSERT_EQ(hxvoxora::countBits(bits, bit, count), expected.count) << bit << " " << count;
  ASSERT_EQ(hxvoxora::findFirstSet(bits, bit, count), expected.firstSet) << bit << " " << count;
  ASSERT_EQ(hxvoxora::findFirstClear(bits, bit, count), expected.firstClear) << bit << " " << count;
  ASSERT_EQ(hxvoxora::findLastSet(bits, bit, count), expected.lastSet) << bit << " " << count;
}

TEST_P(BitKernels, SearchesEqualBitLoopAtEveryOffset) {
  RandomSource random;
  Arrays arrays;
  for (std::uint64_t bit = 0; bit < 64; ++bit) {
    for (const std::uint64_t count : lengths) {
      // Twice, for both ends of the memory.
      for (int round = 0; round < 2; ++round) {
        expectSearches(arrays, randomBytes(random, bytesFor(bit, count)), bit, count);
        expectSearches(arrays, Bytes(bytesFor(bit, count), 0x00), bit, count);
        expectSearches(arrays, Bytes(bytesFor(bit, count), 0xff), bit, count);
      }
    }
  }
}

TEST_P(BitKernels, SearchesFindALoneBitAnywhere) {
  Arrays arrays;
  constexpr std::uint64_t bits = 1203;
  for (std::uint64_t place = 0; place < bits; ++place) {
    Bytes lone(bytesFor(0, bits), 0x00), hole(bytesFor(0, bits), 0xff);
    setBit(lone, place, true);
    setBit(hole, place, false);
    for (const std::uint64_t bit : {0, 3, 8, 61}) {
      expectSearches(arrays, lone, bit, bits - bit);
      expectSearches(arrays, hole, bit, bits - bit);
    }
  }
}

TEST_P(BitKernels, SearchesSeeNothingBesideTheStretch) {
  Arrays arrays;
  for (std::uint64_t bit = 1; bit < 64; ++bit) {
    for (const std::uint64_t count : lengths) {
      if (count == 0) continue;
      Bytes frame(bytesFor(bit, count) + 1, 0x00), hollow(bytesFor(bit, count) + 1, 0xff);
      for (const std::uint64_t beside : {bit - 1, bit + count}) {
        setBit(frame, beside, true);
        setBit(hollow, beside, false);
      }
      expectSearches(arrays, frame, bit, count);
      expectSearches(arrays, hollow, bit, count);
    }
  }
}

TEST_P(BitKernels, BlocksEqualBitLoopAndAreSummarised) {
  RandomSource random;
  Arrays arrays;
  for (unsigned table = 0; table < 16; ++table) {
    const auto f = static_cast<TruthTable>(table);
    for (const std::size_t size : {0, 32, 64, 96, 160, 256, 4096}) {
      const Bytes a = randomBytes(random, size), b = randomBytes(random, size);
      Bytes expected(size);
      bool anySet = false, anyClear = false;
      for (std::uint64_t i = 0; i < 8 * size; ++i) {
        const bool value = apply(f, bitAt(a, i), bitAt(b, i));
        setBit(expected, i, value);
        (value ? anySet : anyClear) = true;
      }
      hxvoxora::WordSummary seen;
      const Bytes result = arrays.edited(a, b, [&](std::uint8_t* dst, const std::uint8_t* right) {
        seen = hxvoxora::combineBlocks(dst, dst, right, size, f);
      });
      EXPECT_EQ(result, expected);
      EXPECT_EQ(seen.anySet, anySet);
      EXPECT_EQ(seen.anyClear, anyClear);
    }
  }
}

TEST_P(BitKernels, BlockSummariesSeeOneOddBitAnywhere) {
  for (std::uint64_t place = 0; place < 8 * 96; ++place) {
    Bytes lone(96, 0x00), hole(96, 0xff), dst(96);
    setBit(lone, place, true);
    setBit(hole, place, false);
    for (const Bytes* bytes : {&lone, &hole}) {
      const auto seen = hxvoxora::combineBlocks(dst.data(), bytes->data(), bytes->data(), 96, TruthTable::And);
      ASSERT_EQ(dst, *bytes);
      ASSERT_TRUE(seen.anySet && seen.anyClear) << place;
    }
  }
  Bytes zeros(96, 0x00), ones(96, 0xff), dst(96);
  EXPECT_FALSE(hxvoxora::combineBlocks(dst.data(), zeros.data(), ones.data(), 96, TruthTable::And).anySet);
  EXPECT_FALSE(hxvoxora::combineBlocks(dst.data(), zeros.data(), ones.data(), 96, TruthTable::Or).anyClear);
}

TEST_P(BitKernels, SharedStretchesOfNeighbouringThreadsLoseNothing) {
  // Short stretches of few bytes: both threads write nearly every byte at about the same time.
  constexpr std::uint64_t stretch = 5, bits = 16 * stretch;
  RandomSource random;
  const Bytes src = randomBytes(random, bits / 8);
  Bytes expected = randomBytes(random, bits / 8);
  Bytes dst = expected;
  std::atomic<int> ready = 0;
  const auto work = [&](std::uint64_t first) {
    ++ready;
    while (ready < 2) {
    }
    for (int round = 0; round < 200001; ++round)
      for (std::uint64_t bit = first; bit < bits; bit += 2 * stretch)
        hxvoxora::combineBitsShared(dst.data(), bit, src.data(), bit, stretch, TruthTable::Xor);
  };
  std::thread other(work, stretch);
  work(0);
  other.join();
  for (std::uint64_t i = 0; i < bits; ++i) setBit(expected, i, bitAt(expected, i) != bitAt(src, i));
  EXPECT_EQ(dst, expected);
}

TEST_P(BitKernels, StretchesBehindFourGigabits) {
  // Only the last bytes are touched, so that untouched pages cost nothing.
  constexpr std::uint64_t far = (std::uint64_t{1} << 32) + 3;
  const std::unique_ptr<std::uint8_t[]> bytes(new std::uint8_t[far / 8 + 20]);
  bytes[far / 8] = bytes[far / 8 + 8] = 0;
  hxvoxora::fillBits(bytes.get(), far, 64, true);
  EXPECT_EQ(hxvoxora::countBits(bytes.get(), far, 64), 64u);
  EXPECT_EQ(hxvoxora::findFirstSet(bytes.get(), far - 3, 67), 3u);
}

TEST(TruthTable, NamesMeanWhatTheySay) {
  for (const bool a : {false, true}) {
    for (const bool b : {false, true}) {
      EXPECT_EQ(apply(TruthTable::AndNot, a, b), a > b);
      EXPECT_EQ(apply(TruthTable::Xor, a, b), a != b);
      EXPECT_EQ(apply(TruthTable::Or, a, b), a || b);
      EXPECT_EQ(apply(TruthTable::And, a, b), a && b);
      EXPECT_EQ(apply(TruthTable::NotA, a, b), !a);
      EXPECT_EQ(apply(TruthTable::NotB, a, b), !b);
      EXPECT_EQ(apply(TruthTable::CopyA, a, b), a);
      EXPECT_EQ(apply(TruthTable::CopyB, a, b), b);
      EXPECT_TRUE(apply(TruthTable::One, a, b));
      EXPECT_FALSE(apply(TruthTable::Zero, a, b));
    }
  }
}

}  // namespace
