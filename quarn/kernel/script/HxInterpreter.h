#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <map>
#include <optional>
#include <tcl.h>

#include "quarn/kernel/export.h"

/// What an object's command runs: the words in UTF-8, argv[0] the object's name. Returns TCL_OK or TCL_ERROR.
using HxObjectCommand = std::function<int(Tcl_Interp* interp, int argc, char** argv)>;

/// Why a script failed.
struct QUARN_KERNEL_API HxScriptError {
  QString message;
  QString command;                ///< the words that failed, as far as they are known; cut when they are long
  QString file;                   ///< empty for a text that does not come from a file
  int line = 0;                   ///< 1 for the first line; 0 when not known
  QStringList procedures;         ///< "NAME, line N" for each procedure it failed in, the innermost first
  bool shown = false;             ///< the message is on the console already
  bool interrupted = false;       ///< the user asked to stop
  std::optional<int> exitStatus;  ///< not an error: the script called `exit`

  /// "file:line: message", as far as file and line are known, a line with the words that failed (not for those of a
  /// prompt) and one for each
  /// procedure.
  QString toText() const;
};

/// The Tcl interpreter of the process, with the host's commands and one command per object of the pool.
///
/// For the user-interface thread. Made on first use; texts are UTF-8. A command of an object that answers TCL_ERROR
/// without a result fails with the newest text that it left on the console. Exceptions of commands become Tcl errors.
class QUARN_KERNEL_API HxInterpreter {
public:
  static HxInterpreter& instance();

  Tcl_Interp* tclInterp() { return interp_; }

  /// Makes the command `name` of an object. The command is kept alive while it runs, whatever it does to its object, so
  /// let it hold a handle. Throws McException when a command of that name exists (see isCommand()).
  void addObject(const QString& name, HxObjectCommand command);
  /// Takes an object's command away; harmless for a name that is no object's.
  void removeObject(const QString& name);
  /// Gives an object's command another name; harmless when `oldName` is no object's. Throws McException when `newName`
  /// is taken; the command keeps its name then.
  void renameObject(const QString& oldName, const QString& newName);

  /// Runs `command` as that of an object, in any interpreter: with help, failures and console texts as described above.
  static int call(const HxObjectCommand& command, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]);

  /// True when a Tcl command, a host command or an object's command has this name, so that no object may take it.
  bool isCommand(const QString& name) const;
  /// True when the name is that of an object's command.
  bool isObject(const QString& name) const;
  /// Sorted names of the object commands.
  QStringList objectNames() const;

  /// Runs a script text or a script file (UTF-8). Gives nothing when it went well; the result is in result() then.
  std::optional<HxScriptError> evaluate(const QString& script);
  std::optional<HxScriptError> evaluateFile(const QString& fileName);
  QString result() const;

  /// Sets $argv0, $argv and $argc.
  void setArguments(const QString& program, const QStringList& arguments);

  /// While one lives a wish to stop (HxInterrupt) waits until the last of them has gone: for work of Tcl's own that
  /// must not fail, such as making an interpreter. User-interface thread.
  class QUARN_KERNEL_API Uninterrupted {
  public:
    Uninterrupted();
    ~Uninterrupted();
    Uninterrupted(const Uninterrupted&) = delete;
    Uninterrupted& operator=(const Uninterrupted&) = delete;
  };

  /// Makes the script that runs end now, past every `catch`; evaluate() then answers with this status.
  void requestExit(int status);

  HxInterpreter(const HxInterpreter&) = delete;
  HxInterpreter& operator=(const HxInterpreter&) = delete;

private:
  HxInterpreter();
  ~HxInterpreter() = delete;  // objects that die late still find it
  struct ObjectCommand;
  static int runObjectCommand(ClientData data, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]);
  static void forgetObjectCommand(ClientData data);
  std::optional<HxScriptError> run(const QString& fileName, Tcl_Obj* script);
  HxScriptError describeError(int code, const QString& fileName) const;

  Tcl_Interp* interp_;
  Tcl_AsyncHandler interruption_;
  int depth_ = 0;  ///< evaluations that run
  std::optional<int> exitRequest_;
  std::map<QString, Tcl_Command> objects_;  ///< commands of objects by name
};
