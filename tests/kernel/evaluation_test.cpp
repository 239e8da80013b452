#include <algorithm>
#include <gmock/gmock.h>
#include <set>
#include <thread>

#include "quarn/base/McException.h"
#include "quarn/kernel/ports/HxPortDoIt.h"
#include "tests/kernel/TestObjects.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// a -> b, unevaluated marks of making and connecting cleared.
class Evaluation : public ::testing::Test {
protected:
  Evaluation() {
    b->input.connect(a);
    settle();
  }

  void settle() {
    a->fire(1);
    b->fire(1);
    log.clear();
    a->modifications.clear();
  }

  Log log;
  McHandle<TestData> a = new TestData(log, "a");
  McHandle<TestData> b = new TestData(log, "b");
};

TEST_F(Evaluation, TouchOnlyMarks) {
  a->touch(8);
  EXPECT_TRUE(a->isNew(8));
  EXPECT_FALSE(a->isNew(16));
  EXPECT_FALSE(b->input.isNew());
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(Evaluation, GoesDownstreamAndClearsMarksLast) {
  unsigned int seenAtSource = 0;
  unsigned int seenAtConnection = 0;
  b->onCompute = [&] {
    seenAtSource = a->getNewFlags();
    seenAtConnection = b->input.getNewFlags();
  };
  a->touch(8 | 64);
  a->fire(1);
  EXPECT_THAT(log, ElementsAre("a.update", "a.compute", "b.update", "b.compute"));
  EXPECT_EQ(seenAtSource, 8u | 64u);
  EXPECT_EQ(seenAtConnection, 8u | 64u);
  EXPECT_FALSE(a->isNew());
  EXPECT_FALSE(b->input.isNew());
}

TEST_F(Evaluation, KeepsTheConnectionBitFromComingDownstream) {
  unsigned int seen = 0;
  b->onUpdate = [&] { seen = b->input.getNewFlags(); };
  a->touch(5);
  a->fire(1);
  EXPECT_EQ(seen, 4u);
}

TEST_F(Evaluation, OfAnUnmarkedObjectStillReachesItsNeighbours) {
  McHandle<TestData> c = new TestData(log, "c");
  c->input.connect(b);
  c->fire(1);
  log.clear();
  a->fire(1);
  EXPECT_THAT(log, ElementsAre("a.update", "a.compute", "b.update", "b.compute"));
}

TEST_F(Evaluation, WithoutDownstreamMarksButDoesNotEvaluateNeighbours) {
  a->touch(8);
  a->fire(0);
  EXPECT_THAT(log, ElementsAre("a.update", "a.compute"));
  EXPECT_TRUE(b->input.isNew(8));
}

TEST_F(Evaluation, TakesTouchesDuringUpdateAlong) {
  unsigned int seen = 0;
  a->onUpdate = [&] { a->touch(57344); };
  b->onUpdate = [&] { seen = b->input.getNewFlags(); };
  a->fire(1);
  EXPECT_EQ(seen, 57344u);
  EXPECT_FALSE(a->isNew());
  EXPECT_EQ(std::count(log.begin(), log.end(), "a.update"), 1);
}

TEST_F(Evaluation, OfADiamondComputesEachObjectOnce) {
  McHandle<TestData> c = new TestData(log, "c");
  McHandle<TestModule> d = new TestModule(log, "d");
  c->input.connect(a);
  // The long way, a -> b -> d, is connected after the short one.
  d->second.connect(a);
  d->dataConnection.connect(b);
  d->fire(1);
  log.clear();

  b->onUpdate = [&] { b->touch(8); };
  a->touch(8);
  a->fire(1);
  EXPECT_EQ(std::count(log.begin(), log.end(), "d.compute"), 1);
  EXPECT_LT(std::find(log.begin(), log.end(), "b.compute"), std::find(log.begin(), log.end(), "d.update"));
  EXPECT_EQ(std::count(log.begin(), log.end(), "c.compute"), 1);
}

TEST_F(Evaluation, AskedForWhileRunningIsRunOnceMore) {
  int wishes = 1;
  a->onCompute = [&] {
    if (wishes-- > 0) a->fire(1);
  };
  a->fire(1);
  EXPECT_THAT(log, ElementsAre("a.update", "a.compute", "b.update", "b.compute",  //
                               "a.update", "a.compute", "b.update", "b.compute"));
}

TEST_F(Evaluation, OfAnObjectThatAlwaysFiresItselfEnds) {
  a->onCompute = [&] { a->fire(1); };
  a->fire(1);
  EXPECT_EQ(std::count(log.begin(), log.end(), "a.compute"), 2);
  a->fire(1);
  EXPECT_EQ(std::count(log.begin(), log.end(), "a.compute"), 4);
}

TEST_F(Evaluation, ShowsMarksThatCameWithTheWishToTheSecondPass) {
  std::vector<bool> seen;
  a->onUpdate = [&] { seen.push_back(a->input.isNew(512)); };
  a->onCompute = [&] {
    if (seen.size() > 1) return;
    a->input.touch(512);
    a->input.send();
  };
  a->fire(1);
  EXPECT_THAT(seen, ElementsAre(false, true));
  EXPECT_FALSE(a->input.isNew());
}

TEST_F(Evaluation, OfASourceAskedForDownstreamIsRunOnceMoreAfterwards) {
  int wishes = 1;
  b->onCompute = [&] {
    if (wishes-- > 0) a->fire(1);
    log.push_back("b.done");
  };
  a->fire(1);
  EXPECT_THAT(log, ElementsAre("a.update", "a.compute", "b.update", "b.compute", "b.done",  //
                               "a.update", "a.compute", "b.update", "b.compute", "b.done"));
}

TEST_F(Evaluation, OfAnotherObjectIsDoneAtOnceAndNotRepeated) {
  McHandle<TestData> c = new TestData(log, "c");
  c->input.connect(a);
  c->fire(1);
  log.clear();
  b->onCompute = [&] {
    c->fire(1);
    log.push_back("b.done");
  };
  a->touch(8);
  a->fire(1);
  EXPECT_THAT(log, ElementsAre("a.update", "a.compute", "b.update", "b.compute", "c.update", "c.compute", "b.done"));
}

TEST_F(Evaluation, EndsWithAnExceptionAndCanBeBegunAgain) {
  b->onCompute = [] { throw McException("no memory"); };
  a->touch(8);
  EXPECT_THROW(a->fire(1), McException);
  EXPECT_FALSE(a->isBeingEvaluated());
  EXPECT_FALSE(a->isNew());
  EXPECT_FALSE(b->input.isNew());
  b->onCompute = nullptr;
  log.clear();
  a->fire(1);
  EXPECT_THAT(log, ElementsAre("a.update", "a.compute", "b.update", "b.compute"));
}

TEST_F(Evaluation, SurvivesTheDeathOfAnObjectThatWaits) {
  McHandle<TestData> c = new TestData(log, "c");
  c->input.connect(a);
  c->fire(1);
  log.clear();
  b->onUpdate = [&] { c.reset(); };
  a->touch(8);
  a->fire(1);
  EXPECT_THAT(log, ElementsAre("a.update", "a.compute", "b.update", "gone", "b.compute"));
}

TEST_F(Evaluation, KeepsAnObjectThatLosesItsLastHandleMeanwhile) {
  a->onUpdate = [&] { a.reset(); };
  a->fire(1);
  EXPECT_THAT(log, ElementsAre("a.update", "a.compute", "b.update", "b.compute", "gone"));
  EXPECT_EQ(b->input.source(), nullptr);
}

TEST_F(Evaluation, AllowsPortsToComeAndGoDuringUpdate) {
  std::unique_ptr<HxPortDoIt> fresh;
  std::unique_ptr<HxPortDoIt> old = std::make_unique<HxPortDoIt>(a.get(), "old", "Old");
  bool freshWasNew = false;
  a->onUpdate = [&] {
    old.reset();
    fresh = std::make_unique<HxPortDoIt>(a.get(), "fresh", "Fresh");
  };
  a->onCompute = [&] { freshWasNew = fresh->isNew(4); };
  a->fire(1);
  EXPECT_TRUE(freshWasNew);
  EXPECT_FALSE(fresh->isNew());
  EXPECT_EQ(a->findPort("old"), nullptr);
  EXPECT_EQ(a->findPort("fresh"), fresh.get());
}

TEST(Port, IsNewWithEveryFlagUntilTheFirstEvaluation) {
  Log log;
  McHandle<TestData> data = new TestData(log);
  EXPECT_EQ(data->input.getNewFlags(), 0xFFFFFFFFu);
  data->fire(1);
  EXPECT_EQ(data->input.getNewFlags(), 0u);
  HxPortDoIt port(data, "other", "Other");
  port.untouch();
  EXPECT_FALSE(port.isNew());
}

TEST_F(Evaluation, TellsSetModifiedAllFlagsSinceTheLastOne) {
  a->touch(8);
  a->touch(128);
  EXPECT_THAT(a->modifications, IsEmpty());
  a->fire(1);
  EXPECT_THAT(a->modifications, ElementsAre(8u | 128u));
  a->fire(1);
  EXPECT_EQ(a->modifications.size(), 1u);
}

TEST_F(Evaluation, LeavesAnObjectSavedWithoutNewTouches) {
  a->touch(8);
  EXPECT_TRUE(a->isModified());
  a->touch(8);
  a->setModified(0);
  a->fire(1);
  EXPECT_FALSE(a->isModified());
}

TEST_F(Evaluation, AcceptsTouchesFromManyThreads) {
  constexpr int kThreads = 8;
  constexpr int kRounds = 2000;
  std::vector<std::vector<std::uint32_t>> times(kThreads);
  {
    std::vector<std::jthread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&, t] {
        for (int i = 0; i < kRounds; ++i) {
          a->touch(1u << t);
          times[static_cast<std::size_t>(t)].push_back(a->getTouchTime());
        }
      });
    }
    for (int i = 0; i < 50; ++i) a->fire(1);
  }
  unsigned int all = 0;
  a->fire(1);
  for (const unsigned int flags : a->modifications) all |= flags;
  EXPECT_EQ(all, (1u << kThreads) - 1);
  EXPECT_FALSE(a->isNew());
  for (const auto& own : times) EXPECT_TRUE(std::is_sorted(own.begin(), own.end()));
}

TEST_F(Evaluation, AdvancesTheTouchTimeWithEveryTouch) {
  std::set<std::uint32_t> times{a->getTouchTime(), b->getTouchTime()};
  for (int i = 0; i < 10; ++i) {
    a->touch(128);
    times.insert(a->getTouchTime());
  }
  EXPECT_EQ(times.size(), 12u);
  EXPECT_EQ(times.count(0xFFFFFFFFu), 0u);
}

}  // namespace
