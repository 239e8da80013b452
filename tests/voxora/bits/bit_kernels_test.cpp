#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

#include "quarn/voxora/bits/BitKernels.h"
#include "tests/voxora/RandomSource.h"

namespace {

using hxvoxora::TruthTable;

using Bytes = std::vector<std::uint8_t>;

bool bitAt(const Bytes& bytes, std::uint64_t i) {
  return (bytes[i >> 3] & (0x80 >> (i & 7))) != 0;
}

void setBit(Bytes& bytes, std::uint64_t i, bool value) {
  const auto mask = static_cast<std::uint8_t>(0x80 >> (i & 7));
  bytes[i >> 3] = static_cast<std::uint8_t>(value ? bytes[i >> 3] | mask : bytes[i >> 3] & ~mask);
}

Bytes randomBytes(RandomSource& random, std::size_t size) {
  Bytes bytes(size);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random.word());
  return bytes;
}

/// Lengths that reach every path: less than a byte, bytes, a word, a word and a bit, two words.
constexpr std::array<std::uint64_t, 14> lengths = {0, 1, 5, 8, 9, 31, 56, 63, 64, 65, 72, 127, 128, 200};

/// An array of exactly the bytes that a stretch touches, so that sanitizers see any access beside it.
std::size_t bytesFor(std::uint64_t firstBit, std::uint64_t count) {
  return static_cast<std::size_t>((firstBit + count + 7) / 8);
}

TEST(BitKernels, CopyEqualsBitLoopAtEveryOffset) {
  RandomSource random;
  for (std::uint64_t dstBit = 0; dstBit < 64; ++dstBit) {
    for (std::uint64_t srcBit = 0; srcBit < 64; ++srcBit) {
      for (const std::uint64_t count : lengths) {
        const Bytes src = randomBytes(random, bytesFor(srcBit, count));
        const Bytes before = randomBytes(random, bytesFor(dstBit, count));
        Bytes expected = before, dst = before;
        for (std::uint64_t i = 0; i < count; ++i) setBit(expected, dstBit + i, bitAt(src, srcBit + i));
        hxvoxora::copyBits(dst.data(), dstBit, src.data(), srcBit, count);
        ASSERT_EQ(dst, expected) << dstBit << " " << srcBit << " " << count;
      }
    }
  }
}

TEST(BitKernels, CombineEqualsBitLoopForAllFunctionsAtEveryOffset) {
  RandomSource random;
  for (std::uint64_t dstBit = 0; dstBit < 64; ++dstBit) {
    for (std::uint64_t srcBit = 0; srcBit < 64; ++srcBit) {
      for (unsigned table = 0; table < 16; ++table) {
        const auto f = static_cast<TruthTable>(table);
        const std::uint64_t count = lengths[random.between<std::size_t>(0, lengths.size() - 1)];
        const Bytes src = randomBytes(random, bytesFor(srcBit, count));
        const Bytes before = randomBytes(random, bytesFor(dstBit, count));
        Bytes expected = before, dst = before, shared = before;
        for (std::uint64_t i = 0; i < count; ++i)
          setBit(expected, dstBit + i, apply(f, bitAt(before, dstBit + i), bitAt(src, srcBit + i)));
        hxvoxora::combineBits(dst.data(), dstBit, src.data(), srcBit, count, f);
        hxvoxora::combineBitsShared(shared.data(), dstBit, src.data(), srcBit, count, f);
        ASSERT_EQ(dst, expected) << table << " " << dstBit << " " << srcBit << " " << count;
        ASSERT_EQ(shared, expected) << table << " " << dstBit << " " << srcBit << " " << count;
      }
    }
  }
}

TEST(BitKernels, CombiningAStretchWithItself) {
  RandomSource random;
  for (std::uint64_t bit = 0; bit < 64; ++bit) {
    const Bytes before = randomBytes(random, 40);
    Bytes dst = before;
    hxvoxora::combineBits(dst.data(), bit, dst.data(), bit, 200, TruthTable::Xor);
    for (std::uint64_t i = 0; i < 320; ++i) ASSERT_EQ(bitAt(dst, i), (i < bit || i >= bit + 200) && bitAt(before, i));
  }
}

