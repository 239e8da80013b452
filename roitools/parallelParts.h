#pragma once

#include <atomic>
#include <cstdint>
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>
#include <thread>

#include "quarn/voxora/tiles/WorkCallback.h"

namespace roitools {

/// Calls body(part) for 0 <= part < count in parallel, and `callback` from the calling thread after each of its parts.
/// False when that gave up; parts that were not begun are left out then. What `body` throws comes out here.
template <class Body>
bool forEachPart(std::int64_t count, const hxvoxora::WorkCallback& callback, const Body& body) {
  const std::thread::id caller = std::this_thread::get_id();
  std::atomic<std::int64_t> done{0};
  std::atomic<bool> goesOn{!callback || callback(0)};
  const auto tell = [&](std::int64_t finished) {
    if (!callback || std::this_thread::get_id() != caller) return;
    if (!callback(static_cast<double>(finished) / static_cast<double>(count))) goesOn = false;
  };
  if (!goesOn) return false;
  tbb::this_task_arena::isolate([&] {
    tbb::parallel_for(tbb::blocked_range<std::int64_t>(0, count), [&](const tbb::blocked_range<std::int64_t>& parts) {
      for (std::int64_t part = parts.begin(); part != parts.end() && goesOn; ++part) {
        body(part);
        tell(++done);
      }
    });
  });
  return goesOn;
}

}  // namespace roitools
