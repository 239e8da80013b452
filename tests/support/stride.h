#pragma once

#include <cstdint>
#include <cstdlib>

/// Walks over every call or every byte of something take every so manieth instead: 1 unless QUARN_TEST_STRIDE sets
/// another number, as the runs under sanitizers do, where a step takes several times as long.
inline std::uint64_t testStride() {
  const char* text = std::getenv("QUARN_TEST_STRIDE");
  const std::uint64_t stride = text ? std::strtoull(text, nullptr, 10) : 1;
  return stride > 0 ? stride : 1;
}

/// The same for random tests: how many of `rounds` are tried.
inline int testRounds(int rounds) {
  const auto stride = static_cast<int>(testStride());
  return (rounds + stride - 1) / stride;
}
