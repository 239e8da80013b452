#include <gmock/gmock.h>
#include <new>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/widgets/QxApplication.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class GuardedApplication : public ::testing::Test {
protected:
  HxRecordingSink console;
};

TEST_F(GuardedApplication, GoesOnAfterWhatHandlersThrow) {
  EXPECT_FALSE(QxApplication::guarded([]() -> bool { throw McException("no place left"); }));
  EXPECT_FALSE(QxApplication::guarded([]() -> bool { throw std::bad_alloc(); }));
  EXPECT_FALSE(QxApplication::guarded([]() -> bool { throw 1; }));
  EXPECT_THAT(console.errors, ElementsAre("no place left", "std::bad_alloc", "unknown failure"));
}

TEST_F(GuardedApplication, AnswersWhatHandlersAnswer) {
  EXPECT_TRUE(QxApplication::guarded([] { return true; }));
  EXPECT_FALSE(QxApplication::guarded([] { return false; }));
  EXPECT_THAT(console.errors, IsEmpty());
}
