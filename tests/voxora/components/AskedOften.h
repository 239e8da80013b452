#pragma once

#include <chrono>
#include <cstddef>
#include <thread>
#include <vector>

/// A callback of long work that takes its time, so that it is asked as often as the work can ask at all, however fast
/// the machine is.
struct AskedOften {
  std::size_t last = ~std::size_t{0};  ///< the call that gives the work up
  std::vector<double> fractions;

  bool operator()(double fraction) {
    std::this_thread::sleep_for(std::chrono::milliseconds(45));
    fractions.push_back(fraction);
    return fractions.size() <= last;
  }
};
