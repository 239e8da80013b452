#include "quarn/kernel/script/HxInterpreter.h"

#include <QFile>
#include <QFileInfo>
#include <memory>
#include <vector>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxInterrupt.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/io/HxRecovery.h"
#include "quarn/kernel/script/HxCommandTable.h"
#include "quarn/kernel/script/detail/CmdInfoScope.h"
#include "quarn/kernel/script/detail/CommandDepth.h"
#include "quarn/kernel/script/detail/ScriptLocation.h"
#include "quarn/kernel/script/detail/TclText.h"

using quarn::detail::fromTcl;
using quarn::detail::newTclList;
using quarn::detail::newTclText;
using quarn::detail::toTcl;

struct HxInterpreter::ObjectCommand {
  QString name;
  std::shared_ptr<const HxObjectCommand> function;
};

namespace {

/// The words of a command as parse() functions want them: writable, one after the other, a null pointer at the end.
class Words {
public:
  Words(int objc, Tcl_Obj* const objv[]) {
    texts_.reserve(static_cast<std::size_t>(objc));
    for (int i = 0; i < objc; ++i) texts_.emplace_back(Tcl_GetString(objv[i]));
    for (std::string& text : texts_) pointers_.push_back(text.data());
    pointers_.push_back(nullptr);
  }
  char** argv() { return pointers_.data(); }

private:
  std::vector<std::string> texts_;
  std::vector<char*> pointers_;
};

void setErrorText(Tcl_Interp* interp, const std::string& text) {
  Tcl_SetObjResult(interp, Tcl_NewStringObj(text.data(), static_cast<int>(text.size())));
}

bool hasResult(Tcl_Interp* interp) {
  return *Tcl_GetStringResult(interp) != '\0';
}

/// Runs the function of an object's command; whatever it throws becomes the text of a Tcl error.
int callGuarded(const HxObjectCommand& function, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
  try {
    Words words(objc, objv);
    return function(interp, objc, words.argv());
  } catch (const std::exception& error) {
    setErrorText(interp, error.what());
  } catch (...) {
    setErrorText(interp, "unknown failure");
  }
  return TCL_ERROR;
}

/// Ends the scripts of `interp` in a way that they cannot catch.
void unwind(Tcl_Interp* interp) {
  Tcl_CancelEval(interp, nullptr, nullptr, TCL_CANCEL_UNWIND);
}

/// Either may be null, or both the same.
void unwindAll(Tcl_Interp* outermost, Tcl_Interp* inner) {
  if (outermost) unwind(outermost);
  if (inner && inner != outermost) unwind(inner);
}

/// Tcl's own work that a wish to stop has to wait for. Tcl asks in the user-interface thread only.
constinit int uninterruptedWork = 0;

/// Runs after a wish to stop: between two commands of a script in `interp`, or without one where a command waits for
/// events, which then fails. `outermost` is the interpreter of the process while a script runs in it, else null.
int interruptScript(Tcl_Interp* outermost, Tcl_Interp* interp, int code) {
  if (uninterruptedWork > 0 || !HxInterrupt::isRequested()) return code;
  HxInterrupt::answer();
  // Nothing that a script catches may keep it going: who asks for the end wants all of it to end.
  unwindAll(outermost, interp);
  if (!interp) return code;
  setErrorText(interp, "interrupted");
  Tcl_SetErrorCode(interp, "QUARN", "INTERRUPT", nullptr);
  return TCL_ERROR;
}

void setUpChannel(int channelType) {
  Tcl_Channel const channel = Tcl_GetStdChannel(channelType);
  if (!channel) return;
  Tcl_SetChannelOption(nullptr, channel, "-encoding", "utf-8");
  if (channelType == TCL_STDIN) return;
  // On a terminal Tcl would write a carriage return of its own before each line end.
  Tcl_SetChannelOption(nullptr, channel, "-translation", "lf");
  // The console is written past Tcl: whole lines keep the order of what both print.
  Tcl_SetChannelOption(nullptr, channel, "-buffering", "line");
}

Tcl_Interp* createInterpreter() {
  Tcl_FindExecutable(nullptr);
  Tcl_SetSystemEncoding(nullptr, "utf-8");
  Tcl_Interp* const interp = Tcl_CreateInterp();
  if (Tcl_Init(interp) != TCL_OK)
    throw McException(std::string("the script library cannot be read: ") + Tcl_GetStringResult(interp));
  for (const int channelType : {TCL_STDIN, TCL_STDOUT, TCL_STDERR}) setUpChannel(channelType);
  // A mistyped command must not start a program of that name.
  Tcl_SetVar2(interp, "auto_noexec", nullptr, "1", TCL_GLOBAL_ONLY);
  Tcl_ResetResult(interp);
  return interp;
}

/// Value of an element of the options that an evaluation leaves ("-errorinfo" ...).
QString optionOf(Tcl_Interp* interp, Tcl_Obj* options, const char* name) {
  Tcl_Obj* const key = Tcl_NewStringObj(name, -1);
  Tcl_IncrRefCount(key);
  Tcl_Obj* value = nullptr;
  Tcl_DictObjGet(interp, options, key, &value);
  Tcl_DecrRefCount(key);
  return value ? fromTcl(value) : QString();
}

HxScriptError failureOf(const QString& fileName, const char* what) {
  HxScriptError error;
  error.file = fileName;
  error.message = QString::fromLatin1(what);
  return error;
}

/// Of procedures that call themselves without end the first and the last ones tell enough.
QStringList withoutMiddle(const QStringList& procedures) {
  constexpr qsizetype kEnd = 8;
  QStringList lines;
  for (const QString& procedure : procedures) lines += QStringLiteral("procedure ") + procedure;
  const qsizetype left = lines.size() - 2 * kEnd;
  if (left <= 1) return lines;
  return lines.first(kEnd) + QStringList{QStringLiteral("%1 more procedures").arg(left)} + lines.last(kEnd);
}

}  // namespace

