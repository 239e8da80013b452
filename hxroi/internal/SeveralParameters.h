#pragma once

class HxParamBase;
class HxParamBundle;

/// The parameters of several ROIs, edited in one copy.
namespace hxroi {

/// Adds `parameter`, or the members of a bundle that do not belong to the program, to `copy`. Where a value differs
/// from the one in `copy`, that is marked as having several.
void addToCopy(HxParamBundle& copy, const HxParamBase& parameter);

/// Sets or clears the mark for a parameter, or for all members of a bundle.
void markSeveral(HxParamBase& parameter, bool on);

/// Gives `parameters` of a ROI what was edited in `copy`, without marks. The identifier stays.
void writeSeveral(HxParamBundle& parameters, const HxParamBundle& copy);

}  // namespace hxroi
