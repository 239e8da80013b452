#pragma once

#include <QString>
#include <cstddef>
#include <map>

#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/base/McHandle.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/voxora/tiles/TileSnapshot.h"

class HxRois;
class HxUniformLabelField3;
class McProgressInterface;

namespace hxroi {

/// The user has stopped a conversion.
class ConversionInterrupted : public McException {
public:
  ConversionInterrupted();
};

/// One conversion of a label field into an empty ROI set: a mask for each label but 0. For the user-interface thread.
class LabelConversion {
public:
  /// Makes the material records, and for each label its voxels and a mask that is still empty: the labels are read
  /// once. Neither argument is owned. Throws McException when the grid of `field` is too large for masks, and
  /// ConversionInterrupted when `progress` says so.
  LabelConversion(const HxUniformLabelField3& field, McProgressInterface& progress);

  /// Fills the masks and inserts them into `rois`, whose "Materials" become those of the conversion. When a mask cannot
  /// be filled or is refused, those inserted before stay, and the McException that leaves gives the reason and names
  /// the labels left out, that mask's first. Throws ConversionInterrupted when `progress` says so between two labels.
  /// Once.
  void run(HxRois& rois);

  /// Number of masks that were inserted.
  std::size_t insertedMasks() const { return inserted_; }

private:
  struct LabelMask {
    McHandle<details::Mask> mask;
    hxvoxora::TileSnapshot content;
  };
  using Masks = std::map<int, LabelMask>;

  void copyMaterials();
  void makeMasks();
  details::Mask* makeMask(int label) const;
  void fill(int label, LabelMask& mask);
  QString namesFrom(Masks::const_iterator next) const;

  const HxUniformLabelField3& field_;
  McProgressInterface& progress_;
  HxParamBundle records_;
  Masks masks_;
  std::size_t inserted_ = 0;
};

}  // namespace hxroi