QString HxScriptError::toText() const {
  QString text = message;
  // What was typed stands above.
  const bool isTyped = file.isEmpty() && procedures.isEmpty();
  if (!isTyped && !command.isEmpty()) text += QStringLiteral("\n    in ") + command;
  for (const QString& place : withoutMiddle(procedures)) text += QStringLiteral("\n    in ") + place;
  if (file.isEmpty()) return text;
  const QString place = line > 0 ? file + QLatin1Char(':') + QString::number(line) : file;
  return place + QStringLiteral(": ") + text;
}

HxInterpreter& HxInterpreter::instance() {
  static HxInterpreter& interpreter = *new HxInterpreter;
  return interpreter;
}

HxInterpreter::Uninterrupted::Uninterrupted() {
  ++uninterruptedWork;
}

HxInterpreter::Uninterrupted::~Uninterrupted() {
  if (--uninterruptedWork == 0 && HxInterrupt::isRequested()) Tcl_AsyncMark(instance().interruption_);
}

HxInterpreter::HxInterpreter()
    : interp_(createInterpreter()),
      interruption_(Tcl_AsyncCreate(
          [](ClientData self, Tcl_Interp* interp, int code) {
            const auto& interpreter = *static_cast<HxInterpreter*>(self);
            return interruptScript(interpreter.depth_ > 0 ? interpreter.interp_ : nullptr, interp, code);
          },
          this)) {
  HxCommandTable::instance().attach(interp_);
  HxInterrupt::setListener([handler = interruption_, interp = interp_](int wishes) {
    Tcl_AsyncMark(handler);
    if (wishes > 1) unwind(interp);
  });
}

void HxInterpreter::addObject(const QString& name, HxObjectCommand command) {
  if (name.isEmpty() || isCommand(name))
    throw McException("there is a command named \"" + McException::excerpt(name.toStdString()) + "\" already");
  auto data = std::unique_ptr<ObjectCommand>(
      new ObjectCommand{name, std::make_shared<const HxObjectCommand>(std::move(command))});
  objects_[name] =
      Tcl_CreateObjCommand(interp_, toTcl(name).c_str(), runObjectCommand, data.get(), forgetObjectCommand);
  data.release();
}

void HxInterpreter::removeObject(const QString& name) {
  const auto found = objects_.find(name);
  if (found != objects_.end()) Tcl_DeleteCommandFromToken(interp_, found->second);
}

void HxInterpreter::renameObject(const QString& oldName, const QString& newName) {
  const auto found = objects_.find(oldName);
  if (found == objects_.end() || oldName == newName) return;
  Tcl_CmdInfo info;
  Tcl_GetCommandInfoFromToken(found->second, &info);
  const std::shared_ptr<const HxObjectCommand> function = static_cast<ObjectCommand*>(info.objClientData)->function;
  addObject(newName, *function);
  removeObject(oldName);
}

bool HxInterpreter::isCommand(const QString& name) const {
  return Tcl_FindCommand(interp_, toTcl(name).c_str(), nullptr, TCL_GLOBAL_ONLY) != nullptr;
}

bool HxInterpreter::isObject(const QString& name) const {
  return objects_.contains(name);
}

QStringList HxInterpreter::objectNames() const {
  QStringList names;
  for (const auto& [name, token] : objects_) names.append(name);
  return names;
}

int HxInterpreter::runObjectCommand(ClientData data, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
  // A command may end its own object, and with it `data`.
  const std::shared_ptr<const HxObjectCommand> function = static_cast<ObjectCommand*>(data)->function;
  return call(*function, interp, objc, objv);
}

