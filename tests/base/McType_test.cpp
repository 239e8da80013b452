#include "quarn/base/McType.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "quarn/base/McTypedClass.h"
#include "tests/base/Concurrent.h"

// Before main(), as from the constructor of a library.
static const McType earlyType = McType::create("EarlyType", McType(), nullptr);

class ZooThing {
public:
  MC_ROOT_CLASS_DECL(ZooThing)
  virtual ~ZooThing() = default;
};
MC_ROOT_CLASS_IMPL(ZooThing)

class ZooAnimal : public ZooThing {
public:
  MC_CLASS_DECL(ZooAnimal)
  virtual int legs() const = 0;
};
MC_ABSTRACT_CLASS_IMPL(ZooAnimal, ZooThing)

struct ZooLabel {
  virtual ~ZooLabel() = default;
  int number = 17;
};

// The family's root is not the first base, so object and root have different addresses.
class ZooDog : public ZooLabel, public ZooAnimal {
public:
  MC_CLASS_DECL(ZooDog)
  int legs() const override { return 4; }
};
MC_CLASS_IMPL(ZooDog, ZooAnimal)

class ZooCage : public ZooThing {
public:
  MC_CLASS_DECL(ZooCage)
};
MC_CLASS_IMPL(ZooCage, ZooThing)

