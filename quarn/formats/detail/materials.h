#pragma once

#include <cstdint>
#include <vector>

#include "quarn/formats/LabelNames.h"
#include "quarn/kernel/params/HxParamBundle.h"

namespace quarn::formats::detail {

/// Fills an empty "Materials" bundle: "Exterior" with the "Id" 0, then one material for each of `values`, in that
/// order, whose "Id" is the value. Its name is that of `names` (null: none), else "Undescribed-label-<value>",
/// normalised as parameter names are; one that is taken gets "-<value>" appended until it is not. Both are told, in a
/// line each. Its colour is that of `names`, if there is one.
void addMaterials(HxParamBundle& materials, const std::vector<std::uint32_t>& values, const LabelNames* names);

}  // namespace quarn::formats::detail
