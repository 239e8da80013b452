#include <gmock/gmock.h>

#include "quarn/base/McException.h"
#include "quarn/base/McInterface.h"
#include "quarn/base/mcinterface_cast.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/objects/HxInterfaceFactory.h"
#include "quarn/kernel/objects/HxInterfaceFactoryRegistry.h"
#include "tests/kernel/TestObjects.h"

namespace {

using ::testing::ElementsAre;

Log interfaceLog;

/// Looks at its owner while it dies.
class TestInterface : public McInterface {
public:
  explicit TestInterface(McInterfaceOwner* owner) : McInterface(owner, 1) {}
  ~TestInterface() override {
    const auto* data = dynamic_cast<const HxData*>(owner());
    interfaceLog.push_back(data ? "interface of " + data->getLabel().toStdString() : "no owner");
    if (data) interfaceLog.push_back(std::to_string(data->downstreamConnections().size()) + " connections");
  }
  McHandle<TestData> holder;
};

}  // namespace

class TestInterfaceFactory : public HxInterfaceFactory {
public:
  MC_CLASS_DECL(TestInterfaceFactory)

  void attachInterfaces(McInterfaceOwner* owner) override {
    if (!mcinterface_cast<TestInterface>(owner)) new TestInterface(owner);
  }
};

MC_CLASS_IMPL(TestInterfaceFactory, HxInterfaceFactory)

namespace {

class Listener : public HxObjectPoolListener {
public:
  Listener() { HxObjectPool::instance().addListener(this); }

  void objectAdded(HxObject* object) override { log.push_back("+" + object->getName().toStdString()); }
  void objectAboutToBeRemoved(HxObject* object) override { log.push_back("-" + object->getName().toStdString()); }
  void objectRenamed(HxObject* object, const QString& oldName) override {
    log.push_back(oldName.toStdString() + ">" + object->getName().toStdString());
  }
  void objectSelected(HxObject* object) override {
    log.push_back(object ? "!" + object->getName().toStdString() : "!");
  }

  Log log;
};

class Pool : public ::testing::Test {
protected:
  TestData* add(const QString& name) {
    auto* data = new TestData(log, "");
    pool.add(data, name);
    return data;
  }

