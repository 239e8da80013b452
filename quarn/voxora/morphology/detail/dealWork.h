#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <tbb/task_arena.h>
#include <thread>

#include "quarn/voxora/tiles/detail/parallel.h"

namespace hxvoxora::detail {

/// Works on the items 0 <= i < count on the TBB workers, one item at a time to whoever is free. Each thread has a
/// worker of its own, a pointer made by makeWorker(), and calls (*worker)(i). After each of its items the calling
/// thread asks mayGoOn(i); when that is false no further item is begun, and the result is false. Items are begun in
/// ascending order. An exception ends the work and goes on to the caller.
template <typename MakeWorker>
bool dealWork(std::int64_t count, const MakeWorker& makeWorker, const std::function<bool(std::int64_t i)>& mayGoOn) {
  std::atomic<std::int64_t> next = 0;
  std::atomic<bool> isOver = false;
  const std::thread::id caller = std::this_thread::get_id();
  const auto work = [&] {
    const bool asks = std::this_thread::get_id() == caller;
    decltype(makeWorker()) worker{};  // not made for a thread that comes too late
    for (std::int64_t i; !isOver && (i = next++) < count;) {
      if (!worker) worker = makeWorker();
      (*worker)(i);
      if (asks && !mayGoOn(i)) isOver = true;
    }
  };
  parallelFor(std::min<std::int64_t>(count, tbb::this_task_arena::max_concurrency()), [&](std::int64_t) {
    try {
      work();
    } catch (...) {
      isOver = true;
      throw;
    }
  });
  return !isOver;
}

}  // namespace hxvoxora::detail
