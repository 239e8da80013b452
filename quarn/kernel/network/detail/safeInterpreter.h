#pragma once

#include <tcl.h>

namespace quarn::detail {

/// A child of the interpreter of the process that knows values, variables, procedures and loops, but no files,
/// programs, sockets, events, other interpreters or packages. Wishes to stop reach it, too. The caller deletes it.
Tcl_Interp* createSafeInterpreter();

}  // namespace quarn::detail
