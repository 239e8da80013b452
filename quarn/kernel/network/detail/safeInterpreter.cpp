#include "quarn/kernel/network/detail/safeInterpreter.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/base/McException.h"
#include "quarn/kernel/script/HxInterpreter.h"

namespace quarn::detail {
namespace {

using std::string_view;

/// What a network may use of Tcl. docs/format/network.md has the same list.
constexpr std::array kCommands = std::to_array<string_view>(
    {"append",  "apply",  "array",   "break",  "catch",   "concat", "continue", "dict",    "error",    "eval",
     "expr",    "for",    "foreach", "format", "global",  "if",     "incr",     "info",    "join",     "lappend",
     "lassign", "lindex", "linsert", "list",   "llength", "lmap",   "lrange",   "lrepeat", "lreplace", "lreverse",
     "lsearch", "lset",   "lsort",   "proc",   "regexp",  "regsub", "return",   "scan",    "set",      "split",
     "string",  "subst",  "switch",  "throw",  "try",     "unset",  "uplevel",  "upvar",   "while"});

/// And of its command "info", whose other parts tell of the process and its files.
constexpr std::array kPartsOfInfo = std::to_array<string_view>(
    {"args", "body", "commands", "complete", "default", "exists", "globals", "level", "locals", "procs", "vars"});

/// Where these commands, and the functions of expressions, are carried out.
constexpr std::array kNamespaces = std::to_array<string_view>(
    {"::tcl", "::tcl::array", "::tcl::dict", "::tcl::info", "::tcl::mathfunc", "::tcl::mathop", "::tcl::string"});

/// In a safe interpreter Tcl has these two carried out by the parent, whose present functions of these names they would
/// be.
constexpr const char* kOwnFunctions =
    "proc ::tcl::mathfunc::max {first args} {\n"
    "  foreach x $args {if {$x + 0 > $first + 0} {set first $x}}\n"
    "  expr {$first + 0}\n"
    "}\n"
    "proc ::tcl::mathfunc::min {first args} {\n"
    "  foreach x $args {if {$x + 0 < $first + 0} {set first $x}}\n"
    "  expr {$first + 0}\n"
    "}\n";

template <class List>
bool contains(const List& list, string_view text) {
  return std::find(list.begin(), list.end(), text) != list.end();
}

string_view lastPart(string_view name) {
  const std::size_t colons = name.rfind("::");
  return colons == string_view::npos ? name : name.substr(colons + 2);
}

[[noreturn]] void fail(Tcl_Interp* interp) {
  throw McException("no interpreter can be made for a network: " + std::string(Tcl_GetStringResult(interp)));
}

/// The words of the list that a command returns.
std::vector<std::string> listOf(Tcl_Interp* interp, const char* command) {
  int count = 0;
  Tcl_Obj** words = nullptr;
  if (Tcl_Eval(interp, command) != TCL_OK ||
      Tcl_ListObjGetElements(interp, Tcl_GetObjResult(interp), &count, &words) != TCL_OK)
    fail(interp);
  std::vector<std::string> list;
  for (int i = 0; i < count; ++i) list.emplace_back(Tcl_GetString(words[i]));
  return list;
}

/// Whether a command, named in full, is none that a network may use.
bool isSurplus(const std::string& command) {
  const string_view name = lastPart(command);
  const string_view space = string_view(command).substr(0, command.size() - name.size());
  if (space == "::tcl::info::") return !contains(kPartsOfInfo, name);
  return !contains(kCommands, name);
}

/// So that messages about "info" name the parts that are there.
void keepPartsOfInfo(Tcl_Interp* interp) {
  Tcl_Obj* const name = Tcl_NewStringObj("info", -1);
  Tcl_IncrRefCount(name);
  const Tcl_Command ensemble = Tcl_FindEnsemble(interp, name, TCL_LEAVE_ERR_MSG);
  Tcl_DecrRefCount(name);
  Tcl_Obj* const parts = Tcl_NewDictObj();
  for (const string_view part : kPartsOfInfo) {
    const std::string target = "::tcl::info::" + std::string(part);
    Tcl_DictObjPut(interp, parts, Tcl_NewStringObj(part.data(), static_cast<int>(part.size())),
                   Tcl_NewStringObj(target.c_str(), -1));
  }
  if (!ensemble || Tcl_SetEnsembleMappingDict(interp, ensemble, parts) != TCL_OK) fail(interp);
}

/// All is looked for before the first goes: Tcl looks for it with the very commands.
void keepOnlyAllowed(Tcl_Interp* interp) {
  std::vector<std::string> surplus = listOf(interp, "info commands ::tcl::*");
  for (const char* command : {"info commands ::*", "info commands ::tcl::info::*"}) {
    for (const std::string& name : listOf(interp, command))
      if (isSurplus(name)) surplus.push_back(name);
  }
  std::vector<std::string> spaces = listOf(interp, "namespace children ::");
  for (const std::string& space : listOf(interp, "namespace children ::tcl")) spaces.push_back(space);
  keepPartsOfInfo(interp);
  for (const std::string& name : spaces) {
    Tcl_Namespace* const space = Tcl_FindNamespace(interp, name.c_str(), nullptr, TCL_GLOBAL_ONLY);
    if (space && !contains(kNamespaces, name)) Tcl_DeleteNamespace(space);
  }
  // Some went with their namespaces.
  for (const std::string& name : surplus) Tcl_DeleteCommand(interp, name.c_str());
  if (Tcl_Eval(interp, kOwnFunctions) != TCL_OK) fail(interp);
  Tcl_UnsetVar(interp, "tcl_platform", TCL_GLOBAL_ONLY);
  Tcl_ResetResult(interp);
}

}  // namespace

Tcl_Interp* createSafeInterpreter() {
  // The parent gets a command of the child's name; with a colon in it, it is no object's.
  static int number = 0;
  const HxInterpreter::Uninterrupted whole;
  const std::string name = "network:" + std::to_string(++number);
  Tcl_Interp* const interp = Tcl_CreateSlave(HxInterpreter::instance().tclInterp(), name.c_str(), 1);
  if (!interp) throw McException("no interpreter can be made for a network");
  try {
    keepOnlyAllowed(interp);
  } catch (...) {
    Tcl_DeleteInterp(interp);
    throw;
  }
  return interp;
}

}  // namespace quarn::detail
