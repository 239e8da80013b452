#include "quarn/app/Session.h"

#include <QFileInfo>
#include <unistd.h>

#include "quarn/app/Prompt.h"
#include "quarn/app/recovery.h"
#include "quarn/app/report.h"
#include "quarn/app/snapshot.h"
#include "quarn/app/verification.h"
#include "quarn/app/window/display.h"
#include "quarn/app/window/runWindow.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxFileHelpers.h"
#include "quarn/kernel/app/HxInterrupt.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/io/HxRecovery.h"
#include "quarn/kernel/network/HxNetwork.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/packages/HxPackageLoader.h"
#ifdef QUARN_WITH_FORMATS
#include "quarn/formats/registerFormats.h"
#endif
#ifdef QUARN_WITH_VIEW
#include "quarn/view/registerView.h"
#endif

namespace quarn::app {
namespace {

using Mode = CommandLine::Mode;

void requireTemporaryFolder(const char* source, const QString& folder) {
  const auto refuse = [&](const char* why) {
    throw McException(std::string(source) + ": " + McException::excerpt(folder.toStdString()) + ": " + why);
  };
  const QFileInfo info(folder);
  if (!info.exists()) refuse("there is no such folder");
  if (!info.isDir()) refuse("is not a folder");
  if (!HxFileHelpers::isWritable(folder)) refuse("nothing can be written into this folder");
}

void showResult() {
  const QString result = HxInterpreter::instance().result();
  if (!result.isEmpty()) HxMessage::printf("%s", result.toUtf8().constData());
}

}  // namespace

Session::Session(const CommandLine& line) : line_(line), terminal_(isUnattended()), begin_(HxMessage::mark()) {
  terminal_.setQuiet(line.quiet);
  HxMessage::setSink(&terminal_);
  HxApplication::setUnattended(isUnattended());
}

Session::~Session() {
  try {
    if (HxInterrupt::endSignal() != 0) HxRecovery::instance().keepUnsaved();
    HxObjectPool::instance().clear();
    HxPackageLoader::instance().unloadAll();
  } catch (const std::exception& error) {
    printError(QString::fromUtf8(error.what()));
  }
  HxMessage::flushStream();
  HxMessage::setSink(nullptr);
}

void Session::prepare() {
  if (line_.temporaryDirectory) requireTemporaryFolder("--temp", *line_.temporaryDirectory);
  HxPreferences& preferences = *HxApplication::instance()->settings()->getPreferences();
  for (const auto& [key, value] : line_.preferences) preferences.set(key, value);
  if (line_.temporaryDirectory)
    preferences.setTemporaryDirectory(QFileInfo(*line_.temporaryDirectory).absoluteFilePath());
  requireTemporaryFolder("Temporary Directory", preferences.getTemporaryDirectory());
  HxInterpreter::instance();
  HxInterrupt::install();
  loadPackages();
#ifdef QUARN_WITH_FORMATS
  quarn::formats::registerFormats();
#endif
#ifdef QUARN_WITH_VIEW
  quarn::view::registerView();
#endif
}

void Session::loadPackages() {
  HxPackageLoader& loader = HxPackageLoader::instance();
  for (const QString& folder : line_.packagePaths) loader.addPath(QFileInfo(folder).absoluteFilePath());
  loader.addDefaultPaths();
  for (const QString& problem : loader.loadAll()) HxMessage::warning(problem);
}

void Session::loadFiles() {
  for (const QString& file : line_.files) loadFile(file);
}

void Session::loadFile(const QString& file) {
  try {
    const QStringList names = HxFileTypes::instance().load(file);
    HxMessage::printf("%s: %s", file.toUtf8().constData(), names.join(QStringLiteral(", ")).toUtf8().constData());
  } catch (const McException& failure) {
    // The user can go on with what has come of a network.
    if (!takesCommands() || !HxNetwork::hasSuffix(file)) throw;
    HxMessage::error(QString::fromUtf8(failure.what()));
  }
}

bool Session::takesCommands() const {
  return line_.mode == Mode::Interactive || (line_.mode == Mode::None && isatty(STDIN_FILENO));
}

int Session::run() {
  if (line_.mode == Mode::Recover) return recoverWork(line_.files.value(0), line_.discard);
  if (line_.mode == Mode::Verify) return verifyFiles(line_.files, line_.quiet);
  if ((takesCommands() || line_.mode == Mode::Script) && !line_.quiet) tellOfLostWork();
  if (line_.mode == Mode::Window) return runWindow(line_.files);
  loadFiles();
  const int status = runMode();
  HxMessage::flushStream();
  const bool criticalShown = HxMessage::mark().criticals > begin_.criticals;
  return status == 0 && isUnattended() && criticalShown ? FAILURE : status;
}

bool Session::isUnattended() const {
  return line_.mode == Mode::Script || line_.mode == Mode::Command || line_.mode == Mode::Snapshot;
}

int Session::runMode() {
  switch (line_.mode) {
    case Mode::Script:
      return runScript();
    case Mode::Command:
      return runCommand();
    case Mode::Interactive:
      return Prompt(terminal_).run();
    case Mode::Snapshot:
      return drawSnapshot(line_.snapshot);
    case Mode::None:
      return isatty(STDIN_FILENO) ? Prompt(terminal_).run() : 0;
    case Mode::Window:
    case Mode::Recover:
    case Mode::Verify:
    case Mode::Help:
    case Mode::Version:
      break;
  }
  return 0;
}

int Session::runScript() {
  HxInterpreter& interpreter = HxInterpreter::instance();
  interpreter.setArguments(line_.script, line_.scriptArguments);
  return statusOf(interpreter.evaluateFile(line_.script));
}

int Session::runCommand() {
  HxInterpreter& interpreter = HxInterpreter::instance();
  interpreter.setArguments(QStringLiteral("quarn"), {});
  const std::optional<HxScriptError> error = interpreter.evaluate(line_.command);
  if (!error) showResult();
  return statusOf(error);
}

int Session::statusOf(const std::optional<HxScriptError>& error) const {
  if (!error) return 0;
  if (error->exitStatus) return *error->exitStatus;
  reportError(*error, terminal_);
  return error->interrupted ? INTERRUPTED : FAILURE;
}

namespace {

int tellFailure(const std::exception& error) {
  printError(QStringLiteral("quarn: ") + QString::fromUtf8(error.what()));
  return HxInterrupt::wasRequested() ? Session::INTERRUPTED : Session::FAILURE;
}

/// The wish to stop is looked at before the end of the session, which forgets it.
int runSession(const CommandLine& line) {
  Session session(line);
  try {
    session.prepare();
    return session.run();
  } catch (const std::exception& error) {
    return tellFailure(error);
  }
}

int runChecked(const QStringList& words) {
  try {
    const CommandLine line = withWindow(CommandLine::parse(words.mid(1)));
    const bool nothingAsked = line.mode == Mode::None && line.files.isEmpty();
    if (line.mode == Mode::Version) {
      printOut(HxSkin().getSaveInfo());
      return 0;
    }
    if (line.mode == Mode::Help || nothingAsked) {
      printOut(CommandLine::help());
      return 0;
    }
    return runSession(line);
  } catch (const std::exception& error) {
    return tellFailure(error);
  }
}

}  // namespace

int runProgram(const QStringList& words) {
  const int status = runChecked(words);
  return HxInterrupt::endSignal() ? Session::SIGNALLED + HxInterrupt::endSignal() : status;
}

}  // namespace quarn::app
