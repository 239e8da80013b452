#pragma once

#include <barrier>
#include <thread>
#include <vector>

/// Calls `body(thread)` in `threads` threads that set off together, and waits for all of them.
template <class Body>
void runTogether(int threads, const Body& body) {
  std::barrier start(threads);
  std::vector<std::jthread> running;
  for (int i = 0; i < threads; ++i) {
    running.emplace_back([&start, &body, i] {
      start.arrive_and_wait();
      body(i);
    });
  }
}