namespace {

class TypedClass : public ::testing::Test {
protected:
  TypedClass() {
    ZooDog::initClass();
    ZooCage::initClass();
  }
  ~TypedClass() override {
    ZooCage::exitClass();
    ZooDog::exitClass();
    ZooAnimal::exitClass();
    ZooThing::exitClass();
  }
};

void* makeNothing() {
  return nullptr;
}

bool isListed(McType type) {
  return std::ranges::count(McType::types(), type) == 1;
}

TEST(McType, IsUsableBeforeMain) {
  EXPECT_EQ(earlyType.getName(), "EarlyType");
  EXPECT_EQ(McType::find("EarlyType"), earlyType);
}

TEST(McType, BadTypeIsNothing) {
  const McType bad;
  EXPECT_TRUE(bad.isBad());
  EXPECT_FALSE(bad.isRegistered());
  EXPECT_FALSE(bad.canCreateInstance());
  EXPECT_EQ(bad.getName(), "");
  EXPECT_TRUE(bad.getParent().isBad());
  EXPECT_FALSE(bad.isDerivedFrom(bad));
  EXPECT_FALSE(bad.isDerivedFrom(earlyType));
  EXPECT_FALSE(earlyType.isDerivedFrom(bad));
  EXPECT_TRUE(McType::find("NeverRegistered").isBad());
}

TEST(McType, CreatingTwiceGivesTheFirst) {
  const McType first = McType::create("Twice", earlyType, &makeNothing);
  const McType second = McType::create("Twice", McType(), nullptr);
  EXPECT_EQ(first, second);
  EXPECT_EQ(second.getParent(), earlyType);
  EXPECT_TRUE(second.canCreateInstance());
  EXPECT_TRUE(isListed(first));
  McType::remove("Twice");
}

TEST(McType, RemovedTypeIsNoLongerFoundListedOrCreated) {
  const McType type = McType::create("ShortLived", McType(), &makeNothing);
  EXPECT_TRUE(type.isRegistered());
  McType::remove("ShortLived");
  EXPECT_TRUE(McType::find("ShortLived").isBad());
  EXPECT_FALSE(isListed(type));
  EXPECT_FALSE(type.isRegistered());
  EXPECT_FALSE(type.canCreateInstance());
  EXPECT_EQ(type.getName(), "ShortLived");
  McType::remove("ShortLived");
  McType::remove("NeverRegistered");
}

TEST(McType, ChildOutlivesItsParentInTheTable) {
  const McType parent = McType::create("Parent", McType(), nullptr);
  const McType child = McType::create("Child", parent, nullptr);
  McType::remove("Parent");
  EXPECT_TRUE(isListed(child));
  EXPECT_TRUE(child.isDerivedFrom(parent));
  EXPECT_EQ(child.getParent().getName(), "Parent");
  EXPECT_EQ(McType::create("Parent", McType(), nullptr), parent);
  EXPECT_TRUE(child.isDerivedFrom(McType::find("Parent")));
  McType::remove("Child");
  McType::remove("Parent");
}

TEST(McType, ReturningTypeTakesItsNewParentAndFactory) {
  const McType type = McType::create("Returning", McType(), nullptr);
  McType::remove("Returning");
  EXPECT_EQ(McType::create("Returning", earlyType, &makeNothing), type);
  EXPECT_EQ(type.getParent(), earlyType);
  EXPECT_TRUE(type.canCreateInstance());
  McType::remove("Returning");
}

TEST(McType, TypesStandInOrderOfRegistration) {
  const McType b = McType::create("OrderB", McType(), nullptr);
  const McType a = McType::create("OrderA", McType(), nullptr);
  const auto types = McType::types();
  EXPECT_LT(std::ranges::find(types, b), std::ranges::find(types, a));
  McType::remove("OrderA");
  McType::remove("OrderB");
}

TEST(McType, RegistersFromManyThreads) {
  constexpr int kTypes = 200;
  const auto name = [](int i) { return "Threaded" + std::to_string(i); };
  runTogether(4, [&](int) {
    for (int i = 0; i < kTypes; ++i) McType::create(name(i), earlyType, nullptr);
  });
  for (int i = 0; i < kTypes; ++i) {
    EXPECT_TRUE(isListed(McType::find(name(i))));
    EXPECT_TRUE(McType::find(name(i)).isDerivedFrom(earlyType));
    McType::remove(name(i));
  }
}

TEST_F(TypedClass, RegistrationBringsItsAncestors) {
  EXPECT_EQ(McType::find("ZooDog"), ZooDog::getClassTypeId());
  EXPECT_EQ(ZooDog::getClassTypeId().getParent(), ZooAnimal::getClassTypeId());
  EXPECT_EQ(ZooAnimal::getClassTypeId().getParent(), McType::find("ZooThing"));
  EXPECT_TRUE(ZooThing::getClassTypeId().getParent().isBad());
}

TEST_F(TypedClass, DerivationFollowsTheClasses) {
  EXPECT_TRUE(ZooDog::getClassTypeId().isDerivedFrom(ZooThing::getClassTypeId()));
  EXPECT_TRUE(ZooDog::getClassTypeId().isDerivedFrom(ZooDog::getClassTypeId()));
  EXPECT_FALSE(ZooAnimal::getClassTypeId().isDerivedFrom(ZooDog::getClassTypeId()));
  EXPECT_FALSE(ZooCage::getClassTypeId().isDerivedFrom(ZooAnimal::getClassTypeId()));
}

TEST_F(TypedClass, InitAndExitMayBeRepeated) {
  const McType before = ZooDog::getClassTypeId();
  ZooDog::initClass();
  EXPECT_EQ(ZooDog::getClassTypeId(), before);
  EXPECT_TRUE(isListed(before));
  ZooDog::exitClass();
  ZooDog::exitClass();
  EXPECT_FALSE(before.isRegistered());
  EXPECT_TRUE(ZooAnimal::getClassTypeId().isRegistered());
  ZooDog::initClass();
  EXPECT_EQ(ZooDog::getClassTypeId(), before);
  EXPECT_TRUE(before.isRegistered());
}

TEST_F(TypedClass, ParentMayLeaveBeforeItsChild) {
  ZooAnimal::exitClass();
  const auto dog = std::unique_ptr<ZooThing>(McType::find("ZooDog").createInstance<ZooThing>());
  ASSERT_TRUE(dog);
  EXPECT_TRUE(dog->getTypeId().isDerivedFrom(ZooAnimal::getClassTypeId()));
}

TEST_F(TypedClass, ObjectsKnowTheirDynamicType) {
  const ZooDog dog;
  const ZooThing& thing = dog;
  EXPECT_EQ(thing.getTypeId(), ZooDog::getClassTypeId());
}

TEST_F(TypedClass, MakesObjectsByName) {
  const auto dog = std::unique_ptr<ZooDog>(McType::find("ZooDog").createInstance<ZooDog>());
  ASSERT_TRUE(dog);
  EXPECT_EQ(dog->number, 17);
  const auto animal = std::unique_ptr<ZooAnimal>(McType::find("ZooDog").createInstance<ZooAnimal>());
  ASSERT_TRUE(animal);
  EXPECT_EQ(animal->legs(), 4);
}

TEST_F(TypedClass, MakesNoObjectOfAnotherOrAnAbstractClass) {
  EXPECT_EQ(McType::find("ZooCage").createInstance<ZooAnimal>(), nullptr);
  EXPECT_EQ(McType::find("ZooAnimal").createInstance<ZooAnimal>(), nullptr);
  EXPECT_EQ(McType::find("ZooThing").createInstance<ZooThing>(), nullptr);
  EXPECT_EQ(McType().createInstance<ZooThing>(), nullptr);
  EXPECT_EQ(ZooAnimal::createInstance(), nullptr);
}

TEST_F(TypedClass, FreeFunctionsDoTheSame) {
  mcExitClass_ZooCage();
  EXPECT_TRUE(McType::find("ZooCage").isBad());
  mcInitClass_ZooCage();
  EXPECT_EQ(McType::find("ZooCage"), ZooCage::getClassTypeId());
}

}  // namespace
