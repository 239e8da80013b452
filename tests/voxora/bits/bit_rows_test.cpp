#include <gtest/gtest.h>
#include <vector>

#include "quarn/voxora/bits/BitRows.h"
#include "tests/voxora/RandomSource.h"
#include "tests/voxora/bits/EachInstructionSet.h"
#include "tests/voxora/bits/GuardedBytes.h"

namespace {

using hxvoxora::BitLayout;
using hxvoxora::TruthTable;

class BitRows : public EachInstructionSet {};
WITH_EACH_INSTRUCTION_SET(BitRows);

/// A box of bits with padding behind rows and slices, which nothing may change.
struct Field {
  SbBox3i32 box;
  BitLayout layout;
  std::vector<std::uint8_t> bytes;

  Field(RandomSource& random, const SbBox3i32& inside) : box(inside) {
    const bool packed = random.chance(0.4);
    const std::int64_t row = box.size(0) + (packed ? 0 : random.between(0, 9));
    layout = {box.getMin(), row, row * box.size(1) + (packed ? 0 : random.between(0, 9))};
    bytes.resize(static_cast<std::size_t>(layout.sliceStride * box.size(2) / 8 + 1));
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random.word());
  }

  bool at(int x, int y, int z) const {
    const std::uint64_t i = layout.bit(x, y, z);
    return (bytes[i >> 3] & (0x80 >> (i & 7))) != 0;
  }

  void set(int x, int y, int z, bool value) {
    const std::uint64_t i = layout.bit(x, y, z);
    const auto mask = static_cast<std::uint8_t>(0x80 >> (i & 7));
    bytes[i >> 3] = static_cast<std::uint8_t>(value ? bytes[i >> 3] | mask : bytes[i >> 3] & ~mask);
  }
};

SbBox3i32 randomBox(RandomSource& random) {
  const SbVec3i32 min(random.between(-50, 50), random.between(-50, 50), random.between(-50, 50));
  return SbBox3i32(min, {min[0] + random.between(0, 90), min[1] + random.between(0, 8), min[2] + random.between(0, 8)});
}

SbBox3i32 randomPart(RandomSource& random, const SbBox3i32& box) {
  SbVec3i32 min, max;
  for (int axis = 0; axis < 3; ++axis) {
    const bool whole = random.chance(0.4);
    min[axis] = whole ? box.getMin()[axis] : random.between(box.getMin()[axis], box.getMax()[axis]);
    max[axis] = whole ? box.getMax()[axis] : random.between(min[axis], box.getMax()[axis]);
  }
  return SbBox3i32(min, max);
}

template <typename Visit>
void forEachVoxel(const SbBox3i32& box, Visit visit) {
  for (int z = box.getMin()[2]; z <= box.getMax()[2]; ++z)
    for (int y = box.getMin()[1]; y <= box.getMax()[1]; ++y)
      for (int x = box.getMin()[0]; x <= box.getMax()[0]; ++x) visit(x, y, z);
}

TEST_P(BitRows, EditsEqualVoxelLoops) {
  RandomSource random;
  for (int round = 0; round < 2000; ++round) {
    const SbBox3i32 box = randomBox(random), part = randomPart(random, box);
    const Field before(random, box), src(random, box);
    const auto f = static_cast<TruthTable>(random.between(0, 15));
    Field copied = before, filled = before, inverted = before, combined = before;
    forEachVoxel(part, [&](int x, int y, int z) {
      copied.set(x, y, z, src.at(x, y, z));
      filled.set(x, y, z, true);
      inverted.set(x, y, z, !before.at(x, y, z));
      combined.set(x, y, z, apply(f, before.at(x, y, z), src.at(x, y, z)));
    });
    Field result = before;
    hxvoxora::copyRows(result.bytes.data(), result.layout, src.bytes.data(), src.layout, part);
    ASSERT_EQ(result.bytes, copied.bytes);
    result = before;
    hxvoxora::fillRows(result.bytes.data(), result.layout, part, true);
    ASSERT_EQ(result.bytes, filled.bytes);
    result = before;
    hxvoxora::invertRows(result.bytes.data(), result.layout, part);
    ASSERT_EQ(result.bytes, inverted.bytes);
    result = before;
    hxvoxora::combineRows(result.bytes.data(), result.layout, src.bytes.data(), src.layout, part, f);
    ASSERT_EQ(result.bytes, combined.bytes);
    result = before;
    hxvoxora::combineRowsShared(result.bytes.data(), result.layout, src.bytes.data(), src.layout, part, f);
    ASSERT_EQ(result.bytes, combined.bytes);
    result = before;
    hxvoxora::invertRowsShared(result.bytes.data(), result.layout, part);
    ASSERT_EQ(result.bytes, inverted.bytes);
  }
}

