#include <gtest/gtest.h>

#include "fuzz/targets/targets.h"
#include "tests/support/keptInputs.h"

#ifdef QUARN_WITH_FORMATS

namespace {

TEST(KeptInputs, Segmentation) {
  replayKeptInputs("segmentation", fuzz::segmentation);
}

TEST(KeptInputs, MaskTable) {
  replayKeptInputs("maskTable", fuzz::maskTable);
}

}  // namespace

#endif
