#pragma once

#include "hxroi/export.h"

class HxParamBase;
class HxParamBundle;

/// The parameters of several ROIs, edited in one copy.
namespace hxroi {

/// Adds `parameter`, or the members of a bundle that do not belong to the program, to `copy`. Where a value differs
/// from the one in `copy`, that is marked as having several.
HXROI_API void addToCopy(HxParamBundle& copy, const HxParamBase& parameter);

/// Sets or clears the mark for a parameter, or for all members of a bundle.
HXROI_API void markSeveral(HxParamBase& parameter, bool on);

/// Gives `parameters` of a ROI what was edited in `copy`, without marks. The identifier stays.
HXROI_API void writeSeveral(HxParamBundle& parameters, const HxParamBundle& copy);

}  // namespace hxroi
