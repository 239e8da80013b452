#pragma once

#include <atomic>
#include <cstddef>
#include <exception>
#include <functional>
#include <mutex>
#include <oneapi/tbb/concurrent_vector.h>
#include <tuple>

#include "hxroi/details/SplitComponents.h"
#include "quarn/base/McMutex.h"

namespace hxroi::details {

class Mask;

/// Fills the mask of one label at a time with its voxels, and saves it into its temporary files. Different labels may
/// be filled at the same time.
class FillMaskFromSplit {
public:
  /// Labels with their masks, in the order of the labels; not owned.
  using ComponentList = tbb::concurrent_vector<std::tuple<int, Mask*>>;

  /// What all bodies of one split share. Any thread.
  class State {
  public:
    explicit State(std::size_t total) : total_(total) {}

    /// No further mask is begun, and what is at work gives up, its mask left empty.
    void cancel() { isCancelled_.store(true, std::memory_order_relaxed); }
    bool isCancelled() const { return isCancelled_.load(std::memory_order_relaxed); }

    /// Part of the masks that are done, from 0 to 1.
    float fraction() const;
    void countFilled() { filled_.fetch_add(1, std::memory_order_relaxed); }

    /// Remembers the first failure, and cancels.
    void fail(std::exception_ptr failure);
    /// Throws that failure again. When no body runs any more.
    void rethrowFailure() const;

  private:
    const std::size_t total_;
    std::atomic<std::size_t> filled_{0};
    std::atomic<bool> isCancelled_{false};
    McMutex mutex_;
    std::exception_ptr failure_;
  };

  /// Called all the time by the threads that fill a mask, those of a save too; may cancel.
  using Question = std::function<void(State&)>;

  /// All of it outlives this and its copies. `question` may be empty.
  FillMaskFromSplit(const SplitComponents& split, const ComponentList& masks, State& state, Question question = {});

  /// Keeps every exception in the state.
  void operator()(int label) const;

private:
  bool isWanted() const;
  void fill(int label) const;
  void fillComponent(Mask& mask, const hxvoxora::Component& component) const;
  void fillRest(Mask& mask) const;
  hxvoxora::TileSnapshot contentOf(const hxvoxora::Component& component) const;
  Mask& maskOf(int label) const;

  const SplitComponents* split_;
  const ComponentList* masks_;
  State* state_;
  Question question_;
};

}  // namespace hxroi::details
