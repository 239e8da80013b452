#pragma once

#include <boost/bimap.hpp>
#include <map>
#include <string>

#include "hxroi/export.h"
#include "quarn/base/McHandle.h"
#include "quarn/kernel/fields/HxVolumeData.h"

class HxRois;

namespace hxroi::details {
class Mask;
}

/// What the renderer gets of each set: a volume-data object for each of its masks, named after the mask. The objects
/// hold no reference to the voxels of the mask; an entry goes before its mask can die. For the user-interface thread.
class HXROI_API HxRoiToHxVolumeDataRegistry {
public:
  /// Masks on the left, in order of their addresses; looking up what is not there throws std::out_of_range with
  /// "bimap<>: invalid key".
  using BimapMaskVolumeData = boost::bimap<const hxroi::details::Mask*, McHandle<HxVolumeData>>;

  /// Enters a set, or brings its entries in step with its present masks and their names. A mask that stays keeps its
  /// object.
  static void registerHxRois(HxRois* rois) { updateVolumeDataList(rois); }
  static void updateHxRois(HxRois* rois) { updateVolumeDataList(rois); }

  static void unregisterHxRois(HxRois* rois);

  /// The mask is about to get this name.
  static void renameMask(HxRois* rois, const hxroi::details::Mask* mask, const std::string& newName);

  /// The entries of a set; a set not yet entered gets an empty list.
  static const BimapMaskVolumeData& getBimapMaskVolumeData(HxRois* rois);

private:
  using Registry = std::map<HxRois*, BimapMaskVolumeData>;

  static void updateVolumeDataList(HxRois* rois);

  static Registry s_mapHxRoisToBimapRoiToHxVolumeData;
};
