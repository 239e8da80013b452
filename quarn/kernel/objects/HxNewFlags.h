#pragma once

#include <atomic>

/// The marks of an object or a port: which of its aspects changed and were not evaluated yet.
///
/// Marks are raised by any thread. An evaluation sees all of them, settles those that it has dealt with, and clears the
/// settled ones at its end: what is raised in between stays for the next evaluation.
class HxNewFlags {
public:
  explicit HxNewFlags(unsigned int raised = 0) noexcept : raised_(raised) {}

  void raise(unsigned int flags) noexcept { raised_.fetch_or(flags, std::memory_order_acq_rel); }

  unsigned int value() const noexcept {
    return raised_.load(std::memory_order_acquire) | settled_.load(std::memory_order_acquire);
  }
  /// True when any of `flags` is raised or settled.
  bool has(unsigned int flags) const noexcept { return (value() & flags) != 0; }

  /// What is raised so far belongs to the evaluation under way. The marks stand in both words for a moment, so that no
  /// reader misses them; one that is raised again in that moment counts as seen.
  void settle() noexcept {
    const unsigned int raised = raised_.load(std::memory_order_acquire);
    settled_.fetch_or(raised, std::memory_order_acq_rel);
    raised_.fetch_and(~raised, std::memory_order_acq_rel);
  }
  void clearSettled() noexcept { settled_.store(0, std::memory_order_release); }
  void clear() noexcept {
    raised_.store(0, std::memory_order_release);
    clearSettled();
  }

private:
  std::atomic<unsigned int> raised_;
  std::atomic<unsigned int> settled_{0};
};