TEST_P(BitRows, RowsOfWholeWordsEqualVoxelLoops) {
  RandomSource random;
  for (int round = 0; round < 300; ++round) {
    // Fields whose rows begin on bytes, and a part of one or two words from a byte boundary on.
    const auto fieldOf = [&](const SbBox3i32& box) {
      Field field(random, box);
      const std::int64_t row = (box.size(0) + 7) / 8 * 8 + 8 * random.between(0, 2);
      field.layout = {box.getMin(), row, row * box.size(1) + 8 * random.between(0, 2)};
      field.bytes.resize(static_cast<std::size_t>(field.layout.sliceStride * box.size(2) / 8));
      for (std::uint8_t& byte : field.bytes) byte = static_cast<std::uint8_t>(random.word());
      return field;
    };
    const std::int32_t x = 8 * random.between(0, 3), words = random.between(1, 2);
    const SbBox3i32 box({0, 0, 0},
                        {x + 64 * words + random.between(-1, 20), random.between(0, 5), random.between(0, 5)});
    const SbBox3i32 part({x, 0, 0}, {x + 64 * words - 1, box.getMax()[1], box.getMax()[2]});
    const Field before = fieldOf(box), src = fieldOf(box);
    const auto f = static_cast<TruthTable>(round % 16);
    Field expected = before, result = before;
    forEachVoxel(part,
                 [&](int i, int j, int k) { expected.set(i, j, k, apply(f, before.at(i, j, k), src.at(i, j, k))); });
    hxvoxora::combineRows(result.bytes.data(), result.layout, src.bytes.data(), src.layout, part, f);
    ASSERT_EQ(result.bytes, expected.bytes) << "round " << round;
  }
}

/// A box whose rows are whole words, as those of a tile.
Field fieldOfWords(RandomSource& random, const SbBox3i32& box) {
  Field field(random, box);
  const std::int64_t row = (box.size(0) + 63) / 64 * 64 + 64 * random.between(0, 1);
  field.layout = {box.getMin(), row, row * box.size(1) + 64 * random.between(0, 1)};
  field.bytes.resize(static_cast<std::size_t>(field.layout.sliceStride * box.size(2) / 8));
  for (std::uint8_t& byte : field.bytes) byte = static_cast<std::uint8_t>(random.word());
  return field;
}

/// Copies a part of a source of which only the bytes up to the part's last voxel can be read.
void expectCopied(GuardedBytes& memory, const Field& before, const Field& src, const SbBox3i32& part) {
  Field expected = before, result = before;
  hxvoxora::WordSummary values;
  forEachVoxel(part, [&](int x, int y, int z) {
    expected.set(x, y, z, src.at(x, y, z));
    (src.at(x, y, z) ? values.anySet : values.anyClear) = true;
  });
  const SbVec3i32& last = part.getMax();
  const std::size_t end = src.layout.bit(last[0], last[1], last[2]) / 8 + 1;
  const std::vector<std::uint8_t> readable(src.bytes.begin(), src.bytes.begin() + static_cast<std::ptrdiff_t>(end));
  const auto seen = hxvoxora::copyRowsSummarised(result.bytes.data(), result.layout,
                                                 memory.place(readable, GuardedBytes::End::Back), src.layout, part);
  ASSERT_EQ(result.bytes, expected.bytes);
  ASSERT_EQ(seen.anySet, values.anySet);
  ASSERT_EQ(seen.anyClear, values.anyClear);
}

TEST_P(BitRows, CopiesWithSummaryEqualVoxelLoops) {
  RandomSource random;
  GuardedBytes memory;
  for (int round = 0; round < 6000; ++round) {
    const SbBox3i32 box = randomBox(random), part = randomPart(random, box);
    const Field before = random.chance(0.8) ? fieldOfWords(random, box) : Field(random, box);
    Field src(random, box);
    // Noise, one value, and one value but for a voxel.
    const int kind = random.between(0, 3);
    if (kind > 0) hxvoxora::fillRows(src.bytes.data(), src.layout, part, kind == 1);
    const SbBox3i32 odd = randomPart(random, part);
    if (kind == 3) src.set(odd.getMin()[0], odd.getMin()[1], odd.getMin()[2], true);
    ASSERT_NO_FATAL_FAILURE(expectCopied(memory, before, src, part)) << "round " << round;
  }
}

