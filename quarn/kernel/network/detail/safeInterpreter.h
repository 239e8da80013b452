#pragma once

#include <tcl.h>

namespace quarn::detail {

/// A child of the interpreter of the process with Tcl's commands for values, variables, procedures and loops, and with
/// no others: it knows no files, programs, channels, events, other interpreters or packages, and nothing about the
/// process. Wishes to stop reach it, too. The caller deletes it.
Tcl_Interp* createSafeInterpreter();

}  // namespace quarn::detail
