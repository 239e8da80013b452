#include <QDir>
#include <QFile>
#include <QProcess>
#include <gmock/gmock.h>
#include <signal.h>

#include "tests/app/Program.h"
#include "tests/app/Terminal.h"

using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

constexpr const char* kNotice = "quarn: an earlier run was cut off; quarn --recover shows what can be recovered\n";

/// A program with a temporary storage in which other processes were cut off.
class Recover : public ::testing::Test {
protected:
  Recover() { EXPECT_TRUE(QDir(program.folder()).mkdir("storage")); }

  QString storage() const { return program.file("storage"); }
  QStringList left() const {
    return QDir(storage() + "/tmp-masks").entryList(QDir::Files | QDir::Hidden | QDir::System);
  }

  /// Leaves masks named mask0, mask1, ... as the end of the power would.
  void cutOff(int masks) const {
    QProcess worker;
    worker.start(HXROI_WORKER, {storage(), "hold", QString::number(masks), "1"});
    QByteArray output;
    while (!output.contains("ready")) {
      ASSERT_TRUE(worker.waitForReadyRead(30000));
      output += worker.readAllStandardOutput();
    }
    ASSERT_EQ(0, kill(static_cast<pid_t>(worker.processId()), SIGKILL));
    worker.waitForFinished();
  }

  /// Whether the header of a mask of this name is in the storage.
  bool isStored(const QByteArray& name) const {
    for (const QString& file : left()) {
      QFile header(storage() + "/tmp-masks/" + file);
      if (file.endsWith(".ldm") && header.open(QIODevice::ReadOnly) && header.readAll().contains("<Name>" + name + "<"))
        return true;
    }
    return false;
  }

  /// Whether the record of a set names a ROI.
  bool isRecorded(const QByteArray& name) const {
    for (const QString& file : left()) {
      QFile record(storage() + "/tmp-masks/" + file);
      if (file.endsWith(".set") && record.open(QIODevice::ReadOnly) && record.readAll().contains(name)) return true;
    }
    return false;
  }

  /// Runs a script and sends it the signal as soon as it writes something.
  void endBy(int signal, const QByteArray& script) const {
    QProcess process;
    process.setProcessEnvironment(program.environment);
    process.start(QUARN_PROGRAM, {"--quiet", "--temp", storage(), "--script", program.write("loop.tcl", script)});
    ASSERT_TRUE(process.waitForReadyRead(30000)) << process.readAllStandardError().toStdString();
    EXPECT_FALSE(left().isEmpty());
    ASSERT_EQ(0, kill(static_cast<pid_t>(process.processId()), signal));
    ASSERT_TRUE(process.waitForFinished(10000));
    EXPECT_EQ(QProcess::NormalExit, process.exitStatus());
    EXPECT_EQ(128 + signal, process.exitCode());
  }

  Outcome run(const QStringList& arguments) const { return program.run(QStringList{"--temp", storage()} + arguments); }

  std::string outputOf(const QStringList& arguments) const {
    const Outcome outcome = run(arguments);
    EXPECT_EQ(0, outcome.status) << outcome.errors;
    return outcome.output;
  }

  const Program program;
};

}  // namespace

TEST_F(Recover, NothingIsSaidWhenNothingWasLeft) {
  EXPECT_EQ("nothing to recover\n", outputOf({"--recover"}));
  EXPECT_EQ("nothing to recover\n", outputOf({"--recover", program.file("out")}));
  EXPECT_FALSE(QDir(program.file("out")).exists());
  EXPECT_EQ("0 removed\n", outputOf({"--recover", "--discard"}));
  const Outcome outcome =
      run({"--script", program.write("a.tcl", "puts [recover list][recover load][recover discard]")});
  EXPECT_EQ("0\n", outcome.output);
  EXPECT_THAT(outcome.errors, IsEmpty());
}

TEST_F(Recover, ShowsWhatWasLeft) {
  cutOff(2);
  EXPECT_THAT(outputOf({"--recover"}),
              MatchesRegex("2 left by runs that were cut off:\n"
                           "  mask0: mask, 40 x 33 x 21 voxels, [0-9]+ set, [0-9]+ bytes, .* UTC\n"
                           "  mask1: mask, .* UTC\n"
                           "To save them: quarn --recover FOLDER\n"
                           "To remove them: quarn --recover --discard\n"));
  EXPECT_EQ(7, left().size()) << "the list changed something";
}

