#pragma once

#include <QString>
#include <cstddef>
#include <map>

#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/base/McHandle.h"
#include "quarn/kernel/params/HxParamBundle.h"

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
  /// Makes the material records and the masks, still empty. `field` is not owned. Throws McException when its grid is
  /// too large for masks.
  explicit LabelConversion(const HxUniformLabelField3& field);

  /// Fills the masks and inserts them into `rois`, whose "Materials" become those of the conversion. When a mask cannot
  /// be filled or is refused, those inserted before stay, and the McException that leaves gives the reason and names
  /// the labels left out, that mask's first. Throws ConversionInterrupted when `progress` says so between two labels.
  void run(HxRois& rois, McProgressInterface& progress);

  /// Number of masks that were inserted.
  std::size_t insertedMasks() const { return inserted_; }

private:
  using Masks = std::map<int, McHandle<details::Mask>>;

  void copyMaterials();
  void makeMasks();
  details::Mask* makeMask(int label) const;
  void fill(int label, details::Mask* mask, McProgressInterface& progress);
  QString namesFrom(Masks::const_iterator next) const;

  const HxUniformLabelField3& field_;
  HxParamBundle records_;
  Masks masks_;
  std::size_t inserted_ = 0;
};

}  // namespace hxroi
