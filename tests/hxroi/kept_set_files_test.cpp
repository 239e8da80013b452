#include <gtest/gtest.h>

#include "fuzz/targets/targets.h"
#include "tests/support/keptInputs.h"

TEST(KeptInputs, SetFile) {
  replayKeptInputs("set", fuzz::set);
}
