#include "quarn/voxora/bits/StreamedBlocks.h"

#include <cstdint>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "quarn/voxora/bits/detail/Operations.h"

namespace hxvoxora {

#if defined(__SSE2__)

namespace {

/// 128 bits at once.
using Wide = std::uint64_t __attribute__((vector_size(16)));

/// The function of a truth table, put together from its rows; only those that are needed remain.
template <unsigned table>
Wide combineWide(detail::Operation<table>, Wide a, Wide b) {
  Wide result{};
  if constexpr ((table & 0b0001) != 0) result |= ~a & ~b;
  if constexpr ((table & 0b0010) != 0) result |= ~a & b;
  if constexpr ((table & 0b0100) != 0) result |= a & ~b;
  if constexpr ((table & 0b1000) != 0) result |= a & b;
  return result;
}

Wide loadWide(const std::uint8_t* p) {
  Wide wide;
  std::memcpy(&wide, p, sizeof wide);
  return wide;
}

void streamWide(std::uint8_t* p, Wide wide) {
  _mm_stream_si128(reinterpret_cast<__m128i*>(p), reinterpret_cast<__m128i>(wide));
}

bool anyBit(Wide wide) {
  return (wide[0] | wide[1]) != 0;
}

template <typename Operation>
WordSummary combineStreamed(std::uint8_t* out, const std::uint8_t* left, const std::uint8_t* right,
                            std::size_t byteCount, Operation op) {
  Wide anySet{}, anyClear{};
  for (std::size_t i = 0; i < byteCount; i += 64) {
    for (std::size_t k = 0; k < 64; k += sizeof(Wide)) {
      const Wide result = combineWide(op, loadWide(left + i + k), loadWide(right + i + k));
      streamWide(out + i + k, result);
      anySet |= result;
      anyClear |= ~result;
    }
  }
  return {anyBit(anySet), anyBit(anyClear)};
}

}  // namespace

WordSummary combineBlocksStreamed(void* dst, const void* a, const void* b, std::size_t byteCount, TruthTable f) {
  WordSummary seen;
  detail::withOperation(f, [&](auto op) {
    seen = combineStreamed(static_cast<std::uint8_t*>(dst), static_cast<const std::uint8_t*>(a),
                           static_cast<const std::uint8_t*>(b), byteCount, op);
  });
  _mm_sfence();  // otherwise the words may arrive after a later store that tells of them
  return seen;
}

#else

WordSummary combineBlocksStreamed(void* dst, const void* a, const void* b, std::size_t byteCount, TruthTable f) {
  return combineBlocks(dst, a, b, byteCount, f);
}

#endif

}  // namespace hxvoxora
