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

/// Prints "usage: <object> <name> <synopsis>".
void printUsage(const char* object, const HxCmdEntry& entry) {
  const std::string synopsis = entry.synopsis.isEmpty() ? std::string() : ' ' + entry.synopsis.toStdString();
  HxMessage::printf("usage: %s %s%s", McException::excerpt(object).c_str(), entry.name.toStdString().c_str(),
                    synopsis.c_str());
}

HxCmdEntry registeredEntry(const QString& name) {
  const HxCmdInfo& list = getCmdInfo();
  for (int i = 0; i < list.size(); ++i)
    if (list[i].name == name) return list[i];
  return {name, QString()};
}

}  // namespace

void HxCmdInfo::add(const QString& name, const QString& synopsis) {
  const auto known =
      std::find_if(entries_.begin(), entries_.end(), [&](const HxCmdEntry& e) { return e.name == name; });
  if (known != entries_.end()) {
    known->synopsis = synopsis;
  } else {
    entries_.push_back({name, synopsis});
  }
}

HxCmdInfo& getCmdInfo() {
  return currentList ? *currentList : outermostList();
}

int cmdCheck(const QString& word, const QString& name, const QString& synopsis) {
  getCmdInfo().add(name, synopsis);
  return word == name ? 1 : 0;
}

int cmdHelp(Tcl_Interp*, const char* word, bool wellFormed, int argc, char** argv) {
  const bool helpAsked = argc == 3 && std::strcmp(argv[2], "help") == 0;
  if (wellFormed && !helpAsked) return HX_CMD_GO_ON;
  printUsage(argc > 0 ? argv[0] : "", registeredEntry(QString::fromUtf8(word)));
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
  const HxCmdInfo& list = getCmdInfo();
  for (int i = 0; i < list.size(); ++i) printUsage(object, list[i]);
  if (helpAsked) return TCL_OK;
  HxMessage::printf("%s: unknown command \"%s\"", McException::excerpt(object).c_str(),
                    McException::excerpt(argv[1]).c_str());
  return TCL_ERROR;
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
