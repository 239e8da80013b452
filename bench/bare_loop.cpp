#include "bench/bare_loop.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <immintrin.h>
#include <new>
#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>
#include <sys/mman.h>

namespace bench {

namespace {

constexpr std::size_t largePage = std::size_t{1} << 21;
constexpr std::size_t blockBytes = std::size_t{1} << 16;

using Bytes = std::uint8_t*;

__attribute__((target("avx2"))) void intersect(Bytes target, const std::uint8_t* a, const std::uint8_t* b,
                                               std::size_t count) {
  for (std::size_t i = 0; i < count; i += 32) {
    const __m256i left = _mm256_load_si256(reinterpret_cast<const __m256i*>(a + i));
    const __m256i right = _mm256_load_si256(reinterpret_cast<const __m256i*>(b + i));
    _mm256_store_si256(reinterpret_cast<__m256i*>(target + i), _mm256_and_si256(left, right));
  }
}

__attribute__((target("avx2"))) void complement(Bytes target, const std::uint8_t* a, std::size_t count) {
  const __m256i ones = _mm256_set1_epi8(-1);
  for (std::size_t i = 0; i < count; i += 32) {
    const __m256i bits = _mm256_load_si256(reinterpret_cast<const __m256i*>(a + i));
    _mm256_store_si256(reinterpret_cast<__m256i*>(target + i), _mm256_xor_si256(bits, ones));
  }
}

}  // namespace

void BareLoop::FreeMemory::operator()(std::uint8_t* memory) const {
  std::free(memory);
}

BareLoop::Array BareLoop::touched(std::size_t byteCount) {
  Array array(static_cast<std::uint8_t*>(std::aligned_alloc(largePage, byteCount)));
  if (!array) throw std::bad_alloc();
  ::madvise(array.get(), byteCount, MADV_HUGEPAGE);
  std::memset(array.get(), 0x5a, byteCount);
  return array;
}

BareLoop::BareLoop(std::size_t byteCount) : byteCount_(byteCount) {
  const std::size_t pages = std::max<std::size_t>(1, (byteCount + largePage - 1) / largePage) * largePage;
  for (Array* array : {&first_, &second_, &third_}) *array = touched(pages);
}

/// Calls work(begin, count) for stretches of whole vectors.
template <class Work>
void BareLoop::run(Work work) {
  tbb::parallel_for(tbb::blocked_range<std::size_t>(0, (byteCount_ + blockBytes - 1) / blockBytes),
                    [&](const auto& blocks) {
                      const std::size_t begin = blocks.begin() * blockBytes;
                      const std::size_t end = std::min(blocks.end() * blockBytes, (byteCount_ + 31) / 32 * 32);
                      work(begin, end - begin);
                    });
}

void BareLoop::combineIntoThird() {
  run([this](std::size_t at, std::size_t n) {
    intersect(third_.get() + at, first_.get() + at, second_.get() + at, n);
  });
}

void BareLoop::combineInPlace() {
  run([this](std::size_t at, std::size_t n) {
    intersect(first_.get() + at, first_.get() + at, second_.get() + at, n);
  });
}

void BareLoop::invertIntoThird() {
  run([this](std::size_t at, std::size_t n) { complement(third_.get() + at, first_.get() + at, n); });
}

void BareLoop::invertInPlace() {
  run([this](std::size_t at, std::size_t n) { complement(first_.get() + at, first_.get() + at, n); });
}

void BareLoop::copy() {
  run([this](std::size_t at, std::size_t n) { std::memcpy(third_.get() + at, first_.get() + at, n); });
}

}  // namespace bench
