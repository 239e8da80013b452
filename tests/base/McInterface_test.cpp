#include "quarn/base/McInterface.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "quarn/base/McHandable.h"
#include "quarn/base/McHandle.h"
#include "quarn/base/McInterfaceOwner.h"
#include "quarn/base/mcinterface_cast.h"

namespace {

class Owner : public McInterfaceOwner {};

class OtherOwner : public McHandable, public McInterfaceOwner {};

class Speaker : public McInterface {
public:
  Speaker(McInterfaceOwner* owner, int flag, std::vector<std::string>* log = nullptr, std::string name = "")
      : McInterface(owner, flag), log_(log), name_(std::move(name)) {}
  ~Speaker() override {
    if (log_) log_->push_back(name_);
  }

private:
  std::vector<std::string>* log_;
  std::string name_;
};

class LoudSpeaker : public Speaker {
public:
  using Speaker::Speaker;
};

class Listener : public McInterface {
public:
  using McInterface::McInterface;
};

class CountedListener : public McHandable, public Listener {
public:
  using Listener::Listener;
};

TEST(McInterface, AttachesItselfToItsOwner) {
  Owner owner;
  const auto* speaker = new Speaker(&owner, 1);
  EXPECT_EQ(speaker->owner(), &owner);
  EXPECT_TRUE(speaker->isOwned());
  ASSERT_EQ(owner.interfaces().size(), 1U);
  EXPECT_EQ(owner.interfaces().front(), speaker);
}

TEST(McInterface, OwnerDeletesItsInterfacesLatestFirst) {
  std::vector<std::string> log;
  {
    Owner owner;
    new Speaker(&owner, 1, &log, "first");
    new Speaker(&owner, 1, &log, "second");
    EXPECT_TRUE(log.empty());
  }
  EXPECT_EQ(log, (std::vector<std::string>{"second", "first"}));
}

TEST(McInterface, OwnerDetachesWhatItDoesNotOwn) {
  auto owner = std::make_unique<Owner>();
  std::vector<std::string> log;
  const Speaker speaker(owner.get(), 0, &log, "mine");
  EXPECT_FALSE(speaker.isOwned());
  owner.reset();
  EXPECT_EQ(speaker.owner(), nullptr);
  EXPECT_TRUE(log.empty());
}

TEST(McInterface, LeavesItsOwnerWhenItDiesFirst) {
  Owner owner;
  const auto* speaker = new Speaker(&owner, 1);
  const auto* listener = new Listener(&owner, 1);
  delete speaker;
  ASSERT_EQ(owner.interfaces().size(), 1U);
  EXPECT_EQ(owner.interfaces().front(), listener);
}

TEST(McInterface, ExistsWithoutAnOwner) {
  const Speaker speaker(nullptr, 1);
  EXPECT_EQ(speaker.owner(), nullptr);
  EXPECT_EQ(mcinterface_cast<McInterfaceOwner>(&speaker), nullptr);
}

TEST(McInterface, DeleteInterfacesMayComeEarlyAndTwice) {
  std::vector<std::string> log;
  Owner owner;
  new Speaker(&owner, 1, &log, "gone");
  owner.deleteInterfaces();
  EXPECT_EQ(log.size(), 1U);
  EXPECT_TRUE(owner.interfaces().empty());
  owner.deleteInterfaces();
  EXPECT_EQ(log.size(), 1U);
}

TEST(McInterface, MaySeeItsOwnerWhileItIsDeletedEarly) {
  class Watching : public McInterface {
  public:
    Watching(McInterfaceOwner* owner, bool& seen) : McInterface(owner, 1), seen_(seen) {}
    ~Watching() override { seen_ = mcinterface_cast<Owner>(this) != nullptr; }

  private:
    bool& seen_;
  };
  Owner owner;
  bool seen = false;
  new Watching(&owner, seen);
  owner.deleteInterfaces();
  EXPECT_TRUE(seen);
}

TEST(McInterface, MayTakeAnotherAlongWhenItDies) {
  class Leader : public Speaker {
  public:
    Leader(McInterfaceOwner* owner, McInterface* follower) : Speaker(owner, 1), follower_(follower) {}
    ~Leader() override { delete follower_; }

  private:
    McInterface* follower_;
  };
  std::vector<std::string> log;
  Owner owner;
  auto* follower = new Speaker(&owner, 1, &log, "follower");
  new Leader(&owner, follower);
  owner.deleteInterfaces();
  EXPECT_EQ(log, std::vector<std::string>{"follower"});
  EXPECT_TRUE(owner.interfaces().empty());
}

TEST(McInterface, ReferredInterfaceOutlivesItsOwner) {
  auto owner = std::make_unique<Owner>();
  const McHandle<CountedListener> listener = new CountedListener(owner.get(), 1);
  owner.reset();
  EXPECT_EQ(listener->owner(), nullptr);
  EXPECT_EQ(listener->refCount(), 1);
}

TEST(McInterfaceCast, NullGivesNull) {
  EXPECT_EQ(mcinterface_cast<Owner>(static_cast<McInterfaceOwner*>(nullptr)), nullptr);
  EXPECT_EQ(mcinterface_cast<Owner>(static_cast<const McInterface*>(nullptr)), nullptr);
  EXPECT_EQ(mcinterface_cast<Owner>(nullptr), nullptr);
  EXPECT_EQ(mcinterface_cast<Owner>(McHandle<OtherOwner>()), nullptr);
}

TEST(McInterfaceCast, GivesTheObjectItself) {
  Owner owner;
  McInterfaceOwner* object = &owner;
  EXPECT_EQ(mcinterface_cast<Owner>(object), &owner);
  EXPECT_EQ(mcinterface_cast<McInterfaceOwner>(&owner), &owner);
  EXPECT_EQ(mcinterface_cast<OtherOwner>(object), nullptr);
}

TEST(McInterfaceCast, FindsAnAttachedInterface) {
  Owner owner;
  new Listener(&owner, 1);
  auto* loud = new LoudSpeaker(&owner, 1);
  new Speaker(&owner, 1);
  EXPECT_EQ(mcinterface_cast<LoudSpeaker>(&owner), loud);
  EXPECT_EQ(mcinterface_cast<Speaker>(&owner), loud);
  EXPECT_EQ(mcinterface_cast<CountedListener>(&owner), nullptr);
}

TEST(McInterfaceCast, FindsTheOwnerOfAnInterface) {
  OtherOwner owner;
  McInterface* speaker = new Speaker(&owner, 1);
  EXPECT_EQ(mcinterface_cast<OtherOwner>(speaker), &owner);
  EXPECT_EQ(mcinterface_cast<McHandable>(speaker), &owner);
  EXPECT_EQ(mcinterface_cast<Speaker>(speaker), speaker);
  EXPECT_EQ(mcinterface_cast<Owner>(speaker), nullptr);
}

TEST(McInterfaceCast, DoesNotReachTheSiblingsOfAnInterface) {
  Owner owner;
  McInterface* speaker = new Speaker(&owner, 1);
  new Listener(&owner, 1);
  EXPECT_EQ(mcinterface_cast<Listener>(speaker), nullptr);
}

TEST(McInterfaceCast, StartsFromAnyPolymorphicBase) {
  OtherOwner owner;
  auto* speaker = new Speaker(&owner, 1);
  McHandable* handable = &owner;
  EXPECT_EQ(mcinterface_cast<Speaker>(handable), speaker);
  EXPECT_EQ(mcinterface_cast<OtherOwner>(handable), &owner);
  const McHandle<OtherOwner> handle = new OtherOwner;
  EXPECT_EQ(mcinterface_cast<OtherOwner>(handle), handle.get());
}

TEST(McInterfaceCast, KeepsConst) {
  Owner owner;
  const auto* speaker = new Speaker(&owner, 1);
  const McInterfaceOwner* readOnly = &owner;
  static_assert(std::is_same_v<decltype(mcinterface_cast<Speaker>(readOnly)), const Speaker*>);
  static_assert(std::is_same_v<decltype(mcinterface_cast<Speaker>(&owner)), Speaker*>);
  EXPECT_EQ(mcinterface_cast<Speaker>(readOnly), speaker);
  EXPECT_EQ(mcinterface_cast<Owner>(speaker), &owner);
}

}  // namespace
