#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

#include "quarn/base/export.h"

/// A thread of its own for one piece of work, run().
///
/// start() and both forms of wait() are for the thread that made the object, not for run() itself.
///
/// The destructor waits for the thread, so that the process never ends over a running one. By then the members of a
/// derived class are gone, though: a derived class calls wait() in its own destructor.
class QUARN_BASE_API McThread {
public:
  McThread() = default;
  McThread(const McThread&) = delete;
  McThread& operator=(const McThread&) = delete;
  virtual ~McThread();

  /// The work. It keeps its exceptions to itself: one that leaves it is told on standard error and ends the thread.
  virtual void run() = 0;

  /// Runs run() in a new thread; after it ended, again. McException while it runs, and when the system has no thread.
  void start();

  /// Waits at most that long; true when the thread has ended, or was never started.
  bool wait(unsigned long milliseconds);

  /// Waits as long as it takes.
  void wait();

private:
  void runGuarded() noexcept;

  std::mutex mutex_;
  std::condition_variable ended_;
  bool isRunning_ = false;
  std::thread thread_;
};
