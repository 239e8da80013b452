#pragma once

#include <optional>
#include <tcl.h>

#include "roitools/export.h"

class HxCompModule;

namespace roitools {

/// The command "save ?FORMAT? FILE" of a module, which saves its result 0; nothing when the words are another command.
/// Throws McException when there is no result or the file cannot be written.
ROITOOLS_API std::optional<int> parseSaveResult(const HxCompModule& module, Tcl_Interp* interp, int argc, char** argv);

}  // namespace roitools
