#include <algorithm>
#include <gtest/gtest.h>

#include "tests/voxora/nodes/maskSupport.h"

/// Operators on volumes of so many tiles that their tables have several levels.

namespace {

using hxvoxora::TileSnapshot;
using hxvoxora::TruthTable;
using Kind = hxvoxora::TileSnapshot::Kind;
using Bytes = std::vector<std::uint8_t>;

const SbVec3i32 tileSize(32, 8, 8);

/// 6,859 tiles; those at the upper ends are cut.
const SbVec3i32 largeSize(32 * 19 - 5, 8 * 19 - 3, 8 * 19 - 1);

SbBox3i32 allOf(const SbVec3i32& size) {
  return {{0, 0, 0}, {size[0] - 1, size[1] - 1, size[2] - 1}};
}

void replaceByNoise(SoVolumeMask& mask, const SbBox3i32& box, RandomSource& random) {
  const auto buffer = hxvoxora::makeRef<SoCpuBufferBitSet>();
  const auto bytes = static_cast<std::size_t>((box.size(0) * box.size(1) * box.size(2) + 7) / 8);
  buffer->setSize(8 * bytes);
  auto* bits = static_cast<std::uint8_t*>(buffer->map(SoCpuBufferObject::READ_WRITE));
  std::generate(bits, bits + bytes, [&] { return static_cast<std::uint8_t>(random.word()); });
  buffer->unmap();
  mask.replaceBox(box, buffer.get());
}

/// Large boxes of one value, small ones of noise, and tiles that nobody wrote.
Ref<SoVolumeMask> randomMask(RandomSource& random) {
  auto mask = makeMask(largeSize, tileSize);
  mask->setDefaultValue(random.chance(0.5));
  inTransaction(*mask, [&] {
    for (int i = 0; i < 4; ++i) mask->fillBox(randomBoxIn(random, largeSize), random.chance(0.5) ? 1 : 0);
    for (int i = 0; i < 20; ++i) {
      const SbBox3i32 box = randomBoxIn(random, SbVec3i32(largeSize[0], 40, 40));
      replaceByNoise(*mask, box, random);
    }
  });
  return mask;
}

Bytes bitsOf(const TileSnapshot& content, const SbBox3i32& box) {
  Bytes bytes(static_cast<std::size_t>((box.size(0) * box.size(1) * box.size(2) + 7) / 8));
  content.fetch(box, bytes.data());
  return bytes;
}

Bytes combined(const TileSnapshot& a, const TileSnapshot& b, const SbBox3i32& box, TruthTable f) {
  const Bytes left = bitsOf(a, box), right = bitsOf(b, box);
  const std::int64_t count = box.size(0) * box.size(1) * box.size(2);
  Bytes result(left.size());
  for (std::int64_t i = 0; i < count; ++i) {
    const auto byte = static_cast<std::size_t>(i / 8);
    const unsigned mask = 0x80u >> (i % 8);
    if (apply(f, (left[byte] & mask) != 0, (right[byte] & mask) != 0)) result[byte] |= static_cast<std::uint8_t>(mask);
  }
  return result;
}

Kind kindOf(const Bytes& bits, const SbBox3i32& box) {
  const auto all = static_cast<std::uint64_t>(box.size(0) * box.size(1) * box.size(2));
  const std::uint64_t set = hxvoxora::countBits(bits.data(), 0, all);
  return set == 0 ? Kind::Zero : set == all ? Kind::One : Kind::Mixed;
}

/// A tile of result = f(a, b): voxels, kind, and whether it counts as written.
void expectTile(const TileSnapshot& result, const TileSnapshot& a, const TileSnapshot& b, TruthTable f,
                std::int64_t tile) {
  const SbBox3i32 box = a.tileBox(tile);
  const Bytes expected = combined(a, b, box, f);
  ASSERT_EQ(bitsOf(result, box), expected) << "tile " << tile;
  ASSERT_EQ(result.kind(tile), kindOf(expected, box)) << "tile " << tile;
  ASSERT_EQ(result.isWritten(tile), a.isWritten(tile) || expected != bitsOf(a, box)) << "tile " << tile;
  if (result.kind(tile) != Kind::Mixed) return;
  const auto bits = result.payload(tile);
  if (f == TruthTable::Or && b.kind(tile) == Kind::Zero) {
    ASSERT_EQ(bits.get(), a.payload(tile).get());
  } else if (f == TruthTable::CopyB) {
    ASSERT_EQ(bits.get(), b.payload(tile).get());
  }
}

void expectCombined(const TileSnapshot& result, const TileSnapshot& a, const TileSnapshot& b, TruthTable f) {
  for (std::int64_t tile = 0; tile < a.tileCount(); ++tile) ASSERT_NO_FATAL_FAILURE(expectTile(result, a, b, f, tile));
}

TEST(SoVolumeMaskTables, EveryFunctionOfLargeMasks) {
  RandomSource random;
  for (int table = 0; table < 16; ++table) {
    SCOPED_TRACE(table);
    const auto f = static_cast<TruthTable>(table);
    const auto a = randomMask(random), b = randomMask(random);
    const TileSnapshot before = a->snapshot();
    inTransaction(*a, [&] { a->combineBox(allOf(largeSize), *b, f); });
    ASSERT_NO_FATAL_FAILURE(expectCombined(a->snapshot(), before, b->snapshot(), f));
  }
}

TEST(SoVolumeMaskTables, EveryFunctionOfAMaskAndItself) {
  RandomSource random;
  for (int table = 0; table < 16; ++table) {
    SCOPED_TRACE(table);
    const auto f = static_cast<TruthTable>(table);
    const auto a = randomMask(random);
    const TileSnapshot before = a->snapshot();
    inTransaction(*a, [&] { a->combineBox(allOf(largeSize), *a, f); });
    ASSERT_NO_FATAL_FAILURE(expectCombined(a->snapshot(), before, before, f));
  }
}

/// Masks that share pages but not the value of what nobody wrote.
TEST(SoVolumeMaskTables, SharedPagesWithDifferentDefaultValues) {
  RandomSource random;
  for (const TruthTable f : {TruthTable::Xor, TruthTable::Or, TruthTable::CopyB, TruthTable::AndNot}) {
    const auto a = randomMask(random), b = makeMask(largeSize, tileSize);
    b->setDefaultValue(a->defaultValue());
    inTransaction(*b, [&] { b->combineBox(allOf(largeSize), *a, TruthTable::CopyB); });
    b->setDefaultValue(!a->defaultValue());
    const TileSnapshot before = a->snapshot();
    inTransaction(*a, [&] { a->combineBox(allOf(largeSize), *b, f); });
    ASSERT_NO_FATAL_FAILURE(expectCombined(a->snapshot(), before, b->snapshot(), f));
  }
}

TEST(SoVolumeMaskTables, BoxesThatCutTilesAndSeveralEditsInOneTransaction) {
  RandomSource random;
  for (int round = 0; round < 10; ++round) {
    const auto f = static_cast<TruthTable>(random.between(0, 15));
    const auto a = randomMask(random), b = randomMask(random);
    const SbBox3i32 box = randomBoxIn(random, largeSize), second = randomBoxIn(random, largeSize);
    const Bytes before = bitsOf(a->snapshot(), allOf(largeSize));
    Bytes expected = before;
    const hxvoxora::BitLayout layout = hxvoxora::BitLayout::packed(allOf(largeSize));
    const Bytes other = bitsOf(b->snapshot(), allOf(largeSize));
    hxvoxora::combineRows(expected.data(), layout, other.data(), layout, box, f);
    hxvoxora::invertRows(expected.data(), layout, second);
    inTransaction(*a, [&] {
      a->combineBox(box, *b, f);
      a->invertBox(second);
    });
    ASSERT_EQ(bitsOf(a->snapshot(), allOf(largeSize)), expected) << "round " << round;
  }
}

/// Boxes whose tiles lie in many pieces of the same pages, which become one value all over.
TEST(SoVolumeMaskTables, PagesBecomeUniformPieceByPiece) {
  const SbVec3i32 size(32 * 9, 8 * 9, 8 * 9);
  const SbBox3i32 left({0, 0, 0}, {32 * 5 - 1, size[1] - 1, size[2] - 1}), right({32 * 5, 0, 0}, allOf(size).getMax());
  const auto a = makeMask(size, tileSize), ones = makeMask(size, tileSize);
  fill(*ones, allOf(size), true);
  RandomSource random;
  inTransaction(*a, [&] { replaceByNoise(*a, allOf(size), random); });
  inTransaction(*a, [&] {
    a->combineBox(right, *ones, TruthTable::Or);
    a->combineBox(left, *ones, TruthTable::Or);
  });
  EXPECT_EQ(a->countSetVoxels(allOf(size)), static_cast<std::uint64_t>(size[0]) * 72 * 72);
  inTransaction(*a, [&] { a->invertBox(left); });
  EXPECT_EQ(a->computeBoundingBox(allOf(size)), right);
  inTransaction(*a, [&] { a->invertBox(right); });
  for (std::int64_t tile = 0; tile < a->snapshot().tileCount(); ++tile)
    ASSERT_TRUE(a->snapshot().kind(tile) == Kind::Zero) << tile;
}

/// 2^36 tiles: a look at each of them would take minutes.
TEST(SoVolumeMaskTables, ConstantsOfHugeVolumesAreSettledAtOnce) {
  const SbVec3i32 size(1 << 17, 1 << 17, 1 << 17);
  const auto a = makeMask(size, {32, 32, 32}), b = makeMask(size, {32, 32, 32});
  fill(*b, SbBox3i32({0, 0, 96}, {size[0] - 1, size[1] - 1, 191}), true);
  inTransaction(*a, [&] {
    a->combineBox(allOf(size), *b, TruthTable::Or);
    a->invertBox(allOf(size));
  });
  const TileSnapshot content = a->snapshot();
  EXPECT_TRUE(content.kind(0) == Kind::One);
  EXPECT_TRUE(content.kind(content.tileCount() - 1) == Kind::One);
  EXPECT_TRUE(content.kind(3 << 24) == Kind::Zero);
}

}  // namespace
