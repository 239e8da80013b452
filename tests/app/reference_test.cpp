#include <QFile>
#include <gmock/gmock.h>

#include "Program.h"

TEST(Reference, ThePageIsThatOfTheProgram) {
  const Program program;
  const Outcome outcome = program.run({"--command", "reference"});
  ASSERT_EQ(outcome.status, 0) << outcome.errors;
  QFile page(QUARN_SOURCE_DIR "/docs/script-reference.md");
  ASSERT_TRUE(page.open(QIODevice::ReadOnly));
  EXPECT_EQ(outcome.output, page.readAll().toStdString()) << "the page is stale: run scripts/reference";
}
