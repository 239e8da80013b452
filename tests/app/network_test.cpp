#include <QElapsedTimer>
#include <QProcess>
#include <csignal>
#include <gmock/gmock.h>
#include <random>

#include "tests/app/Program.h"

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

TEST(NetworkFiles, AreLoadedFromTheCommandLine) {
  const Program program;
  const Outcome saved =
      program.run({"--command", "create HxColormap c; c save {" + program.file("c.colormap") +
                                    "}; create HxTable t; saveNetwork {" + program.file("a.quarn") + "}"});
  EXPECT_EQ(0, saved.status) << saved.errors;
  const Outcome loaded = program.run({program.file("a.quarn"), "--command", "lsort [objects]"});
  EXPECT_EQ(0, loaded.status) << loaded.errors;
  EXPECT_THAT(loaded.output, HasSubstr("a.quarn: c, t\n"));
}

TEST(NetworkFiles, ThatComeBackInPartFailUnlessTheUserGoesOn) {
  const Program program;
  const QString file = program.write("a.quarn", "# quarn network 1\nload no.nii -as brain\ncreate HxTable t\n");
  const Outcome unattended = program.run({file, "--command", "objects"});
  EXPECT_EQ(1, unattended.status);
  EXPECT_THAT(unattended.errors, HasSubstr("a.quarn:2: "));
  const Outcome attended = program.run({file, "--interactive"}, "puts <[objects]>\n");
  EXPECT_THAT(attended.output, HasSubstr("<t>"));
  EXPECT_THAT(attended.errors + attended.output, HasSubstr("brain did not come back"));
}

TEST(NetworkFiles, StopOnCtrlCAsScriptsDo) {
  const Program program;
  const QString first = program.write("first.quarn", "# quarn network 1\ncreate HxTable t\n");
  const QString endless = program.write("endless.quarn", "# quarn network 1\nwhile 1 {}\n");
  QProcess process;
  process.setProcessEnvironment(program.environment);
  process.start(QUARN_PROGRAM, {first, endless, "--command", "puts no"});
  ASSERT_TRUE(process.waitForReadyRead(30000));
  ASSERT_EQ(0, kill(static_cast<pid_t>(process.processId()), SIGINT));
  ASSERT_TRUE(process.waitForFinished(10000));
  EXPECT_EQ(QProcess::NormalExit, process.exitStatus());
  EXPECT_EQ(130, process.exitCode());
  EXPECT_THAT(process.readAllStandardError().toStdString(), HasSubstr("endless.quarn:2: interrupted"));
}

TEST(NetworkFiles, AreWholeWheneverTheProgramIsKilled) {
  const Program program;
  const QString script = program.write("save.tcl",
                                       "set file [lindex $argv 0]\n"
                                       "create HxTable first\nsaveNetwork $file\nputs ready\n"
                                       "while 1 {\n"
                                       "  for {set i 0} {$i < 50} {incr i} {create HxTable t$i}\n"
                                       "  saveNetwork $file\n"
                                       "  for {set i 0} {$i < 50} {incr i} {remove t$i}\n"
                                       "  saveNetwork $file\n"
                                       "}\n");
  const QString file = program.file("a.quarn");
  const unsigned int seed = qEnvironmentVariableIntValue("QUARN_TEST_SEED")
                                ? qEnvironmentVariableIntValue("QUARN_TEST_SEED")
                                : std::random_device()();
  SCOPED_TRACE("QUARN_TEST_SEED=" + std::to_string(seed));
  std::mt19937 random(seed);
  for (int round = 0; round < 8; ++round) {
    QProcess process;
    process.setProcessEnvironment(program.environment);
    process.start(QUARN_PROGRAM, {"--script", script, file});
    ASSERT_TRUE(process.waitForReadyRead(30000)) << process.readAllStandardError().toStdString();
    process.waitForFinished(static_cast<int>(random() % 100));
    process.kill();
    process.waitForFinished();
    const Outcome loaded = program.run({file, "--command", "set n [llength [objects]]"});
    EXPECT_EQ(0, loaded.status) << loaded.errors;
    EXPECT_THAT(loaded.output, ::testing::AnyOf(::testing::EndsWith("\n1\n"), ::testing::EndsWith("\n51\n")));
  }
}
