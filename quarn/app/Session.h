#pragma once

#include <QStringList>

#include "quarn/app/CommandLine.h"
#include "quarn/app/RunSink.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/script/HxInterpreter.h"

namespace quarn::app {

/// One run of the program, from the preferences to the last object.
///
/// Exit status: 0; 1 after an error, or after a critical message of a script or command; 130 when the user stopped it
/// with Ctrl-C; 128 and the number of another signal that asked it to end; or the status that the command `exit` was
/// given.
class Session {
public:
  explicit Session(const CommandLine& line);
  /// Empties the pool, so that temporary files go, and closes the packages. After a signal to end, files of objects
  /// that are not saved stay to be recovered.
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Preferences, temporary folder, packages, file types. Throws McException naming what is wrong.
  void prepare();
  /// Loads the files and does what the command line asks for. Returns the exit status.
  int run();

  static constexpr int FAILURE = 1;
  static constexpr int INTERRUPTED = 130;
  static constexpr int SIGNALLED = 128;  ///< plus the number of the signal that asked the program to end

private:
  void loadPackages();
  void loadFiles();
  void loadFile(const QString& file);
  bool takesCommands() const;
  int runMode();
  int runScript();
  int runCommand();
  bool isUnattended() const;
  int statusOf(const std::optional<HxScriptError>& error) const;

  const CommandLine& line_;
  RunSink terminal_;
  HxMessage::Mark begin_;
};

/// The whole program: reads the command line (the program's name first), runs, returns the exit status.
int runProgram(const QStringList& words);

}  // namespace quarn::app
