#pragma once

#include <atomic>
#include <cstddef>
#include <exception>
#include <memory>
#include <optional>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>
#include <vector>

namespace hxvoxora::detail {

/// Jobs that are done ahead by the TBB workers and used one by one, in order, by the thread that owns this. A job whose
/// turn has come and that nobody has begun is done by the owner itself, so that it never waits for idle workers. Job
/// has a function run(), and is used again for a later one.
template <typename Job>
class LookAhead {
public:
  /// Room for so many jobs, at least 1.
  explicit LookAhead(std::size_t room) {
    for (std::size_t i = 0; i < room; ++i) slots_.push_back(std::make_unique<Slot>());
  }

  /// Jobs that were not begun are dropped.
  ~LookAhead() {
    stopped_.store(true, std::memory_order_relaxed);
    tasks_.wait();
  }
  LookAhead(const LookAhead&) = delete;
  LookAhead& operator=(const LookAhead&) = delete;

  bool isEmpty() const { return first_ == end_; }
  bool isFull() const { return end_ - first_ == slots_.size(); }

  /// The place of the next job, to be filled in and started; there must be room.
  Job& next() { return slots_[end_ % slots_.size()]->job; }
  void start() {
    Slot& slot = *slots_[end_++ % slots_.size()];
    slot.state.store(State::Waiting, std::memory_order_release);
    // What finds nothing to do, since the owner was quicker, is still there for the next job.
    if (slots_.size() == 1 || slot.isQueued.exchange(true)) return;
    tasks_.run([this, &slot] {
      slot.isQueued.exchange(false);
      work(slot);
    });
  }

  /// The first of the jobs, done; what it threw is thrown.
  Job& front() {
    Slot& slot = *slots_[first_ % slots_.size()];
    work(slot);
    // While another thread has it there is time for later ones.
    for (std::size_t i = first_ + 1; i < end_ && !isDone(slot); ++i) work(*slots_[i % slots_.size()]);
    while (!isDone(slot)) slot.state.wait(State::Working);
    if (slot.failure) std::rethrow_exception(slot.failure);
    return slot.job;
  }
  void pop() { ++first_; }

private:
  enum class State { Waiting, Working, Done };

  struct Slot {
    std::atomic<State> state = State::Done;
    std::atomic<bool> isQueued = false;  // a task looks at this place sooner or later
    std::exception_ptr failure;
    Job job;
  };

  static bool isDone(const Slot& slot) { return slot.state.load(std::memory_order_acquire) == State::Done; }

  void work(Slot& slot) {
    State expected = State::Waiting;
    if (stopped_.load(std::memory_order_relaxed)) return;
    if (!slot.state.compare_exchange_strong(expected, State::Working, std::memory_order_acq_rel)) return;
    slot.failure = nullptr;
    try {
      slot.job.run();
    } catch (...) {
      slot.failure = std::current_exception();
    }
    slot.state.store(State::Done, std::memory_order_release);
    slot.state.notify_one();
  }

  std::atomic<bool> stopped_ = false;
  std::vector<std::unique_ptr<Slot>> slots_;
  std::size_t first_ = 0, end_ = 0;
  tbb::task_group tasks_;
};

}  // namespace hxvoxora::detail
