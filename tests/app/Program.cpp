#include "tests/app/Program.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <gtest/gtest.h>

namespace {

constexpr int patience = 60000;  // ms

}  // namespace

Program::Program()
    : environment(QProcessEnvironment::systemEnvironment()),
      folder_(QString::fromStdString(::testing::TempDir()) + QStringLiteral("/app-XXXXXX")) {
  EXPECT_TRUE(folder_.isValid());
  environment.insert("XDG_STATE_HOME", folder_.filePath("state"));
  // What killed programs left elsewhere is no concern of a test.
  EXPECT_TRUE(QDir(folder_.path()).mkdir(QStringLiteral("tmp")));
  environment.insert("TMPDIR", folder_.filePath("tmp"));
}

QString Program::write(const QString& name, const QByteArray& content) const {
  QFile file(folder_.filePath(name));
  EXPECT_TRUE(file.open(QIODevice::WriteOnly));
  EXPECT_EQ(content.size(), file.write(content));
  return file.fileName();
}

Outcome Program::run(const QStringList& arguments, const QByteArray& input) const {
  QProcess process;
  process.setProcessEnvironment(environment);
  process.setWorkingDirectory(folder_.path());
  process.start(QStringLiteral(QUARN_PROGRAM), arguments);
  process.write(input);
  process.closeWriteChannel();
  Outcome outcome;
  if (!process.waitForFinished(patience)) {
    ADD_FAILURE() << "the program does not end";
    process.kill();
    process.waitForFinished();
  } else if (process.exitStatus() == QProcess::NormalExit) {
    outcome.status = process.exitCode();
  }
  outcome.output = process.readAllStandardOutput().toStdString();
  outcome.errors = process.readAllStandardError().toStdString();
  return outcome;
}

Outcome Program::runScript(const QByteArray& script, const QStringList& arguments) const {
  return run(QStringList{"--script", write("script.tcl", script)} + arguments);
}