int HxInterpreter::call(const HxObjectCommand& command, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
  const quarn::detail::CmdInfoScope listOfItsOwn;
  const quarn::detail::CommandDepth depth;
  const HxMessage::Mark before = HxMessage::mark();
  Tcl_ResetResult(interp);
  const int code = callGuarded(command, interp, objc, objv);
  HxMessage::flushStream();
  // The wish was heard by the command itself.
  if (code == TCL_ERROR && HxInterrupt::wasRequested())
    unwindAll(instance().depth_ > 0 ? instance().interp_ : nullptr, interp);
  if (depth.isOutermost()) HxRecovery::instance().checkpointIfDue();
  if (code != TCL_ERROR || hasResult(interp)) return code;
  const std::optional<std::string> said = HxMessage::newestSince(before);
  setErrorText(interp, said ? *said : std::string(Tcl_GetString(objv[0])) + ": the command failed");
  if (said) Tcl_SetErrorCode(interp, "QUARN", "CONSOLE", nullptr);
  return code;
}

void HxInterpreter::forgetObjectCommand(ClientData data) {
  const std::unique_ptr<ObjectCommand> command(static_cast<ObjectCommand*>(data));
  instance().objects_.erase(command->name);
}

std::optional<HxScriptError> HxInterpreter::evaluate(const QString& script) {
  return run({}, newTclText(script));
}

std::optional<HxScriptError> HxInterpreter::evaluateFile(const QString& fileName) {
  if (QFileInfo(fileName).isDir()) return failureOf(fileName, "is a directory");
  if (!QFileInfo::exists(fileName)) return failureOf(fileName, "no such file");
  return run(fileName, newTclList({"::source", "-encoding", "utf-8", fileName}));
}

/// Everything is evaluated as an object: only so does Tcl, at the end of an outermost script that was ended from
/// outside, take its marks of that away, and the next script can run.
std::optional<HxScriptError> HxInterpreter::run(const QString& fileName, Tcl_Obj* script) {
  ++depth_;
  const int code = Tcl_EvalObjEx(interp_, script, TCL_EVAL_GLOBAL);
  --depth_;
  HxMessage::flushStream();
  const bool outermost = depth_ == 0;
  const bool pendingWish = outermost && HxInterrupt::isRequested();
  const bool heardWish = outermost && code == TCL_ERROR && HxInterrupt::wasRequested();
  if (outermost) HxInterrupt::clear();
  const std::optional<int> exitStatus = outermost ? std::exchange(exitRequest_, std::nullopt) : exitRequest_;
  if (!exitStatus && !pendingWish && (code == TCL_OK || code == TCL_RETURN)) return std::nullopt;
  HxScriptError error = describeError(code, fileName);
  error.exitStatus = exitStatus;
  if (pendingWish || heardWish) error.interrupted = true;
  if (error.interrupted) {
    error.message = QStringLiteral("interrupted");
    error.command.clear();
  }
  return error;
}

HxScriptError HxInterpreter::describeError(int code, const QString& fileName) const {
  HxScriptError error;
  error.message = result();
  Tcl_Obj* const options = Tcl_GetReturnOptions(interp_, code);
  Tcl_IncrRefCount(options);
  const QString errorCode = optionOf(interp_, options, "-errorcode");
  error.shown = errorCode == QLatin1String("QUARN CONSOLE");
  error.interrupted =
      errorCode == QLatin1String("QUARN INTERRUPT") || errorCode.startsWith(QLatin1String("TCL CANCEL"));
  const QString trace = optionOf(interp_, options, "-errorinfo");
  const quarn::detail::ScriptLocation place = quarn::detail::innermostLocation(trace, error.message, fileName);
  error.procedures = quarn::detail::procedures(trace, error.message);
  if (!error.interrupted) error.command = quarn::detail::failedCommand(trace, error.message);
  error.file = place.file;
  error.line = place.line > 0 ? place.line : optionOf(interp_, options, "-errorline").toInt();
  Tcl_DecrRefCount(options);
  return error;
}

QString HxInterpreter::result() const {
  return fromTcl(Tcl_GetObjResult(interp_));
}

void HxInterpreter::setArguments(const QString& program, const QStringList& arguments) {
  Tcl_SetVar2Ex(interp_, "argv0", nullptr, newTclText(program), TCL_GLOBAL_ONLY);
  Tcl_SetVar2Ex(interp_, "argv", nullptr, newTclList(arguments), TCL_GLOBAL_ONLY);
  Tcl_SetVar2Ex(interp_, "argc", nullptr, Tcl_NewIntObj(static_cast<int>(arguments.size())), TCL_GLOBAL_ONLY);
}

void HxInterpreter::requestExit(int status) {
  exitRequest_ = status;
  unwind(interp_);
}
