#include "quarn/base/McThread.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <latch>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "quarn/base/McException.h"

namespace {

class Work : public McThread {
public:
  explicit Work(std::function<void()> body) : body_(std::move(body)) {}
  ~Work() override { wait(); }

  void run() override { body_(); }

private:
  std::function<void()> body_;
};

TEST(McThread, RunsInAThreadOfItsOwn) {
  std::thread::id ran;
  Work work([&] { ran = std::this_thread::get_id(); });
  work.start();
  work.wait();
  EXPECT_NE(ran, std::thread::id());
  EXPECT_NE(ran, std::this_thread::get_id());
}

TEST(McThread, DoesNothingUntilItIsStarted) {
  bool hasRun = false;
  {
    Work work([&] { hasRun = true; });
    EXPECT_TRUE(work.wait(0));
    work.wait();
  }
  EXPECT_FALSE(hasRun);
}

TEST(McThread, WaitingWithALimitTellsWhetherItEnded) {
  std::latch mayEnd(1);
  Work work([&] { mayEnd.wait(); });
  work.start();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(work.wait(20));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
  mayEnd.count_down();
  EXPECT_TRUE(work.wait(60000));
  EXPECT_TRUE(work.wait(0)) << "it stays ended";
}

TEST(McThread, TheLongestLimitIsNone) {
  std::atomic<bool> hasRun = false;
  Work work([&] { hasRun = true; });
  work.start();
  EXPECT_TRUE(work.wait(std::numeric_limits<unsigned long>::max()));
  EXPECT_TRUE(hasRun);
}

TEST(McThread, DestructionWaits) {
  std::atomic<bool> hasEnded = false;
  {
    Work work([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      hasEnded = true;
    });
    work.start();
  }
  EXPECT_TRUE(hasEnded);
}

TEST(McThread, StartsAgainAfterItEnded) {
  std::atomic<int> runs = 0;
  Work work([&] { ++runs; });
  work.start();
  EXPECT_TRUE(work.wait(60000));
  work.start();
  work.wait();
  EXPECT_EQ(runs, 2);
}

TEST(McThread, StartingARunningOneIsRefused) {
  std::latch mayEnd(1);
  std::atomic<int> runs = 0;
  Work work([&] {
    ++runs;
    mayEnd.wait();
  });
  work.start();
  EXPECT_THROW(work.start(), McException);
  mayEnd.count_down();
  work.wait();
  EXPECT_EQ(runs, 1);
}

TEST(McThread, AnExceptionThatLeavesTheWorkIsTold) {
  ::testing::internal::CaptureStderr();
  {
    Work work([] { throw std::runtime_error("no more apples"); });
    work.start();
    EXPECT_TRUE(work.wait(60000));
    Work other([] { throw 5; });
    other.start();
  }
  const std::string told = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(told.find("no more apples"), std::string::npos) << told;
  EXPECT_NE(told.find("unknown error"), std::string::npos) << told;
}

}  // namespace
