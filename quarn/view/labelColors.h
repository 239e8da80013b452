#pragma once

#include "quarn/view/ColorTransfer.h"
#include "quarn/view/export.h"

class HxUniformLabelField3;

namespace quarn::view {

/// The colours of the materials of a label field, one for each label, `opacity` in [0, 1] for all but label 0, which is
/// clear. A label whose material has no colour, or that has none, gets one by its number.
QUARN_VIEW_API ColorTransfer labelColors(const HxUniformLabelField3& field, float opacity);

}  // namespace quarn::view
