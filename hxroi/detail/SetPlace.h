#pragma once

#include <optional>

#include "hxroi/export.h"
#include "quarn/base/McDim3l.h"
#include "quarn/kernel/fields/HxGeometry3.h"

class HxParamBundle;
class HxRois;

namespace hxroi {

/// Where a set lies in the world: where the field at its "data" does or, without one, as its parameters remember (see
/// storePlace); nothing when neither is known. User-interface thread.
HXROI_API std::optional<HxGeometry3> placeOf(const HxRois& rois);

/// Lets these parameters of a set remember a place: the bundle "Geometry", and in it "Dimensions", three reals, the
/// grid that it is for. Numbers of no use are left out.
HXROI_API void storePlace(const HxGeometry3& geometry, const McDim3l& grid, HxParamBundle& parameters);

/// The same for the place of the field at the "data" of a set, so that it is known without the field. Without one
/// nothing changes.
HXROI_API void storePlace(const HxRois& rois, HxParamBundle& parameters);

/// Lets a set lie where another one does: with the field of that one or, without one, with what it remembers.
HXROI_API void copyPlace(const HxRois& from, HxRois& to);

}  // namespace hxroi