TEST_F(Recover, ScriptsAndPromptsTellOfIt) {
  cutOff(1);
  const QString script = program.write("a.tcl", "puts done");
  EXPECT_EQ(kNotice, run({"--script", script}).errors);
  EXPECT_EQ(kNotice, run({"--interactive"}).errors);
  EXPECT_THAT(run({"--quiet", "--script", script}).errors, IsEmpty());
  EXPECT_THAT(run({"--command", "puts done"}).errors, IsEmpty());
}

TEST_F(Recover, SavesIntoANewFolder) {
  cutOff(3);
  const QString folder = program.file("out");
  EXPECT_THAT(outputOf({"--recover", folder}), EndsWith((folder + "/recovered.ROIs.qm\n3 of 3 saved\n").toStdString()));
  EXPECT_THAT(left(), IsEmpty());
  EXPECT_EQ("nothing to recover\n", outputOf({"--recover"}));
  const Outcome loaded = program.run({folder + "/recovered.ROIs.qm", "--command", "puts [[objects] allMasks]"});
  EXPECT_THAT(loaded.output, EndsWith("\nmask0 mask1 mask2\n")) << loaded.errors;
}

TEST_F(Recover, SavesIntoAnEmptyFolderOnly) {
  cutOff(1);
  program.write("notes", "");
  const Outcome outcome = run({"--recover", program.folder()});
  EXPECT_EQ(1, outcome.status);
  EXPECT_EQ("quarn: --recover: " + program.folder().toStdString() + ": the folder is not empty\n", outcome.errors);
  EXPECT_EQ(1, run({"--recover", program.file("notes")}).status);
  EXPECT_EQ(1, run({"--recover", program.file("no/where")}).status);
  EXPECT_EQ(4, left().size());
  EXPECT_TRUE(QDir(program.folder()).mkdir("empty"));
  EXPECT_EQ(0, run({"--recover", program.file("empty")}).status);
  EXPECT_THAT(left(), IsEmpty());
}

TEST_F(Recover, DamagedWorkIsToldAndStaysUntilItIsDiscarded) {
  cutOff(2);
  const QStringList headers = QDir(storage() + "/tmp-masks").entryList({"*.ldm"});
  QFile header(storage() + "/tmp-masks/" + headers.front());
  ASSERT_TRUE(header.resize(20));
  EXPECT_THAT(outputOf({"--recover"}), HasSubstr("cannot be recovered: "));
  const Outcome outcome = run({"--recover", program.file("out")});
  EXPECT_EQ(1, outcome.status);
  EXPECT_THAT(outcome.output, EndsWith("\n1 of 2 saved\n"));
  EXPECT_THAT(outcome.errors, HasSubstr("cannot be recovered: "));
  EXPECT_EQ(3, left().size());
  EXPECT_EQ("1 removed\n", outputOf({"--recover", "--discard"}));
  EXPECT_THAT(left(), IsEmpty());
}

TEST_F(Recover, DiscardRemovesEverything) {
  cutOff(3);
  EXPECT_EQ("3 removed\n", outputOf({"--recover", "--discard"}));
  EXPECT_THAT(left(), IsEmpty());
}

TEST_F(Recover, ScriptsLoadIt) {
  cutOff(2);
  EXPECT_THAT(outputOf({"--command", "puts [llength [recover list]]; puts [[recover load] allMasks]; recover list"}),
              ContainsRegex("^2\nmask0 mask1\n.*mask0: .*mask1: "));
  EXPECT_EQ(1, run({"--command", "recover nonsense"}).status);
}

TEST_F(Recover, WhatScriptsLoadStaysUntilItIsDiscarded) {
  cutOff(2);
  EXPECT_EQ("1 0\n", outputOf({"--command", "puts [list [llength [recover load]] [llength [recover load]]]"}));
  EXPECT_EQ(7, left().size()) << "header, data and index of two masks, and the mark of the dead";
  EXPECT_THAT(outputOf({"--recover"}), StartsWith("2 left"));
  const QByteArray target = program.file("kept.ROIs.qm").toUtf8();
  EXPECT_THAT(outputOf({"--command", "[recover load] save QuarnMesh {" + target + "}; puts [recover discard]"}),
              EndsWith("\n2\n"));
  EXPECT_THAT(left(), IsEmpty());
}

