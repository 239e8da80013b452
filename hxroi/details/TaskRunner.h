#pragma once

#include <oneapi/tbb/parallel_for_each.h>
#include <utility>

#include "quarn/base/McThread.h"

namespace hxroi::details {

/// Calls a body for each value of a range, in parallel, driven by a thread of its own. The body keeps its exceptions to
/// itself, and may be called for several values at once.
template <class Iterator, class Body>
class TaskRunner final : public McThread {
public:
  TaskRunner(Iterator first, Iterator last, Body body)
      : first_(std::move(first)), last_(std::move(last)), body_(std::move(body)) {}
  ~TaskRunner() override { wait(); }

  void run() override { tbb::parallel_for_each(first_, last_, body_); }

private:
  Iterator first_;
  Iterator last_;
  Body body_;
};

}  // namespace hxroi::details
