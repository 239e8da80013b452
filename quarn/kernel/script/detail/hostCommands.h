#pragma once

#include <vector>

#include "quarn/kernel/script/HxCommandTable.h"

namespace quarn::detail {

/// The rows of the host's own commands.
std::vector<HxCommandRow> hostCommands();

/// Names of the classes of which objects can be made.
QStringList creatableClasses();

}  // namespace quarn::detail
