#include "quarn/base/McMutex.h"

#include <gtest/gtest.h>
#include <mutex>

#include "tests/base/Concurrent.h"

namespace {

bool isFree(McMutex& mutex) {
  bool acquired = false;
  runTogether(1, [&](int) {
    acquired = mutex.try_lock();
    if (acquired) mutex.unlock();
  });
  return acquired;
}

TEST(McMutex, IsHeldWhileGuarded) {
  McMutex mutex;
  {
    const std::lock_guard guard(mutex);
    EXPECT_FALSE(isFree(mutex));
  }
  EXPECT_TRUE(isFree(mutex));
}

TEST(McMutex, CopyOfALockedMutexIsFree) {
  McMutex mutex;
  const std::lock_guard guard(mutex);
  McMutex copy(mutex);
  EXPECT_TRUE(isFree(copy));
}

TEST(McMutex, AssignmentChangesNeither) {
  McMutex locked;
  McMutex open;
  const std::lock_guard guard(locked);
  open = locked;
  EXPECT_TRUE(isFree(open));
  locked = open;
  EXPECT_FALSE(isFree(locked));
}

TEST(McMutex, AdmitsOneThreadAtATime) {
  McMutex mutex;
  long sum = 0;
  runTogether(4, [&](int) {
    for (int i = 0; i < 50000; ++i) {
      const std::lock_guard guard(mutex);
      ++sum;
    }
  });
  EXPECT_EQ(sum, 200000);
}

}  // namespace
