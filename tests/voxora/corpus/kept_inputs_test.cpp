#include <gtest/gtest.h>

#include "fuzz/targets/targets.h"
#include "tests/support/keptInputs.h"

TEST(KeptInputs, Header) {
  replayKeptInputs("header", fuzz::header);
}

TEST(KeptInputs, Index) {
  replayKeptInputs("index", fuzz::index);
}

TEST(KeptInputs, Data) {
  replayKeptInputs("data", fuzz::data);
}
