#include "quarn/base/hxstlhelpers.h"

#include <gtest/gtest.h>

namespace {

TEST(Negate, IsTheLogicalComplement) {
  constexpr hxstlhelpers::Negate<bool> negate;
  EXPECT_TRUE(negate(false));
  EXPECT_FALSE(negate(true));
}

}  // namespace
