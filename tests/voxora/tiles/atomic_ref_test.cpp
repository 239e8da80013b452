#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "quarn/voxora/tiles/Counted.h"
#include "quarn/voxora/tiles/detail/AtomicRef.h"

namespace {

using hxvoxora::makeRef;
using hxvoxora::Ref;
using hxvoxora::detail::AtomicRef;

struct Value : hxvoxora::Counted {
  explicit Value(int n) : number(n), check(-n) { ++alive; }
  ~Value() override {
    number = check = 1;
    --alive;
  }

  int number, check;
  static inline std::atomic<int> alive = 0;
};

TEST(AtomicRef, HoldsWhatWasStored) {
  {
    AtomicRef<Value> place;
    EXPECT_FALSE(place.load());
    place.store(makeRef<Value>(1));
    const Ref<Value> kept = place.load();
    place.store(makeRef<Value>(2));
    EXPECT_EQ(kept->number, 1);
    EXPECT_EQ(place.load()->number, 2);
    place.store(nullptr);
    EXPECT_FALSE(place.load());
    EXPECT_EQ(Value::alive, 1);
  }
  EXPECT_EQ(Value::alive, 0);
}

TEST(AtomicRef, MoreReadsThanItsStockLoseNoReference) {
  AtomicRef<Value> place(makeRef<Value>(7));
  std::vector<Ref<Value>> kept;
  for (int i = 0; i < 300000; ++i) kept.push_back(place.load());
  place.store(nullptr);
  EXPECT_EQ(Value::alive, 1);
  EXPECT_EQ(kept.front()->referenceCount(), 300000);
  kept.clear();
  EXPECT_EQ(Value::alive, 0);
}

TEST(AtomicRef, ExchangeHandsTheFormerObjectOver) {
  AtomicRef<Value> place(makeRef<Value>(1));
  const Ref<Value> read = place.load();
  const Ref<Value> former = place.exchange(makeRef<Value>(2));
  EXPECT_EQ(former, read);
  EXPECT_EQ(former->referenceCount(), 2);
  EXPECT_EQ(place.exchange(nullptr)->number, 2);
  EXPECT_FALSE(place.exchange(nullptr));
  EXPECT_EQ(Value::alive, 1);
}

TEST(AtomicRef, StoresOnlyWhereThereIsNothing) {
  {
    AtomicRef<Value> place;
    EXPECT_TRUE(place.storeIfEmpty(makeRef<Value>(1)));
    EXPECT_FALSE(place.storeIfEmpty(makeRef<Value>(2)));
    EXPECT_EQ(Value::alive, 1);
    EXPECT_EQ(place.peek()->number, 1);
  }
  EXPECT_EQ(Value::alive, 0);
}

TEST(AtomicRef, TellsItsReferencesFromThoseOfOthers) {
  AtomicRef<Value> place(makeRef<Value>(1));
  const auto others = [&] { return place.peek()->referenceCount() - place.referencesHeld(); };
  EXPECT_EQ(others(), 0);
  std::vector<Ref<Value>> kept;
  for (int i = 0; i < 40000; ++i) kept.push_back(place.load());
  EXPECT_EQ(others(), 40000);
  kept.resize(3);
  EXPECT_EQ(others(), 3);
  place.store(nullptr);
  EXPECT_EQ(place.referencesHeld(), 0);
}

TEST(AtomicRef, OneOfManyWritersStoresWhereThereIsNothing) {
  for (int round = 0; round < 500; ++round) {
    AtomicRef<Value> place;
    std::atomic<int> stored = 0;
    std::vector<std::thread> writers;
    for (int t = 0; t < 3; ++t) {
      writers.emplace_back([&] {
        place.load();
        stored += place.storeIfEmpty(makeRef<Value>(1));
      });
    }
    for (std::thread& writer : writers) writer.join();
    ASSERT_EQ(stored, 1);
    ASSERT_EQ(place.peek()->referenceCount(), place.referencesHeld());
  }
  EXPECT_EQ(Value::alive, 0);
}

TEST(AtomicRef, ReadersAndWritersAtOnce) {
  {
    AtomicRef<Value> place(makeRef<Value>(0));
    std::atomic<bool> stop = false;
    std::atomic<int> wrong = 0;
    std::vector<std::thread> readers;
    for (int t = 0; t < 3; ++t) {
      readers.emplace_back([&] {
        while (!stop) {
          const Ref<Value> value = place.load();
          if (value->number != -value->check) ++wrong;
        }
      });
    }
    std::thread otherWriter([&] {
      for (int i = 0; i < 20000; ++i) place.store(makeRef<Value>(i));
    });
    for (int i = 0; i < 20000; ++i) place.store(makeRef<Value>(i));
    otherWriter.join();
    stop = true;
    for (std::thread& reader : readers) reader.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(Value::alive, 1);
  }
  EXPECT_EQ(Value::alive, 0);
}

}  // namespace
