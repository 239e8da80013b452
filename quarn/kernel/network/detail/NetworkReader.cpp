#include "quarn/kernel/network/detail/NetworkReader.h"

#include <QFileInfo>
#include <utility>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxInterrupt.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/network/detail/safeInterpreter.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "quarn/kernel/script/detail/TclText.h"

namespace quarn::detail {
namespace {

constexpr qsizetype kMostFailuresShown = 20;

std::string excerpt(const QString& text) {
  return McException::excerpt(text.toStdString());
}

QString errorCodeOf(Tcl_Interp* interp, int code) {
  Tcl_Obj* const options = Tcl_GetReturnOptions(interp, code);
  Tcl_IncrRefCount(options);
  Tcl_Obj* const key = Tcl_NewStringObj("-errorcode", -1);
  Tcl_IncrRefCount(key);
  Tcl_Obj* value = nullptr;
  Tcl_DictObjGet(interp, options, key, &value);
  const QString text = value ? fromTcl(value) : QString();
  Tcl_DecrRefCount(key);
  Tcl_DecrRefCount(options);
  return text;
}

bool isInterruption(const QString& errorCode) {
  return errorCode == "QUARN INTERRUPT" || errorCode.startsWith("TCL CANCEL") || HxInterrupt::isRequested();
}

}  // namespace

NetworkReader::NetworkReader(const QString& file, const QString& folder)
    : file_(file), folder_(folder), interp_(createSafeInterpreter()) {
  define("load", [this](const Words& words) { return load(words); });
  define("create", [this](const Words& words) { return create(words); });
  define("nameResult", [this](const Words& words) { return nameResult(words); });
  define("unknown", [this](const Words& words) { return refuse(words); });
}

NetworkReader::~NetworkReader() {
  Tcl_DeleteInterp(interp_);
}

void NetworkReader::define(const QString& name, Handler handler) {
  handlers_.push_back(std::move(handler));
  Tcl_CreateObjCommand(interp_, toTcl(name).c_str(), runHandler, &handlers_.back(), nullptr);
}

int NetworkReader::runHandler(ClientData handler, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
  Tcl_ResetResult(interp);
  try {
    return (*static_cast<const Handler*>(handler))(Words(objv, objv + objc));
  } catch (const std::exception& error) {
    Tcl_SetObjResult(interp, newTclText(QString::fromUtf8(error.what())));
  } catch (...) {
    Tcl_SetObjResult(interp, newTclText("unknown failure"));
  }
  return TCL_ERROR;
}

// --- The run

void NetworkReader::run(const QString& text) {
  forEachCommand(toTcl(text), [this](const ScriptCommand& command) { return runCommand(command); });
}

bool NetworkReader::runCommand(const ScriptCommand& command) {
  ++commands_;
  if (!command.problem.empty()) {
    const bool isLast = ++unreadable_ == kMostUnreadable;
    const QString more = isLast ? "; there is too much that cannot be read, and the rest is passed over" : "";
    note(command.line, QString::fromStdString(command.problem) + more);
    return !isLast;
  }
  const int code = Tcl_EvalEx(interp_, command.text.data(), static_cast<int>(command.text.size()), TCL_EVAL_GLOBAL);
  if (code == TCL_RETURN) return false;
  if (code == TCL_OK && !HxInterrupt::isRequested()) return true;
  const QString errorCode = errorCodeOf(interp_, code);
  if (isInterruption(errorCode)) {
    Tcl_SetErrorCode(HxInterpreter::instance().tclInterp(), "QUARN", "INTERRUPT", nullptr);
    throw McException(place(command.line).toStdString() + ": interrupted");
  }
  if (errorCode != "QUARN SKIPPED") note(command.line, fromTcl(Tcl_GetObjResult(interp_)));
  return true;
}

void NetworkReader::settle() {
  for (const Entry* entry : order_) {
    auto* const data = dynamic_cast<HxData*>(entry->object.get());
    if (!data || !data->isInPool() || data->getTouchTime() != entry->touchTime) continue;
    tellDifference(*entry, *data);
    if (!entry->wasModified) data->setModified(0);
    data->forgetChangesSinceMade();
  }
}

/// Both may be what the user wants, the settings in the network or those that came with the file.
void NetworkReader::tellDifference(const Entry& entry, HxData& data) const {
  if (entry.wasModified || data.origin() != HxData::Origin::File || !data.isModified()) return;
  HxMessage::printf("%s: %s has the settings of this network now, which differ from those in its file %s.",
                    excerpt(QFileInfo(file_).fileName()).c_str(), excerpt(entry.name).c_str(),
                    excerpt(data.getLoadCmd()).c_str());
}

QString NetworkReader::place(int line) const {
  return QFileInfo(file_).fileName() + ":" + QString::number(line);
}

void NetworkReader::note(int line, const QString& reason) {
  failures_ += place(line) + ": " + reason;
}

void NetworkReader::requireComplete() const {
  QStringList lines = failures_.mid(0, kMostFailuresShown);
  if (failures_.size() > lines.size()) lines += QString("and %1 more").arg(failures_.size() - lines.size());
  for (const Entry* entry : order_) {
    if (entry->object) continue;
    lines += entry->name + " did not come back" +
             (entry->skipped ? QString("; %1 commands that need it were skipped").arg(entry->skipped) : QString());
  }
  if (lines.isEmpty()) return;
  const QString came = names().isEmpty() ? QString("nothing came back") : "came back: " + names().join(", ");
  throw McException(excerpt(file_) + ": " + std::to_string(failures_.size()) + " of " + std::to_string(commands_) +
                    " commands failed; " + excerpt(came) + "\n  " + lines.join("\n  ").toStdString());
}

QStringList NetworkReader::names() const {
  QStringList names;
  for (const Entry* entry : order_) {
    if (entry->object && entry->object->isInPool()) names += entry->object->getName();
  }
  return names;
}

// --- Names

NetworkReader::Entry& NetworkReader::entryNamed(const QString& name) {
  const auto [position, isNew] = entries_.try_emplace(name);
  Entry& entry = position->second;
  if (isNew) {
    entry.name = name;
    order_.push_back(&entry);
    define(name, [this, &entry](const Words& words) { return runObject(entry, words); });
  }
  return entry;
}

/// Makes an object known under a name that no other command has; returns it.
QString NetworkReader::bind(const QString& name, HxObject* object) {
  const auto isTaken = [this](const QString& text) {
    const auto found = entries_.find(text);
    if (found != entries_.end()) return found->second.object.get() != nullptr;
    return Tcl_FindCommand(interp_, toTcl(text).c_str(), nullptr, TCL_GLOBAL_ONLY) != nullptr;
  };
  QString unique = name;
  for (int number = 2; isTaken(unique); ++number) unique = name + "-" + QString::number(number);
  Entry& entry = entryNamed(unique);
  entry.object = object;
  if (auto* const data = dynamic_cast<HxData*>(object)) {
    entry.touchTime = data->getTouchTime();
    entry.wasModified = data->isModified();
  }
  if (object->getName() != unique)
    HxMessage::printf("%s: %s is called %s here.", excerpt(QFileInfo(file_).fileName()).c_str(),
                      excerpt(unique).c_str(), excerpt(object->getName()).c_str());
  return unique;
}

/// An object of that name was to come and did not.
void NetworkReader::miss(const QString& name) {
  const bool isCommand = Tcl_FindCommand(interp_, toTcl(name).c_str(), nullptr, TCL_GLOBAL_ONLY) != nullptr;
  if (!name.isEmpty() && !isCommand) entryNamed(name);
}

int NetworkReader::skip(Entry& entry) {
  ++entry.skipped;
  Tcl_SetObjResult(interp_, newTclText(entry.name + " did not come back"));
  Tcl_SetErrorCode(interp_, "QUARN", "SKIPPED", nullptr);
  return TCL_ERROR;
}

bool NetworkReader::isOurs(const HxObject* object) const {
  for (const Entry* entry : order_) {
    if (object && entry->object == object) return true;
  }
  return false;
}

void NetworkReader::answer(const QStringList& list) {
  Tcl_SetObjResult(interp_, newTclList(list));
}

}  // namespace quarn::detail
