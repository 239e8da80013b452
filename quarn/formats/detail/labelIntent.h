#pragma once

#include <string_view>

namespace quarn::formats::detail {

/// How an image says that its voxels are labels: by its intent, a number of NIfTI. Programs that turn NIfTI into NRRD
/// and MetaImage keep it there as a text with this name.
constexpr std::string_view intentName = "intent_code";
constexpr std::string_view labelIntent = "1002";

}  // namespace quarn::formats::detail
