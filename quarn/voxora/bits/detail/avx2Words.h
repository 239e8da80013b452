#pragma once

#if defined(__x86_64__)

#include <immintrin.h>

#include "quarn/voxora/bits/detail/Stretch.h"

/// At every function for the reason told beside the kernels on whole words.
#define QUARN_AVX2 __attribute__((target("avx2")))

namespace hxvoxora::detail {

/// Words between memory order and numbers.
QUARN_AVX2 inline __m256i orderedWords(__m256i words) {
  const __m256i reversed =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8));
  return _mm256_shuffle_epi8(words, reversed);
}

QUARN_AVX2 inline __m256i allWords(Word word) {
  return _mm256_set1_epi64x(static_cast<long long>(word));
}

}  // namespace hxvoxora::detail

#endif