TEST_P(BitRows, CopiesWithSummaryOfWholeTiles) {
  RandomSource random;
  GuardedBytes memory;
  for (const int size : {32, 64, 128}) {
    const SbBox3i32 box({0, 0, 0}, {size - 1, 7, 7});
    Field before(random, box), src(random, box);
    before.layout = src.layout = BitLayout::packed(box);
    expectCopied(memory, before, src, box);
    for (const bool value : {false, true}) {
      hxvoxora::fillRows(src.bytes.data(), src.layout, box, value);
      expectCopied(memory, before, src, box);
    }
  }
}

void expectSummaries(const Field& field, const SbBox3i32& part) {
  std::uint64_t count = 0;
  SbBox3i32 bounds;
  forEachVoxel(part, [&](int x, int y, int z) {
    if (!field.at(x, y, z)) return;
    ++count;
    bounds.extendBy(SbBox3i32({x, y, z}, {x, y, z}));
  });
  ASSERT_EQ(hxvoxora::countRows(field.bytes.data(), field.layout, part), count);
  ASSERT_EQ(hxvoxora::boundsOfRows(field.bytes.data(), field.layout, part), bounds);
  const auto voxels = static_cast<std::uint64_t>(part.size(0) * part.size(1) * part.size(2));
  const std::optional<bool> expected = count == 0        ? std::optional(false)
                                       : count == voxels ? std::optional(true)
                                                         : std::nullopt;
  ASSERT_EQ(hxvoxora::uniformValue(field.bytes.data(), field.layout, part), expected);
}

TEST_P(BitRows, SummariesEqualVoxelLoops) {
  RandomSource random;
  for (int round = 0; round < 3000; ++round) {
    const SbBox3i32 box = randomBox(random), part = randomPart(random, box), odd = randomPart(random, part);
    Field field = random.chance(0.6) ? fieldOfWords(random, box) : Field(random, box);
    ASSERT_NO_FATAL_FAILURE(expectSummaries(field, part)) << "noise, round " << round;
    // Beside the part all is noise, which nothing may see.
    for (const bool value : {false, true}) {
      hxvoxora::fillRows(field.bytes.data(), field.layout, part, value);
      ASSERT_NO_FATAL_FAILURE(expectSummaries(field, part)) << value << ", round " << round;
      field.set(odd.getMin()[0], odd.getMin()[1], odd.getMin()[2], !value);
      field.set(odd.getMax()[0], odd.getMax()[1], odd.getMax()[2], !value);
      ASSERT_NO_FATAL_FAILURE(expectSummaries(field, part)) << "all but two " << value << ", round " << round;
      hxvoxora::fillRows(field.bytes.data(), field.layout, odd, !value);
      ASSERT_NO_FATAL_FAILURE(expectSummaries(field, part)) << "a box in " << value << ", round " << round;
    }
  }
}

TEST_P(BitRows, UniformValueSeesOneOddVoxel) {
  RandomSource random;
  const SbBox3i32 box({3, 4, 5}, {70, 9, 8});
  Field field(random, box);
  hxvoxora::fillRows(field.bytes.data(), field.layout, box, true);
  EXPECT_EQ(hxvoxora::uniformValue(field.bytes.data(), field.layout, box), std::optional(true));
  field.set(70, 9, 8, false);
  EXPECT_EQ(hxvoxora::uniformValue(field.bytes.data(), field.layout, box), std::nullopt);
}

TEST_P(BitRows, EmptyBoxesAreNoWork) {
  const BitLayout layout{{0, 0, 0}, 8, 64};
  const SbBox3i32 empty({3, 3, 3}, {3, 2, 3});
  hxvoxora::fillRows(nullptr, layout, empty, true);
  hxvoxora::invertRows(nullptr, layout, empty);
  hxvoxora::copyRows(nullptr, layout, nullptr, layout, empty);
  EXPECT_EQ(hxvoxora::countRows(nullptr, layout, empty), 0u);
  EXPECT_EQ(hxvoxora::boundsOfRows(nullptr, layout, empty), SbBox3i32());
  EXPECT_EQ(hxvoxora::uniformValue(nullptr, layout, empty), std::nullopt);
}

}  // namespace
