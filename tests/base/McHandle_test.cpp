#include "quarn/base/McHandle.h"

#include <gtest/gtest.h>
#include <set>
#include <type_traits>
#include <utility>
#include <vector>

#include "quarn/base/McHandable.h"
#include "tests/base/Concurrent.h"

namespace {

class Object : public McHandable {
public:
  explicit Object(int* deletions = nullptr) : deletions_(deletions) {}
  ~Object() override {
    if (deletions_) ++*deletions_;
  }

private:
  int* deletions_;
};

class Special : public Object {
public:
  using Object::Object;
};

TEST(McHandle, DefaultIsNull) {
  const McHandle<Object> handle;
  EXPECT_EQ(handle.get(), nullptr);
  EXPECT_FALSE(handle);
  EXPECT_TRUE(handle == nullptr);
}

TEST(McHandle, KeepsTheObjectUntilTheLastHandleGoes) {
  int deletions = 0;
  {
    McHandle<Object> first = new Object(&deletions);
    {
      const McHandle<Object> second = first;
      EXPECT_EQ(first->refCount(), 2);
    }
    EXPECT_EQ((*first).refCount(), 1);
    EXPECT_EQ(deletions, 0);
  }
  EXPECT_EQ(deletions, 1);
}

TEST(McHandle, MovePassesTheReferenceOn) {
  McHandle<Object> source = new Object;
  Object* object = source;
  const McHandle<Object> target = std::move(source);
  EXPECT_EQ(target.get(), object);
  EXPECT_EQ(object->refCount(), 1);
}

TEST(McHandle, ResetAndNullAssignmentRelease) {
  int deletions = 0;
  McHandle<Object> handle = new Object(&deletions);
  handle.reset();
  EXPECT_EQ(deletions, 1);
  handle = new Object(&deletions);
  handle = nullptr;
  EXPECT_EQ(deletions, 2);
  handle.reset();
  EXPECT_EQ(deletions, 2);
}

TEST(McHandle, AssigningItsOwnObjectKeepsIt) {
  int deletions = 0;
  McHandle<Object> handle = new Object(&deletions);
  const McHandle<Object>& alias = handle;
  handle = alias;
  handle = handle.get();
  EXPECT_EQ(deletions, 0);
  EXPECT_EQ(handle->refCount(), 1);
}

TEST(McHandle, ConvertsToHandlesOfBaseAndConst) {
  const McHandle<Special> special = new Special;
  const McHandle<Object> base = special;
  const McHandle<const Object> readOnly = base;
  EXPECT_EQ(special->refCount(), 3);
  EXPECT_TRUE(base == special);
  EXPECT_TRUE(readOnly == special);
  static_assert(!std::is_convertible_v<McHandle<Object>, McHandle<Special>>);
}

TEST(McHandle, ComparesByAddress) {
  Object objects[2];
  for (const Object& object : objects) object.ref();
  {
    const McHandle<Object> low = &objects[0];
    const McHandle<Object> high = &objects[1];
    EXPECT_TRUE(low == low);
    EXPECT_TRUE(low != high);
    EXPECT_TRUE(low < high);
    EXPECT_FALSE(high < low);
    EXPECT_TRUE(low == &objects[0]);
    EXPECT_TRUE(&objects[0] == low);
    EXPECT_TRUE(low != &objects[1]);
    EXPECT_TRUE(low < &objects[1]);
    EXPECT_TRUE(&objects[0] < high);
  }
  for (const Object& object : objects) object.releaseWithoutDelete();
}

TEST(McHandle, ComparisonWithARawPointerLeavesAnUnreferencedObjectAlone) {
  int deletions = 0;
  auto* fresh = new Object(&deletions);
  const McHandle<Object> other = new Object;
  EXPECT_FALSE(other == fresh);
  EXPECT_FALSE(fresh == other);
  EXPECT_TRUE(other < fresh || fresh < other);
  EXPECT_EQ(deletions, 0);
  delete fresh;
}

TEST(McHandle, TransparentSetFindsByRawPointerWithoutTouchingIt) {
  int deletions = 0;
  auto* absent = new Object(&deletions);
  auto* present = new Object;
  const std::set<McHandle<Object>, std::less<>> handles{McHandle<Object>(present)};
  EXPECT_EQ(handles.count(absent), 0U);
  EXPECT_EQ(handles.count(present), 1U);
  EXPECT_EQ(deletions, 0);
  EXPECT_EQ(present->refCount(), 1);
  delete absent;
}

TEST(McHandle, OldObjectDiesAfterTheHandleHasItsNewValue) {
  struct Watcher : McHandable {
    explicit Watcher(McHandle<McHandable>& watchedHandle) : handle(watchedHandle) {}
    void notifyDelete() override { seen = handle.get(); }
    McHandle<McHandable>& handle;
    McHandable* seen = nullptr;
  };
  McHandle<McHandable> handle;
  Watcher watcher(handle);
  handle = &watcher;
  auto* next = new McHandable;
  handle = next;
  EXPECT_EQ(watcher.seen, next);
}

TEST(McHandle, CopiesInManyThreadsDeleteOnce) {
  for (int round = 0; round < 500; ++round) {
    int deletions = 0;
    std::vector<McHandle<Object>> handles(4, McHandle<Object>(new Object(&deletions)));
    runTogether(4, [&](int thread) {
      McHandle<Object> mine = std::move(handles[static_cast<std::size_t>(thread)]);
      const std::vector<McHandle<Object>> copies(10, mine);
      mine.reset();
    });
    ASSERT_EQ(deletions, 1) << "round " << round;
  }
}

}  // namespace
