#include <gmock/gmock.h>

#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/ports/HxPortDoIt.h"
#include "tests/kernel/TestObjects.h"

namespace {

using ::testing::ElementsAre;

class CompModule : public ::testing::Test {
protected:
  HxObjectPool& pool = HxObjectPool::instance();
  HxRecordingSink sink;
  Log log;
  McHandle<TestModule> module = new TestModule(log, "m");
  HxPortDoIt doIt{module, "doIt", "Do It", 1};
  PoolCleaner cleaner;
};

TEST_F(CompModule, EvaluatesAResultAfterItself) {
  McHandle<TestData> result = new TestData(log, "r");
  McHandle<TestData> reader = new TestData(log, "reader");
  reader->input.connect(result);
  module->onCompute = [&] {
    module->setResult(result, 0xFFFFFFFFu);
    log.push_back("set");
  };
  module->fire(1);
  EXPECT_THAT(log,
              ElementsAre("m.update", "m.compute", "set", "r.update", "r.compute", "reader.update", "reader.compute"));
  EXPECT_EQ(result->baseConnection.source(), module);
  EXPECT_FALSE(result->isNew());
}

TEST_F(CompModule, EvaluatesAResultSetFromOutsideAtOnce) {
  McHandle<TestData> result = new TestData(log, "r");
  module->setResult(result);
  EXPECT_THAT(log, ElementsAre("r.update", "r.compute"));
}

TEST_F(CompModule, RemembersTheTouchTimeOfTheResult) {
  EXPECT_EQ(module->findResultSlot(0), nullptr);
  EXPECT_EQ(module->resultObject(0), nullptr);
  McHandle<TestData> result = new TestData(log, "r");
  module->setResult(result);
  ASSERT_NE(module->findResultSlot(0), nullptr);
  EXPECT_EQ(module->findResultSlot(0)->getTouchTime(), result->getTouchTime());
  result->touch(8);
  EXPECT_NE(module->findResultSlot(0)->getTouchTime(), result->getTouchTime());
}

TEST_F(CompModule, KeepsResultsOutOfThePoolWhenItIsNotThereItself) {
  McHandle<TestData> result = new TestData(log, "r");
  module->setResult(result);
  EXPECT_FALSE(result->isInPool());
  EXPECT_EQ(module->resultObject(0), result);
}

TEST_F(CompModule, BringsResultsIntoThePoolNamedAfterTheInput) {
  McHandle<TestData> input = new TestData(log, "");
  pool.add(input, "atlas");
  pool.add(module, "m");
  module->dataConnection.connect(input);
  module->onCompute = [&] {
    if (doIt.wasHit(0)) module->setResult(new HxColormap);
  };
  EXPECT_EQ(evaluate("m getResult"), "error: \"m\" has no result.");
  EXPECT_EQ(evaluate("m doIt hit; m compute; m getResult"), "atlas-Colormap");
  EXPECT_NE(pool.find("atlas-Colormap"), nullptr);
  EXPECT_FALSE(doIt.wasHit(0));
}

TEST_F(CompModule, ForgetsAResultThatLeavesThePool) {
  pool.add(module, "m");
  McHandle<TestData> result = new TestData(log, "r");
  module->setResult(result);
  ASSERT_TRUE(result->isInPool());
  pool.remove(result);
  EXPECT_EQ(module->resultObject(0), nullptr);
  EXPECT_EQ(result->baseConnection.source(), nullptr);
}

TEST_F(CompModule, LeavesItsResultsInThePoolWhenItGoes) {
  pool.add(module, "m");
  McHandle<TestData> result = new TestData(log, "r");
  module->setResult(result);
  pool.remove(module);
  EXPECT_TRUE(result->isInPool());
  EXPECT_EQ(result->baseConnection.source(), nullptr);
}

TEST_F(CompModule, DisconnectsTheFormerResultOfASlot) {
  McHandle<TestData> first = new TestData(log, "1");
  McHandle<TestData> second = new TestData(log, "2");
  module->setResult(first);
  module->setResult(second);
  EXPECT_EQ(first->baseConnection.source(), nullptr);
  EXPECT_EQ(second->baseConnection.source(), module);
  module->setResult(nullptr);
  EXPECT_EQ(module->resultObject(0), nullptr);
  EXPECT_EQ(second->baseConnection.source(), nullptr);
}

}  // namespace
