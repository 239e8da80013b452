#include <cstdlib>
#include <gtest/gtest.h>

#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxPreferences.h"

/// Runs the tests with the memory budget that the environment asks for, as the preference takes it.
namespace {

class MemoryEnvironment : public testing::Environment {
public:
  void SetUp() override {
    const char* asked = std::getenv("QUARN_TEST_MEMORY");
    if (asked) HxApplication::instance()->settings()->getPreferences()->set("LDA > Main Memory", asked);
  }
};

const testing::Environment* const added = testing::AddGlobalTestEnvironment(new MemoryEnvironment);

}  // namespace