TEST_F(Recover, WorkIsWrittenAtIntervals) {
  const QByteArray work = "set r [recover load]\nrecover discard\n$r mergeMasks mask0 mask1\n";
  // After a command of an object, after one of the host, and while the program waits.
  for (const char* next : {"$r allMasks", "objects", ""}) {
    const bool isScript = *next != '\0';
    const QString script = program.write("work.tcl", work + "after 1100\n" + next + "\nafter 60000\n");
    cutOff(2);
    QProcess process;
    process.setProcessEnvironment(program.environment);
    const QStringList mode = isScript ? QStringList{"--script", script} : QStringList{"--interactive"};
    process.start(QUARN_PROGRAM, QStringList{"--quiet", "--temp", storage(), "--set", "Recovery Interval=1"} + mode);
    if (!isScript) process.write(work);
    for (int i = 0; i < 3000 && !isRecorded("mask0-merged"); ++i) process.waitForFinished(10);
    EXPECT_TRUE(isStored("mask0-merged")) << "the record of a set comes after its masks";
    ASSERT_EQ(0, kill(static_cast<pid_t>(process.processId()), SIGKILL));
    process.waitForFinished();
    EXPECT_THAT(outputOf({"--recover"}), AllOf(StartsWith("4 left"), HasSubstr("mask0-merged: mask, 40 x"),
                                               HasSubstr("recovered: ROI set, 3 masks")));
    outputOf({"--recover", "--discard"});
  }
}

TEST_F(Recover, NothingIsLostWhenItCannotBeSaved) {
  cutOff(5);
  QProcess process;
  process.setProcessEnvironment(program.environment);
  process.start("/bin/sh", {"-c", "ulimit -f 1; exec \"$@\"", "sh", QUARN_PROGRAM, "--temp", storage(), "--recover",
                            program.file("out")});
  ASSERT_TRUE(process.waitForFinished(30000));
  EXPECT_EQ(QProcess::NormalExit, process.exitStatus());
  EXPECT_EQ(1, process.exitCode());
  EXPECT_THAT(process.readAllStandardError().toStdString(), HasSubstr(": File too large"));
  EXPECT_FALSE(QDir(program.file("out")).exists());
  EXPECT_THAT(outputOf({"--recover"}), StartsWith("5 left"));
}

TEST_F(Recover, SignalsToEndLeaveUnsavedWorkToBeRecovered) {
  for (const int signal : {SIGTERM, SIGHUP}) {
    for (const bool isSaved : {false, true}) {
      cutOff(2);
      const QString target = program.file(QStringLiteral("saved-%1.ROIs.qm").arg(signal));
      QByteArray text = "set r [recover load]\nrecover discard\n$r mergeMasks mask0 mask1\n";
      if (isSaved) text += "$r save QuarnMesh {" + target.toUtf8() + "}\n";
      endBy(signal, text + "puts ready\nwhile 1 {catch {expr {1 + 1}}}\n");
      if (isSaved) {
        EXPECT_THAT(left(), IsEmpty()) << left().value(0).toStdString();
        continue;
      }
      EXPECT_EQ(10, left().size()) << "the mark stayed";
      EXPECT_EQ(kNotice, run({"--interactive"}).errors);
      EXPECT_THAT(outputOf({"--recover"}), AllOf(StartsWith("4 left"), HasSubstr("mask0-merged: mask, 40 x")));
      EXPECT_EQ("4 removed\n", outputOf({"--recover", "--discard"}));
      EXPECT_THAT(left(), IsEmpty());
    }
  }
}

TEST_F(Recover, SignalsToEndReachAWaitForInput) {
  for (const int signal : {SIGTERM, SIGHUP}) {
    QProcess process;
    process.setProcessEnvironment(program.environment);
    process.start(QUARN_PROGRAM, {"--interactive"});
    process.write("puts started\n");
    ASSERT_TRUE(process.waitForReadyRead(30000));
    ASSERT_EQ(0, kill(static_cast<pid_t>(process.processId()), signal));
    ASSERT_TRUE(process.waitForFinished(10000));
    EXPECT_EQ(128 + signal, process.exitCode());
  }
}

TEST_F(Recover, ReaderOfTheOutputThatLeavesDoesNotKill) {
  QProcess process;
  process.setProcessEnvironment(program.environment);
  const QString loop = program.write("loop.tcl", "while 1 {puts line}\n");
  process.start("/bin/sh", {"-c", QStringLiteral("{ \"$0\" --script \"$1\"; echo status $? >&2; } | head -n 1"),
                            QUARN_PROGRAM, loop});
  ASSERT_TRUE(process.waitForFinished(30000));
  EXPECT_THAT(process.readAllStandardError().toStdString(), HasSubstr("status 1\n"));
}
