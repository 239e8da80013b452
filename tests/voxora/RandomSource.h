#pragma once

#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <string>

/// Random numbers of one test. The seed is logged when the test fails; QUARN_TEST_SEED sets it.
class RandomSource {
public:
  RandomSource()
      : seed_(chooseSeed()), engine_(seed_), trace_(__FILE__, __LINE__, "QUARN_TEST_SEED=" + std::to_string(seed_)) {
    ::testing::Test::RecordProperty("seed", std::to_string(seed_));
  }

  /// A number from `low` to `high`, both included.
  template <typename Number>
  Number between(Number low, Number high) {
    return std::uniform_int_distribution<Number>(low, high)(engine_);
  }

  bool chance(double probability) { return std::bernoulli_distribution(probability)(engine_); }

  std::uint64_t word() { return engine_(); }

private:
  static std::uint64_t chooseSeed() {
    if (const char* text = std::getenv("QUARN_TEST_SEED")) return std::stoull(text);
    return std::random_device{}();
  }

  std::uint64_t seed_;
  std::mt19937_64 engine_;
  ::testing::ScopedTrace trace_;
};
