#include "quarn/kernel/script/HxCommands.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <string>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/app/detail/formatText.h"
#include "quarn/kernel/script/detail/CmdInfoScope.h"

namespace {

HxCmdInfo& outermostList() {
  static HxCmdInfo list;
  return list;
}

HxCmdInfo* currentList = nullptr;

std::string excerpt(const QString& text) {
  return McException::excerpt(text.toStdString());
}

/// "usage: <object> <name> <synopsis>".
std::string usageOf(const char* object, const HxCmdEntry& entry) {
  const QString words = entry.words();
  const std::string synopsis = words.isEmpty() ? std::string() : ' ' + words.toStdString();
  return "usage: " + McException::excerpt(object) + ' ' + entry.name.toStdString() + synopsis;
}

std::string noteOf(const HxCmdEntry& entry) {
  const QString note = getCmdInfo().noteOf(entry.name);
  return note.isEmpty() ? std::string() : "\n    " + note.toStdString();
}

/// The usage, what the command does and what values it takes.
std::string explanationOf(const char* object, const HxCmdEntry& entry) {
  const std::string help = entry.text ? std::string("\n    ") + entry.text->help : std::string();
  return usageOf(object, entry) + help + noteOf(entry);
}

HxCmdEntry registeredEntry(const QString& name) {
  const HxCmdEntry* const entry = getCmdInfo().find(name);
  return entry ? *entry : HxCmdEntry{name, QString(), nullptr, QString()};
}

int refuseUnknown(const char* object, const char* word) {
  HxMessage::printf("%s: unknown command \"%s\"", McException::excerpt(object).c_str(),
                    McException::excerpt(word).c_str());
  return TCL_ERROR;
}

/// What is known of one of the registered commands.
int explain(const char* object, const char* word) {
  const HxCmdEntry* const entry = getCmdInfo().find(QString::fromUtf8(word));
  if (!entry) return refuseUnknown(object, word);
  HxMessage::printf("%s", explanationOf(object, *entry).c_str());
  return TCL_OK;
}

}  // namespace

void HxCmdInfo::add(const QString& name, const QString& synopsis) {
  const auto known =
      std::find_if(entries_.begin(), entries_.end(), [&](const HxCmdEntry& e) { return e.name == name; });
  if (known != entries_.end()) {
    known->synopsis = synopsis;
  } else {
    entries_.push_back({name, synopsis, nullptr, QString()});
  }
}

const HxCmdEntry* HxCmdInfo::find(const QString& name) const {
  const auto known =
      std::find_if(entries_.begin(), entries_.end(), [&](const HxCmdEntry& e) { return e.name == name; });
  return known == entries_.end() ? nullptr : &*known;
}

void HxCmdInfo::describe(const HxCommandText& text, const char* of) {
  for (HxCmdEntry& entry : entries_) {
    if (entry.name != QLatin1String(text.name)) continue;
    entry.text = &text;
    entry.of = QString::fromLatin1(of);
  }
}

HxCmdInfo& getCmdInfo() {
  return currentList ? *currentList : outermostList();
}

int cmdCheck(const QString& word, const QString& name, const QString& synopsis) {
  getCmdInfo().add(name, synopsis);
  return word == name ? 1 : 0;
}

int cmdCheck(const QString& word, const HxCommandText& text, const char* of) {
  const QString name = QString::fromLatin1(text.name);
  const int isIt = cmdCheck(word, name, QString::fromUtf8(text.words));
  getCmdInfo().describe(text, of);
  return isIt;
}

int cmdHelp(Tcl_Interp*, const char* word, bool wellFormed, int argc, char** argv) {
  const bool helpAsked = argc == 3 && std::strcmp(argv[2], "help") == 0;
  if (wellFormed && !helpAsked) return HX_CMD_GO_ON;
  const char* const object = argc > 0 ? argv[0] : "";
  const HxCmdEntry entry = registeredEntry(QString::fromUtf8(word));
  HxMessage::printf("%s", (helpAsked ? explanationOf(object, entry) : usageOf(object, entry)).c_str());
  return helpAsked ? TCL_OK : TCL_ERROR;
}

int cmdError(Tcl_Interp*, int kind, const QString& word) {
  const char* what = "malformed command";
  if (kind == HX_CMD_UNKNOWN) what = "unknown command";
  if (kind == HX_CMD_WRONG_COUNT) what = "wrong number of arguments";
  if (kind == HX_CMD_WRONG_VALUE) what = "wrong value";
  HxMessage::printf("%s: %s", excerpt(word).c_str(), what);
  return TCL_ERROR;
}

int cmdUsage(Tcl_Interp*, int argc, char** argv) {
  const char* const object = argc > 0 ? argv[0] : "";
  const bool helpAsked = argc < 2 || std::strcmp(argv[1], "help") == 0;
  if (helpAsked && argc == 3) return explain(object, argv[2]);
  const HxCmdInfo& list = getCmdInfo();
  for (int i = 0; i < list.size(); ++i) HxMessage::printf("%s", (usageOf(object, list[i]) + noteOf(list[i])).c_str());
  return helpAsked ? TCL_OK : refuseUnknown(object, argv[1]);
}

void Tcl_VaAppendElement(Tcl_Interp* interp, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = quarn::detail::formatText(format, arguments);
  va_end(arguments);
  Tcl_Obj* result = Tcl_GetObjResult(interp);
  if (Tcl_IsShared(result)) result = Tcl_DuplicateObj(result);
  Tcl_ListObjAppendElement(nullptr, result, Tcl_NewStringObj(text.data(), static_cast<int>(text.size())));
  Tcl_SetObjResult(interp, result);
}

namespace quarn::detail {

CmdInfoScope::CmdInfoScope() : outer_(currentList) {
  currentList = &list_;
}

CmdInfoScope::~CmdInfoScope() {
  currentList = outer_;
}

}  // namespace quarn::detail
