#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

#include "quarn/voxora/bits/BitRows.h"
#include "quarn/voxora/nodes/SoCpuBufferBitSet.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "tests/voxora/RandomSource.h"
#include "tests/voxora/bits/EachInstructionSet.h"
#include "tests/voxora/bits/GuardedBytes.h"

/// Boxes that are put together from tiles, by every instruction set.

namespace {

using hxvoxora::BitLayout;
using hxvoxora::makeRef;
using hxvoxora::Ref;
using hxvoxora::TileSnapshot;

class FetchBox : public EachInstructionSet {};
WITH_EACH_INSTRUCTION_SET(FetchBox);

bool bitAt(const std::uint8_t* bytes, std::uint64_t i) {
  return (bytes[i >> 3] & (0x80 >> (i & 7))) != 0;
}

/// A volume of noise with a few constant tiles, and the same in one array.
struct Noise {
  Noise(RandomSource& random, const SbVec3i32& size, const SbVec3i32& tileSize)
      : box({0, 0, 0}, {size[0] - 1, size[1] - 1, size[2] - 1}) {
    auto mask = makeRef<SoVolumeMask>();
    mask->initializeInMemory(size, tileSize);
    auto buffer = makeRef<SoCpuBufferBitSet>();
    const std::int64_t bits = box.size(0) * box.size(1) * box.size(2);
    buffer->setSize(static_cast<std::size_t>(bits + 7) / 8 * 8);
    auto* const bytes = reinterpret_cast<std::uint8_t*>(buffer->bytes());
    for (std::size_t i = 0; i < buffer->getByteSize(); ++i) bytes[i] = static_cast<std::uint8_t>(random.word());
    const TileSnapshot tiles = mask->snapshot();
    for (std::int64_t tile = 0; tile < tiles.tileCount(); ++tile)
      if (random.chance(0.3))
        hxvoxora::fillRows(bytes, BitLayout::packed(box), tiles.tileBox(tile), random.chance(0.5));
    const int transaction = mask->beginTransaction();
    mask->replaceBox(box, buffer.get());
    mask->endTransaction(transaction);
    content = mask->snapshot();
    array.assign(bytes, bytes + buffer->getByteSize());
  }

  bool at(int x, int y, int z) const { return bitAt(array.data(), BitLayout::packed(box).bit(x, y, z)); }

  SbBox3i32 box;
  TileSnapshot content;
  std::vector<std::uint8_t> array;
};

/// Fetches a box into memory that must not be left.
void expectFetched(const Noise& noise, GuardedBytes& memory, GuardedBytes::End end, const SbBox3i32& box) {
  const std::int64_t bits = box.size(0) * box.size(1) * box.size(2);
  const std::vector<std::uint8_t> dirt(static_cast<std::size_t>(bits + 7) / 8, 0x5a);
  std::uint8_t* const fetched = memory.place(dirt, end);
  noise.content.fetch(box, fetched);
  ASSERT_TRUE(memory.isSurroundingIntact());
  std::uint64_t i = 0;
  for (int z = box.getMin()[2]; z <= box.getMax()[2]; ++z)
    for (int y = box.getMin()[1]; y <= box.getMax()[1]; ++y)
      for (int x = box.getMin()[0]; x <= box.getMax()[0]; ++x, ++i)
        ASSERT_EQ(bitAt(fetched, i), noise.at(x, y, z)) << x << " " << y << " " << z << " of rows of " << box.size(0);
  for (; i % 8 != 0; ++i) ASSERT_FALSE(bitAt(fetched, i)) << "an unused bit is set";
}

TEST_P(FetchBox, FetchEqualsVoxelLoopForAllOffsetsAndManyWidths) {
  RandomSource random;
  GuardedBytes memory;
  bool atBack = false;
  for (const int tile : {32, 64, 128}) {
    const Noise noise(random, {400, 19, 9}, {tile, 8, 8});
    for (int x = 0; x < 130; ++x) {
      for (const int width : {1, 63, 64, 65, 127, 128, 129, 192, 200, random.between(1, 270)}) {
        const int y = random.between(0, 18), z = random.between(0, 8);
        const SbBox3i32 box({x, y, z}, {x + width - 1, random.between(y, 18), random.between(z, 8)});
        atBack = !atBack;
        expectFetched(noise, memory, atBack ? GuardedBytes::End::Back : GuardedBytes::End::Front, box);
      }
    }
  }
}

/// Rows of whole bytes that begin within a byte of the tiles, and reach over several tiles.
TEST_P(FetchBox, FetchOfLongRowsOfWholeBytes) {
  RandomSource random;
  GuardedBytes memory;
  bool atBack = false;
  for (const int tile : {32, 64, 128}) {
    const Noise noise(random, {460, 11, 9}, {tile, 8, 8});
    for (const int width : {264, 272, 320, 328}) {
      for (int x = 1; x < 130; x += random.between(1, 5)) {
        const int y = random.between(0, 10), z = random.between(0, 8);
        const SbBox3i32 box({x, y, z}, {x + width - 1, random.between(y, 10), random.between(z, 8)});
        atBack = !atBack;
        expectFetched(noise, memory, atBack ? GuardedBytes::End::Back : GuardedBytes::End::Front, box);
      }
    }
  }
}

TEST_P(FetchBox, FetchOfWholeTiles) {
  RandomSource random;
  GuardedBytes memory;
  const Noise noise(random, {256, 24, 16}, {64, 8, 8});
  for (const int tiles : {1, 2, 3, 4})
    expectFetched(noise, memory, GuardedBytes::End::Back, SbBox3i32({0, 8, 0}, {64 * tiles - 1, 23, 15}));
}

}  // namespace
