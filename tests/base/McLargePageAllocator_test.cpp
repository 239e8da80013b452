#include "quarn/base/McLargePageAllocator.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <numeric>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t, McLargePageAllocator<std::uint8_t>>;

TEST(McLargePageAllocator, GivesMemoryOfAnySize) {
  constexpr std::size_t large = std::size_t{8} << 20;
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, large - 1, large, large + 12345}) {
    Bytes bytes(size, 7);
    EXPECT_EQ(std::accumulate(bytes.begin(), bytes.end(), std::size_t{0}), 7 * size);
    bytes.push_back(1);
    EXPECT_EQ(bytes.back(), 1);
    Bytes other;
    other.swap(bytes);
    EXPECT_EQ(other.size(), size + 1);
  }
}

TEST(McLargePageAllocator, LargeArraysBeginAtALargePage) {
  const Bytes bytes(std::size_t{9} << 20);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(bytes.data()) % (std::uintptr_t{2} << 20), 0U);
}

TEST(McLargePageAllocator, RefusesWhatCannotBe) {
  McLargePageAllocator<double> memory;
  EXPECT_THROW(memory.allocate(std::numeric_limits<std::size_t>::max() / 4), std::bad_alloc);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // their allocators end the program instead
  EXPECT_THROW(memory.allocate(std::size_t{1} << 58), std::bad_alloc);
#endif
}

}  // namespace
