#pragma once

#include <exception>
#include <oneapi/tbb/parallel_for_each.h>
#include <utility>

#include "quarn/base/McThread.h"

namespace hxroi::details {

/// Calls a body for each value of a range, in parallel, driven by a thread of its own. The body may be called for
/// several values at once.
template <class Iterator, class Body>
class TaskRunner final : public McThread {
public:
  TaskRunner(Iterator first, Iterator last, Body body)
      : first_(std::move(first)), last_(std::move(last)), body_(std::move(body)) {}
  ~TaskRunner() override { wait(); }

  void run() override {
    try {
      tbb::parallel_for_each(first_, last_, body_);
    } catch (...) {
      failure_ = std::current_exception();
    }
  }

  /// Throws again what ended the work. After wait().
  void rethrowFailure() const {
    if (failure_) std::rethrow_exception(failure_);
  }

private:
  Iterator first_;
  Iterator last_;
  Body body_;
  std::exception_ptr failure_;
};

}  // namespace hxroi::details