  HxObjectPool& pool = HxObjectPool::instance();
  HxRecordingSink sink;
  Log log;
  PoolCleaner cleaner;
};

TEST_F(Pool, GivesNamesThatAreUniqueAndPlainInScripts) {
  EXPECT_EQ(add("brain")->getName(), "brain");
  EXPECT_EQ(add("brain")->getName(), "brain2");
  EXPECT_EQ(add("brain")->getName(), "brain3");
  EXPECT_EQ(add("T1")->getName(), "T1");
  EXPECT_EQ(add("T1")->getName(), "T1-2");
  EXPECT_EQ(add("a \"b\" [exec x] $y\\;\n")->getName(), "a__b___exec_x___y___");
  EXPECT_EQ(add("-as")->getName(), "_as");
  EXPECT_EQ(add("")->getName(), "HxData");
  EXPECT_EQ(add(QString(1 << 20, 'x'))->getName().size(), 200);
}

TEST_F(Pool, NeverTakesTheNameOfACommand) {
  EXPECT_EQ(add("puts")->getName(), "puts2");
  EXPECT_EQ(evaluate("set x 5"), "5");
}

TEST_F(Pool, FindsByName) {
  TestData* data = add("brain");
  EXPECT_EQ(HxBasePool::getTheBasePool()->find("brain"), data);
  EXPECT_EQ(HxBasePool::getTheBasePool()->find("Brain"), nullptr);
  EXPECT_EQ(HxBasePool::getTheBasePool()->find(""), nullptr);
  EXPECT_EQ(HxBasePool::getTheBasePool()->find(nullptr), nullptr);
  EXPECT_EQ(data->getLabel(), "brain");
}

TEST_F(Pool, HoldsAReferenceUntilRemoval) {
  TestData* data = add("brain");
  EXPECT_EQ(evaluate("brain getClass"), "HxData");
  pool.remove(data);
  EXPECT_THAT(log, ElementsAre("gone"));
  EXPECT_TRUE(evaluate("brain getClass").starts_with("error: "));
}

TEST_F(Pool, LetsAnObjectRemoveItselfWhileItsCommandRuns) {
  TestData* data = add("brain");
  data->onCompute = [&] { pool.remove(data); };
  EXPECT_EQ(evaluate("brain fire"), "");
  EXPECT_THAT(log, ElementsAre("brain.update", "brain.compute", "gone"));
}

TEST_F(Pool, RemovesTightOwnersAndDisconnectsTheOthers) {
  TestData* field = add("field");
  TestData* tight = add("tight");
  const McHandle<TestData> loose = add("loose");
  tight->input.setTightness(true);
  tight->input.connect(field);
  loose->input.connect(field);
  loose->input.untouch();
  log.clear();
  pool.remove(field);
  EXPECT_EQ(pool.find("tight"), nullptr);
  EXPECT_TRUE(loose->isInPool());
  EXPECT_EQ(loose->input.source(), nullptr);
  EXPECT_EQ(loose->input.getNewFlags(), 1u | 8u);
  EXPECT_THAT(log, ElementsAre("gone", "gone"));
}

TEST_F(Pool, RenamesTogetherWithTheCommand) {
  TestData* data = add("brain");
  add("heart");
  EXPECT_EQ(pool.rename(data, "heart"), "heart2");
  EXPECT_EQ(evaluate("heart2 getLabel"), "heart2");
  EXPECT_EQ(pool.rename(data, "heart2"), "heart2");
  EXPECT_EQ(pool.find("brain"), nullptr);
}

TEST_F(Pool, TellsListeners) {
  Listener listener;
  TestData* data = add("brain");
  pool.select(data);
  pool.rename(data, "heart");
  pool.remove(data);
  EXPECT_THAT(listener.log, ElementsAre("+brain", "!brain", "brain>heart", "-heart"));
  EXPECT_EQ(pool.selected(), nullptr);
}

TEST_F(Pool, ForgetsListenersAndPortsThatDie) {
  { Listener listener; }
  TestData* data = add("brain");
  pool.notifyPortSelectedChanged(&data->input);
  EXPECT_EQ(pool.selectedPort(), &data->input);
  pool.remove(data);
  EXPECT_EQ(pool.selectedPort(), nullptr);
}

TEST_F(Pool, CutsConnectionsBeforeInterfacesDie) {
  interfaceLog.clear();
  McHandle<TestData> source = new TestData(log, "source");
  auto* interface = new TestInterface(source);
  interface->holder = new TestData(log, "held");
  interface->holder->input.connect(source);
  source.reset();
  EXPECT_THAT(interfaceLog, ElementsAre("interface of source", "0 connections"));
  EXPECT_THAT(log, ElementsAre("gone", "gone"));
}

TEST_F(Pool, RunsInterfaceFactoriesForOldAndNewObjects) {
  TestInterfaceFactory::initClass();
  TestData* old = add("old");
  auto& registry = HxInterfaceFactoryRegistry::instance();
  registry.declare("HxData", "TestInterfaceFactory");
  registry.declare("HxData", "TestInterfaceFactory");
  EXPECT_NE(mcinterface_cast<TestInterface>(old), nullptr);
  EXPECT_EQ(old->interfaces().size(), 1u);
  EXPECT_NE(mcinterface_cast<TestInterface>(add("new")), nullptr);
  EXPECT_NE(mcinterface_cast<TestInterface>(HxObject::create("HxColormap")), nullptr);

  registry.withdraw("HxData", "TestInterfaceFactory");
  EXPECT_EQ(mcinterface_cast<TestInterface>(add("later")), nullptr);
  EXPECT_THROW(registry.declare("HxData", "NoSuchFactory"), McException);
  EXPECT_THROW(registry.declare("HxData", "HxColormap"), McException);
}

TEST(Object, IsCreatedByTheNameOfItsClass) {
  EXPECT_NE(dynamic_cast<HxColormap*>(HxObject::create("HxColormap").get()), nullptr);
  for (const char* refused : {"NoSuchClass", "HxData", "HxPortDoIt", ""}) {
    try {
      HxObject::create(refused);
      ADD_FAILURE() << refused;
    } catch (const McException& e) {
      EXPECT_NE(std::string(e.what()).find('"' + std::string(refused) + '"'), std::string::npos) << e.what();
    }
  }
}

}  // namespace