TEST(BitKernels, FillAndInvertEqualBitLoopAtEveryOffset) {
  RandomSource random;
  for (std::uint64_t bit = 0; bit < 64; ++bit) {
    for (std::uint64_t count = 0; count <= 200; ++count) {
      const Bytes before = randomBytes(random, bytesFor(bit, count));
      Bytes ones = before, zeros = before, inverted = before;
      for (std::uint64_t i = bit; i < bit + count; ++i) {
        setBit(ones, i, true);
        setBit(zeros, i, false);
        setBit(inverted, i, !bitAt(before, i));
      }
      Bytes result = before;
      hxvoxora::fillBits(result.data(), bit, count, true);
      ASSERT_EQ(result, ones);
      hxvoxora::fillBitsShared(result.data(), bit, count, false);
      ASSERT_EQ(result, zeros);
      result = before;
      hxvoxora::invertBits(result.data(), bit, count);
      ASSERT_EQ(result, inverted);
      hxvoxora::invertBitsShared(result.data(), bit, count);
      ASSERT_EQ(result, before);
      hxvoxora::fillBitsShared(result.data(), bit, count, true);
      ASSERT_EQ(result, ones);
      hxvoxora::fillBits(result.data(), bit, count, false);
      ASSERT_EQ(result, zeros);
    }
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

void expectSearches(const Bytes& bytes, std::uint64_t bit, std::uint64_t count) {
  const Searches expected = searchByLoop(bytes, bit, count);
  ASSERT_EQ(hxvoxora::countBits(bytes.data(), bit, count), expected.count);
  ASSERT_EQ(hxvoxora::findFirstSet(bytes.data(), bit, count), expected.firstSet);
  ASSERT_EQ(hxvoxora::findFirstClear(bytes.data(), bit, count), expected.firstClear);
  ASSERT_EQ(hxvoxora::findLastSet(bytes.data(), bit, count), expected.lastSet);
}

TEST(BitKernels, SearchesEqualBitLoopAtEveryOffset) {
  RandomSource random;
  for (std::uint64_t bit = 0; bit < 64; ++bit) {
    for (const std::uint64_t count : lengths) {
      expectSearches(randomBytes(random, bytesFor(bit, count)), bit, count);
      expectSearches(Bytes(bytesFor(bit, count), 0x00), bit, count);
      expectSearches(Bytes(bytesFor(bit, count), 0xff), bit, count);
    }
  }
}

TEST(BitKernels, SearchesFindALoneBitAnywhere) {
  for (std::uint64_t place = 0; place < 200; ++place) {
    Bytes lone(26, 0x00), hole(26, 0xff);
    setBit(lone, place, true);
    setBit(hole, place, false);
    for (const std::uint64_t bit : {0, 3, 8, 61}) {
      expectSearches(lone, bit, 203 - bit);
      expectSearches(hole, bit, 203 - bit);
    }
  }
}

TEST(BitKernels, BlocksEqualBitLoopAndAreSummarised) {
  RandomSource random;
  for (unsigned table = 0; table < 16; ++table) {
    const auto f = static_cast<TruthTable>(table);
    const Bytes a = randomBytes(random, 256), b = randomBytes(random, 256);
    Bytes expected(256);
    bool anySet = false, anyClear = false;
    for (std::uint64_t i = 0; i < 2048; ++i) {
      const bool value = apply(f, bitAt(a, i), bitAt(b, i));
      setBit(expected, i, value);
      (value ? anySet : anyClear) = true;
    }
    Bytes dst(256);
    const hxvoxora::WordSummary seen = hxvoxora::combineBlocks(dst.data(), a.data(), b.data(), 256, f);
    EXPECT_EQ(dst, expected);
    EXPECT_EQ(seen.anySet, anySet);
    EXPECT_EQ(seen.anyClear, anyClear);
  }
}

TEST(BitKernels, SharedStretchesOfNeighbouringThreadsLoseNothing) {
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

TEST(BitKernels, StretchesBehindFourGigabits) {
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
