#include "quarn/kernel/network/detail/safeInterpreter.h"

#include <string>

#include "quarn/base/McException.h"
#include "quarn/kernel/script/HxInterpreter.h"

namespace quarn::detail {

Tcl_Interp* createSafeInterpreter() {
  // The parent gets a command of the child's name; with a colon in it, it is no object's.
  static int number = 0;
  const std::string name = "network:" + std::to_string(++number);
  Tcl_Interp* const interp = Tcl_CreateSlave(HxInterpreter::instance().tclInterp(), name.c_str(), 1);
  if (!interp) throw McException("no interpreter can be made for a network");
  // Harmless for files, but they wait, run something later, or make further interpreters.
  for (const char* command : {"after", "vwait", "update", "interp", "package", "clock", "trace"})
    Tcl_DeleteCommand(interp, command);
  return interp;
}

}  // namespace quarn::detail
