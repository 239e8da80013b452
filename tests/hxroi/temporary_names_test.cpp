#include <gtest/gtest.h>

#include "hxroi/details/TemporaryNames.h"

namespace names = hxroi::details::TemporaryNames;

TEST(TemporaryNames, StemIsMadeOfTimeCounterAndProcess) {
  EXPECT_EQ(names::stem("20260115T093012.004211", 3, 18344), "20260115T093012.004211-3-18344");
  EXPECT_EQ(names::timeNow().size(), 22U);
  EXPECT_LT(names::timeNow(), "3");
}

TEST(TemporaryNames, StemIsFoundInEveryFileOfAMask) {
  for (const char* end : {".ldm", ".dat", ".fcp", ".dat~7d0c93a1b2f4e865", ".ldm~new-18344-2"}) {
    const auto stem = names::stemOf(std::string("20260115T093012.004211-3-18344") + end);
    ASSERT_TRUE(stem) << end;
    EXPECT_EQ(stem->text, "20260115T093012.004211-3-18344");
    EXPECT_EQ(stem->time, "20260115T093012.004211");
    EXPECT_EQ(stem->counter, 3);
    EXPECT_EQ(stem->process, 18344);
  }
}

TEST(TemporaryNames, OtherNamesHaveNoStem) {
  for (const char* name : {"", "a", ".ldm", "20260115T093012.004211-3-18344", "20260115T093012.004211-3-18344x.ldm",
                           "20260115T093012.004211-3-.ldm", "20260115T093012.004211--18344.ldm",
                           "20260115T093012.00421-3-18344.ldm", "x20260115T093012.004211-3-18344.ldm",
                           "20260115T093012.004211-3-99999999999999999999.ldm", "owner-18344-0.lock"}) {
    EXPECT_FALSE(names::stemOf(name)) << name;
  }
}

TEST(TemporaryNames, MarksTellTheirProcess) {
  EXPECT_EQ(names::ownerMark(18344, 2), "owner-18344-2.lock");
  EXPECT_EQ(names::processOfMark("owner-18344-2.lock"), 18344);
  for (const char* name : {"", "owner-18344-2", "owner-18344.lock", "owner--2.lock", "owner-1-2.lock~",
                           "xowner-1-2.lock", "recovery.lock"}) {
    EXPECT_FALSE(names::processOfMark(name)) << name;
  }
}
