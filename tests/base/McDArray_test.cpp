#include "quarn/base/McDArray.h"

#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <utility>

using ::testing::ElementsAre;

TEST(McDArray, StartsEmpty) {
  const McDArray<std::string> names;
  EXPECT_TRUE(names.isEmpty());
  EXPECT_EQ(names.size(), 0);
  EXPECT_EQ(names.begin(), names.end());
}

TEST(McDArray, KeepsElementsInTheirOrder) {
  McDArray<std::string> names;
  names.append("a");
  names.append("b");
  names[1] += "2";
  EXPECT_EQ(names.size(), 2);
  EXPECT_EQ(std::as_const(names)[1], "b2");
  EXPECT_THAT(names, ElementsAre("a", "b2"));
  names.clear();
  EXPECT_TRUE(names.isEmpty());
}

TEST(McDArray, HoldsWhatCanOnlyBeMoved) {
  McDArray<std::unique_ptr<int>> numbers;
  numbers.append(std::make_unique<int>(7));
  EXPECT_EQ(*numbers[0], 7);
}

TEST(McDArray, ComparesByContent) {
  const McDArray<std::pair<std::string, std::string>> pairs{{"a", "b"}};
  EXPECT_EQ(pairs, (McDArray<std::pair<std::string, std::string>>{{"a", "b"}}));
  EXPECT_FALSE((pairs == McDArray<std::pair<std::string, std::string>>{}));
}
