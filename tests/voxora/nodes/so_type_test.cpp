#include <gtest/gtest.h>

#include "quarn/voxora/nodes/SoType.h"

namespace {

SoType lastAsked;

void* makeNumber(SoType* type) {
  static int number = 42;
  lastAsked = *type;
  return &number;
}

const SoType beforeMain = SoType::createType(SoType::badType(), "TestBeforeMain", makeNumber, 0);

TEST(SoType, IsUsableBeforeMain) {
  EXPECT_FALSE(beforeMain.isBad());
  EXPECT_EQ(SoType::fromName("TestBeforeMain"), beforeMain);
}

TEST(SoType, BadTypeIsBad) {
  EXPECT_TRUE(SoType().isBad());
  EXPECT_EQ(SoType::badType(), SoType());
  EXPECT_TRUE(SoType::fromName("TestNobodyHasThisName").isBad());
  EXPECT_EQ(SoType().createInstance(), nullptr);
  EXPECT_FALSE(SoType().isDerivedFrom(SoType()));
}

TEST(SoType, MakesInstances) {
  const SoType type = SoType::createType(beforeMain, "TestMakes", makeNumber, 0);
  ASSERT_TRUE(type.canCreateInstance());
  EXPECT_EQ(*static_cast<int*>(type.createInstance()), 42);
  EXPECT_EQ(lastAsked, type);
  EXPECT_EQ(type.getName(), SbName("TestMakes"));
  EXPECT_EQ(type.getParent(), beforeMain);
  EXPECT_TRUE(SoType::removeType("TestMakes"));
}

TEST(SoType, AbstractTypesMakeNone) {
  const SoType type = SoType::createType(beforeMain, "TestAbstract");
  EXPECT_FALSE(type.canCreateInstance());
  EXPECT_EQ(type.createInstance(), nullptr);
  EXPECT_TRUE(SoType::removeType("TestAbstract"));
}

TEST(SoType, RegisteringTwiceKeepsTheEntry) {
  EXPECT_EQ(SoType::createType(SoType(), "TestBeforeMain"), beforeMain);
  EXPECT_TRUE(beforeMain.canCreateInstance());
}

TEST(SoType, RemovedTypeIsBadForGoodAndItsNameFree) {
  const SoType old = SoType::createType(beforeMain, "TestRemoved", makeNumber, 0);
  const SoType child = SoType::createType(old, "TestRemovedChild", makeNumber, 0);
  EXPECT_TRUE(SoType::removeType("TestRemoved"));
  EXPECT_FALSE(SoType::removeType("TestRemoved"));
  EXPECT_TRUE(old.isBad());
  EXPECT_EQ(old.createInstance(), nullptr);
  EXPECT_FALSE(child.isBad());
  EXPECT_TRUE(child.getParent().isBad());
  const SoType again = SoType::createType(beforeMain, "TestRemoved", makeNumber, 0);
  EXPECT_FALSE(again.isBad());
  EXPECT_FALSE(again == old);
  EXPECT_TRUE(SoType::removeType("TestRemoved"));
  EXPECT_TRUE(SoType::removeType("TestRemovedChild"));
}

TEST(SoType, DerivationGoesUp) {
  const SoType parent = SoType::createType(beforeMain, "TestParent"), child = SoType::createType(parent, "TestChild");
  EXPECT_TRUE(child.isDerivedFrom(child));
  EXPECT_TRUE(child.isDerivedFrom(parent));
  EXPECT_TRUE(child.isDerivedFrom(beforeMain));
  EXPECT_FALSE(parent.isDerivedFrom(child));
  SoType::removeType("TestChild");
  SoType::removeType("TestParent");
}

}  // namespace
