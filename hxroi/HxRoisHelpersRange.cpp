#include <utility>

#include "hxroi/HxRois.h"
#include "hxroi/HxRoisHelpers.h"
#include "hxroi/details/Roi.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/objects/hxconnection_cast.h"

void HxRoisHelpers::setDefaultRoiColormapRange(const HxRois* rois, hxroi::details::Roi* roi) {
  const auto* field = rois ? hxconnection_cast<HxUniformScalarField3>(rois->portData) : nullptr;
  if (!field || !roi) return;
  float min, max;
  field->valueRange(min, max);
  // A field without numbers has no range.
  if (min <= max) roi->setColormapRange(std::pair(min, max));
}
