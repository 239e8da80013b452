#pragma once

#include <vector>

#include "quarn/kernel/script/HxCommandTable.h"

namespace quarn::detail {

/// The rows of the host's own commands.
std::vector<HxCommandRow> hostCommands();

}  // namespace quarn::detail
