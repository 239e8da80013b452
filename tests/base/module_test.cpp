#include <cstdint>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "quarn/base/McException.h"
#include "quarn/base/McInterfaceOwner.h"
#include "quarn/base/McType.h"
#include "quarn/base/mcinterface_cast.h"
#include "tests/base_module/Beacon.h"

namespace {

/// A library opened with local symbols, as packages are.
class Library {
public:
  explicit Library(const char* file) : handle_(::dlopen(file, RTLD_NOW | RTLD_LOCAL)) {
    if (!handle_) throw McException(::dlerror());
  }

  template <class F>
  F* function(const char* name) const {
    void* symbol = ::dlsym(handle_, name);
    if (!symbol) throw McException(std::string("The test library lacks the function ") + name);
    return reinterpret_cast<F*>(symbol);
  }

private:
  void* handle_;
};

class Module : public ::testing::Test {
protected:
  Module() { library_.function<void()>("mcInitClass_ModuleBeacon")(); }
  ~Module() override { library_.function<void()>("mcExitClass_ModuleBeacon")(); }

  const Library library_{QUARN_TEST_MODULE};
};

TEST_F(Module, RegistersItsClassByTheFreeFunctions) {
  const McType type = McType::find("ModuleBeacon");
  ASSERT_FALSE(type.isBad());
  EXPECT_EQ(type.getParent(), McInterfaceOwner::getClassTypeId());
  library_.function<void()>("mcExitClass_ModuleBeacon")();
  EXPECT_TRUE(McType::find("ModuleBeacon").isBad());
}

TEST_F(Module, ObjectsAreMadeAndCastOnThisSide) {
  const auto object =
      std::unique_ptr<McInterfaceOwner>(McType::find("ModuleBeacon").createInstance<McInterfaceOwner>());
  ASSERT_TRUE(object);
  EXPECT_EQ(object->getTypeId().getName(), "ModuleBeacon");
  auto* beacon = mcinterface_cast<Beacon>(object.get());
  ASSERT_TRUE(beacon);
  EXPECT_EQ(beacon->color(), "green");
  EXPECT_EQ(mcinterface_cast<McInterfaceOwner>(beacon), object.get());
}

TEST_F(Module, ExceptionsAreCaughtOnThisSide) {
  try {
    library_.function<void()>("throwFromModule")();
    FAIL() << "no exception";
  } catch (const McException& failure) {
    EXPECT_STREQ(failure.what(), "thrown by the module");
  }
}

TEST_F(Module, LibrariesShareOneTimeStampCounter) {
  const Library other(QUARN_TEST_OTHER_MODULE);
  auto* stampHere = library_.function<std::uint64_t()>("nextBeaconStamp");
  auto* stampThere = other.function<std::uint64_t()>("nextBeaconStamp");
  ASSERT_NE(stampHere, stampThere);
  const std::uint64_t first = stampHere();
  EXPECT_EQ(stampThere(), first + 1);
  EXPECT_EQ(stampHere(), first + 2);
}

}  // namespace
