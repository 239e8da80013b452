#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "quarn/base/McBox3f.h"
#include "quarn/base/McColor.h"
#include "quarn/base/McDim3l.h"
#include "quarn/base/McHandle.h"
#include "quarn/kernel/fields/HxGeometry3.h"
#include "quarn/voxora/labels/joinLabels.h"

class HxParamBundle;
class HxRois;
class HxUniformLabelField3;
class McProgressInterface;

namespace hxroi::details {
class Mask;
}

namespace hxroi {

/// Masks of one set as the labels of one field: label k for mask k, counted from 1. Holds the masks as they are when it
/// is made, whatever becomes of them later. For the user-interface thread.
class RoiLabels {
public:
  /// The label of voxels that several masks share, and its material.
  static constexpr std::uint8_t overlapId = 255;
  static constexpr const char* kOverlapName = "Overlap";

  /// Of `masks` those that belong to `rois`. Throws McException for a set without masks.
  RoiLabels(HxRois& rois, const std::vector<const details::Mask*>& masks);

  /// A new field with labels and materials. Only masks with a material record in the set have a material. Throws
  /// ConversionInterrupted when `progress` says so, and McException when a mask cannot be read or without memory.
  McHandle<HxUniformLabelField3> makeField(McProgressInterface& progress) const;

  /// Puts a field where the set was: its box, and the geometry of its field when that is sound.
  void place(HxUniformLabelField3& field) const;

private:
  struct Material {
    std::string name;
    int id = 0;
    std::optional<McColor> color;
  };

  void add(const details::Mask& mask, const HxParamBundle& records, std::uint8_t label);
  void addMaterials(HxUniformLabelField3& field, bool hasOverlaps) const;

  McDim3l grid_;
  McBox3f box_;
  std::optional<HxGeometry3> geometry_;  ///< when the field of the set has one that is sound
  std::vector<hxvoxora::LabelledMask> masks_;
  std::vector<Material> materials_;
};

}  // namespace hxroi
