#pragma once

#include "quarn/view/export.h"

namespace quarn::view {

/// Makes the classes of this library known, so that scripts can make views. Does it once.
QUARN_VIEW_API void registerView();

}  // namespace quarn::view
