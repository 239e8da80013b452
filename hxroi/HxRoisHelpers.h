#pragma once

#include <string>

#include "hxroi/export.h"
#include "quarn/base/McBox3i.h"
#include "quarn/base/McVec3i.h"

class HxParamBundle;
class HxRois;
class HxUniformLabelField3;
class McProgressInterface;

namespace hxroi::details {
class Mask;
class Roi;
}  // namespace hxroi::details

/// Routines shared by the modules and commands that turn label fields into masks.
namespace HxRoisHelpers {

/// Stem of the names of masks that no material names.
inline const std::string DEFAULT_ROI_NAME = "Undescribed-label";

/// Sets every voxel of `mask` to (label of `field` there == `label`); a label outside 0..255 clears the mask. Throws
/// McException when field and mask have different grids.
///
/// The mask is written in slabs of whole tiles, so that memory stays bounded by one slab. After slice z the fraction of
/// `progress`, which may be null, is z / nz.
HXROI_API void store(const HxUniformLabelField3* field, int label, hxroi::details::Mask* mask,
                     McProgressInterface* progress);

/// Sets every voxel of `maskBox` to (label of `field` at the same place in `fieldBox` == `label`), and no voxel beside
/// it; a label outside 0..255 clears the box. Throws McException when the boxes differ in size or do not lie inside.
///
/// The box is written in slabs of tile depth. After its slice z of nz the fraction of `progress`, which may be null, is
/// z / nz.
HXROI_API void store(const HxUniformLabelField3* field, int label, const McBox3i& fieldBox, hxroi::details::Mask* mask,
                     const McBox3i& maskBox, McProgressInterface* progress);

/// Numbers of voxels of a label field. Throws McException when they are too many for a mask.
HXROI_API McVec3i gridOf(const HxUniformLabelField3& field);

/// Gives `record` the "Id" and the colour of `material`, as far as that has them.
HXROI_API void copyMaterial(const HxParamBundle& material, HxParamBundle& record);

/// Makes the range of the values of the field at "data" the colormap range of `roi`, which is new in the set. Without a
/// field, or one that holds no number, the ROI keeps its range.
HXROI_API void setDefaultRoiColormapRange(const HxRois* rois, hxroi::details::Roi* roi);

}  // namespace HxRoisHelpers
