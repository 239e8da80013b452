#include "quarn/base/McThread.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <string>
#include <system_error>

#include "quarn/base/McException.h"

McThread::~McThread() {
  wait();
}

void McThread::start() {
  {
    const std::lock_guard lock(mutex_);
    if (isRunning_) throw McException("A thread that runs cannot be started");
    isRunning_ = true;
  }
  if (thread_.joinable()) thread_.join();
  try {
    thread_ = std::thread(&McThread::runGuarded, this);
  } catch (const std::system_error& failure) {
    const std::lock_guard lock(mutex_);
    isRunning_ = false;
    throw McException(std::string("No thread could be started: ") + failure.what());
  }
}

void McThread::runGuarded() noexcept {
  try {
    run();
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "A thread ended with an error: %s\n", failure.what());
  } catch (...) {
    std::fputs("A thread ended with an unknown error\n", stderr);
  }
  const std::lock_guard lock(mutex_);
  isRunning_ = false;
  ended_.notify_all();
}

bool McThread::wait(unsigned long milliseconds) {
  // Far below what the arithmetic of clocks can hold.
  constexpr unsigned long kOneYear = 365UL * 24 * 3600 * 1000;
  if (milliseconds > kOneYear) {
    wait();
    return true;
  }
  std::unique_lock lock(mutex_);
  return ended_.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] { return !isRunning_; });
}

void McThread::wait() {
  if (thread_.joinable()) thread_.join();
}
