#pragma once

#include <cstdint>
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/parallel_reduce.h>
#include <tbb/task_arena.h>

namespace hxvoxora::detail {

/// Calls body(i) for 0 <= i < count on the TBB workers. The calling thread takes on no other task meanwhile, so that it
/// may hold a mutex.
template <typename Body>
void parallelFor(std::int64_t count, Body body) {
  if (count == 1) return body(std::int64_t{0});
  tbb::this_task_arena::isolate([&] {
    tbb::parallel_for(tbb::blocked_range<std::int64_t>(0, count), [&](const tbb::blocked_range<std::int64_t>& range) {
      for (std::int64_t i = range.begin(); i < range.end(); ++i) body(i);
    });
  });
}

/// Folds accumulate(value, i) over 0 <= i < count, starting from Value() in every part, and joins the parts with
/// join(left, right). Otherwise as parallelFor().
template <typename Value, typename Accumulate, typename Join>
Value parallelReduce(std::int64_t count, Accumulate accumulate, Join join) {
  return tbb::this_task_arena::isolate([&] {
    return tbb::parallel_reduce(
        tbb::blocked_range<std::int64_t>(0, count), Value(),
        [&](const tbb::blocked_range<std::int64_t>& range, Value value) {
          for (std::int64_t i = range.begin(); i < range.end(); ++i) accumulate(value, i);
          return value;
        },
        join);
  });
}

}  // namespace hxvoxora::detail
