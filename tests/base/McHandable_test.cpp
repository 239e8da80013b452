#include "quarn/base/McHandable.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>

#include "tests/base/Concurrent.h"

namespace {

class Counted : public McHandable {
public:
  explicit Counted(std::atomic<int>& deletions) : deletions_(deletions) {}
  ~Counted() override { ++deletions_; }

private:
  std::atomic<int>& deletions_;
};

class Kept : public McHandable {
public:
  void notifyDelete() override { ++notifications; }
  std::atomic<int> notifications{0};
};

TEST(McHandable, IsBornWithoutReferences) {
  const Kept object;
  EXPECT_EQ(object.refCount(), 0);
}

TEST(McHandable, LastUnrefDeletes) {
  std::atomic<int> deletions{0};
  const auto* object = new Counted(deletions);
  object->ref();
  object->ref();
  object->unref();
  EXPECT_EQ(deletions, 0);
  object->unref();
  EXPECT_EQ(deletions, 1);
}

TEST(McHandable, NotifyDeleteMayKeepTheObject) {
  const Kept object;
  object.ref();
  object.unref();
  EXPECT_EQ(object.notifications, 1);
  EXPECT_EQ(object.refCount(), 0);
}

TEST(McHandable, ReleaseWithoutDeleteLeavesALivingObject) {
  Kept object;
  object.ref();
  object.releaseWithoutDelete();
  EXPECT_EQ(object.refCount(), 0);
  EXPECT_EQ(object.notifications, 0);
}

TEST(McHandable, CopyStartsWithoutReferences) {
  std::atomic<int> deletions{0};
  auto original = std::make_unique<Counted>(deletions);
  original->ref();
  const Counted copy(*original);
  EXPECT_EQ(copy.refCount(), 0);
  EXPECT_EQ(original->refCount(), 1);
}

TEST(McHandable, AssignmentKeepsBothCounts) {
  McHandable source;
  McHandable target;
  source.ref();
  target.ref();
  target.ref();
  target = source;
  EXPECT_EQ(source.refCount(), 1);
  EXPECT_EQ(target.refCount(), 2);
}

TEST(McHandable, ConcurrentUnrefNotifiesExactlyOnce) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 2000;
  for (int round = 0; round < kRounds; ++round) {
    Kept object;
    for (int i = 0; i < kThreads; ++i) object.ref();
    runTogether(kThreads, [&](int) { object.unref(); });
    ASSERT_EQ(object.notifications, 1) << "round " << round;
    ASSERT_EQ(object.refCount(), 0) << "round " << round;
  }
}

TEST(McHandable, LosesNoCountUnderContention) {
  constexpr int kThreads = 4;
  constexpr int kTurns = 20000;
  Kept object;
  object.ref();
  runTogether(kThreads, [&](int) {
    for (int i = 0; i < kTurns; ++i) {
      object.ref();
      object.ref();
      object.unref();
    }
  });
  EXPECT_EQ(object.refCount(), 1 + kThreads * kTurns);
  EXPECT_EQ(object.notifications, 0);
}

}  // namespace
