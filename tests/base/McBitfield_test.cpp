#include "quarn/base/McBitfield.h"

#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

#include "quarn/base/McException.h"
#include "tests/base/RandomBits.h"

namespace {

std::uint64_t count(const McBitfield& bits) {
  std::uint64_t sum = 0;
  for (std::uint64_t i = 0; i < bits.size(); ++i) sum += bits.get(i) ? 1 : 0;
  return sum;
}

TEST(McBitfield, IsEmptyAtFirst) {
  EXPECT_EQ(McBitfield().size(), 0U);
}

TEST(McBitfield, NewBitsAreClear) {
  for (const std::uint64_t size : {1U, 63U, 64U, 65U, 1000U}) {
    const McBitfield bits(size);
    EXPECT_EQ(bits.size(), size);
    EXPECT_EQ(count(bits), 0U);
  }
}

TEST(McBitfield, ResizingClearsEveryBit) {
  McBitfield bits(100);
  bits.fill(0, 100, true);
  bits.resize(70);
  EXPECT_EQ(bits.size(), 70U);
  EXPECT_EQ(count(bits), 0U);
  bits.fill(0, 70, true);
  bits.resize(200);
  EXPECT_EQ(count(bits), 0U);
}

TEST(McBitfield, SetsAndClearsOneBit) {
  McBitfield bits(130);
  for (const std::uint64_t index : {0U, 63U, 64U, 127U, 128U, 129U}) {
    bits.set(index);
    EXPECT_TRUE(bits.get(index));
    EXPECT_EQ(count(bits), 1U) << index;
    bits.clear(index);
    EXPECT_FALSE(bits.get(index));
    EXPECT_EQ(count(bits), 0U) << index;
  }
}

TEST(McBitfield, FillsAnyStretchAsBitByBit) {
  auto random = seededRandom();
  McBitfield bits = randomBits(300, 0.5, random);
  McBitfield expected = bits;
  for (int round = 0; round < 2000; ++round) {
    const std::uint64_t first = random() % (bits.size() + 1);
    const std::uint64_t length = random() % (bits.size() - first + 1);
    const bool value = random() % 2 != 0;
    bits.fill(first, length, value);
    for (std::uint64_t i = first; i < first + length; ++i) value ? expected.set(i) : expected.clear(i);
    ASSERT_EQ(bits, expected) << first << ", " << length;
  }
}

TEST(McBitfield, CountsIn64Bits) {
  const std::uint64_t size = (std::uint64_t{1} << 32) + 3;
  McBitfield bits(size);
  bits.set(size - 1);
  EXPECT_TRUE(bits.get(size - 1));
  EXPECT_FALSE(bits.get(2)) << "the number of the bit was cut to 32 bits";
}

TEST(McBitfield, SizeBeyondMemoryIsRefusedAndChangesNothing) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizer ends the process when it is asked for so much";
#endif
  McBitfield bits(10);
  bits.set(3);
  const McBitfield before = bits;
  const std::uint64_t size = std::numeric_limits<std::uint64_t>::max();
  try {
    bits.resize(size);
    FAIL() << "nothing was refused";
  } catch (const McException& refusal) {
    EXPECT_NE(std::string(refusal.what()).find(std::to_string(size)), std::string::npos) << refusal.what();
  }
  EXPECT_EQ(bits, before);
}

}  // namespace
