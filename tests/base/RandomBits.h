#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <string>

#include "quarn/base/McBitfield.h"

/// Generator for random tests; the seed is printed and can be set from outside.
inline std::mt19937 seededRandom() {
  const char* given = std::getenv("QUARN_TEST_SEED");
  const auto seed = given ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10)) : std::random_device()();
  ::testing::Test::RecordProperty("seed", std::to_string(seed));
  std::printf("QUARN_TEST_SEED=%u\n", seed);
  return std::mt19937(seed);
}

inline McBitfield randomBits(std::uint64_t size, double density, std::mt19937& random) {
  std::bernoulli_distribution coin(density);
  McBitfield bits(size);
  for (std::uint64_t i = 0; i < size; ++i) {
    if (coin(random)) bits.set(i);
  }
  return bits;
}
