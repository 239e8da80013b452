#include "quarn/base/McEnvironment.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace {

constexpr const char* kName = "QUARN_TEST_SWITCH";

class McEnvironmentTest : public ::testing::Test {
protected:
  ~McEnvironmentTest() override { ::unsetenv(kName); }

  static void set(const char* text) { ::setenv(kName, text, 1); }
};

TEST_F(McEnvironmentTest, KnowsTheTruthWordsInAnyCase) {
  for (const char* word : {"1", "true", "TRUE", "yes", "Yes", "on", "oN"}) {
    set(word);
    EXPECT_TRUE(McEnvironment::getBool(kName, false, false)) << word;
  }
  for (const char* word : {"0", "false", "False", "no", "NO", "off", "OFF"}) {
    set(word);
    EXPECT_FALSE(McEnvironment::getBool(kName, true, true)) << word;
  }
}

TEST_F(McEnvironmentTest, UnsetGivesTheThirdArgument) {
  ::unsetenv(kName);
  EXPECT_TRUE(McEnvironment::getBool(kName, false, true));
  EXPECT_FALSE(McEnvironment::getBool(kName, true, false));
}

TEST_F(McEnvironmentTest, EmptyOrUnknownTextGivesTheSecondArgument) {
  for (const char* word : {"", "2", "maybe", " true", "01"}) {
    set(word);
    EXPECT_TRUE(McEnvironment::getBool(kName, true, false)) << word;
    EXPECT_FALSE(McEnvironment::getBool(kName, false, true)) << word;
  }
}

TEST_F(McEnvironmentTest, SetMeansOnUnlessToldOtherwise) {
  ::unsetenv(kName);
  EXPECT_FALSE(McEnvironment::getBool(kName));
  set("");
  EXPECT_TRUE(McEnvironment::getBool(kName));
}

TEST_F(McEnvironmentTest, IsReadAtEveryCall) {
  set("on");
  EXPECT_TRUE(McEnvironment::getBool(kName));
  set("off");
  EXPECT_FALSE(McEnvironment::getBool(kName));
}

}  // namespace
