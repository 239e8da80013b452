#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "quarn/base/McException.h"
#include "tests/voxora/nodes/maskSupport.h"

namespace {

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

TEST(SoCpuBufferBitSet, HoldsBitsRoundedUpToBytes) {
  const auto bits = hxvoxora::makeRef<SoCpuBufferBitSet>();
  for (const auto& [count, bytes] : {std::pair<std::size_t, std::size_t>{0, 0}, {1, 1}, {8, 1}, {9, 2}, {1001, 126}}) {
    bits->setSize(count);
    EXPECT_EQ(bits->getSize(), count);
    EXPECT_EQ(bits->getByteSize(), bytes);
  }
}

TEST(SoCpuBufferBitSet, TakesBytesWhileMapped) {
  const auto bits = hxvoxora::makeRef<SoCpuBufferBitSet>();
  bits->setSize(20);
  auto* mapped = static_cast<std::uint8_t*>(bits->map(SoCpuBufferObject::READ_WRITE));
  const auto source = hxvoxora::makeRef<SoCpuBufferObject>(3);
  for (int i = 0; i < 3; ++i) source->bytes()[i] = static_cast<std::byte>(i + 1);
  bits->memcpyInternal(source.get());
  EXPECT_EQ(mapped[0], 1);
  EXPECT_EQ(mapped[2], 3);
  EXPECT_TRUE(bits->isMapped());
  bits->unmap();
  EXPECT_FALSE(bits->isMapped());
}

TEST(SoCpuBufferBitSet, MappedPointerOutlivesWriteBacks) {
  const auto mask = makeMask({40, 8, 8});
  const SbBox3i32 box({1, 1, 1}, {10, 2, 2});
  const auto bits = hxvoxora::makeRef<SoCpuBufferBitSet>();
  bits->setSize(40);
  auto* mapped = static_cast<std::uint8_t*>(bits->map(SoCpuBufferObject::READ_WRITE));
  std::fill(mapped, mapped + 5, std::uint8_t{0});
  mapped[0] = 0x80;
  inTransaction(*mask, [&] { mask->replaceBox(box, bits.get()); });
  EXPECT_EQ(mask->computeBoundingBox(wholeBox(*mask)), SbBox3i32({1, 1, 1}, {1, 1, 1}));
  mapped[0] = 0x00;
  mapped[4] = 0x01;
  inTransaction(*mask, [&] { mask->replaceBox(box, bits.get()); });
  EXPECT_EQ(mask->computeBoundingBox(wholeBox(*mask)), SbBox3i32({10, 2, 2}, {10, 2, 2}));
}

TEST(SoLDMDataAccess, UnusedBitsOfTheLastByteAreClear) {
  const auto mask = makeMask({40, 8, 8});
  fill(*mask, wholeBox(*mask), true);
  EXPECT_EQ(fetched(*mask, {{3, 0, 0}, {5, 0, 0}}), std::vector<std::byte>{std::byte{0xe0}});
}

TEST(SoLDMDataAccess, RefusesWhatItCannotServe) {
  const auto mask = makeMask({40, 8, 8});
  const auto buffer = hxvoxora::makeRef<SoCpuBufferObject>(2);
  const SoLDMDataAccess& access = mask->getLdmDataAccess();
  EXPECT_THAT(
      [&] {
        access.getData(2, {{0, 0, 0}, {1, 1, 1}}, buffer.get());
      },
      ThrowsMessage<McException>(HasSubstr("level 2")));
  EXPECT_THAT(
      [&] {
        access.getData(0, {{0, 0, 0}, {40, 0, 0}}, buffer.get());
      },
      ThrowsMessage<McException>(HasSubstr("40 x 8 x 8")));
  EXPECT_THAT(
      [&] {
        access.getData(0, {{0, 0, 0}, {16, 0, 0}}, buffer.get());
      },
      ThrowsMessage<McException>(HasSubstr("too small")));
  EXPECT_THROW(access.getData(0, {{0, 0, 0}, {3, 0, 0}}, nullptr), McException);
  EXPECT_NO_THROW(access.getData(0, SbBox3i32({3, 3, 3}, {3, 2, 3}), buffer.get()));
}

}  // namespace
