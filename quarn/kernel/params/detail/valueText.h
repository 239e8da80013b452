#pragma once

#include <optional>
#include <string_view>

#include "quarn/kernel/params/HxParameter.h"

namespace quarn::detail {

/// What a user typed for a parameter of a type, without the locale; nothing when it does not read as one. Blanks around
/// numbers do not count, lists of reals are parted by blanks and have one at least.
std::optional<HxParameter::Value> valueFromText(HxParameter::Type type, std::string_view text);

}  // namespace quarn::detail
