#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>
#include <vector>

#include "quarn/base/McHandle.h"
#include "quarn/base/McVec3i.h"
#include "quarn/kernel/fields/HxGeometry3.h"
#include "roitools/exchange/ExchangedSet.h"
#include "roitools/exchange/sharedVoxels.h"
#include "roitools/export.h"

class HxRois;
class HxUniformLabelField3;

namespace roitools {

/// Two masks that share voxels; numbers in the order of the set, `first` below `second`.
struct Overlap {
  std::size_t first = 0, second = 0;
  std::uint64_t voxels = 0;
};

/// A ROI set as the labels of one field. For the user-interface thread.
class ROITOOLS_API LabelImage {
public:
  /// Takes the voxels of all masks down as they are. Tells when the set lies nowhere. Throws McException for a set
  /// without masks.
  explicit LabelImage(const HxRois& rois);

  /// Called all the time with the part that is done, from 0 to 1; false gives the work up.
  using GoOn = std::function<bool(double)>;

  /// All pairs of masks that share voxels, in the order of the set; false when `goOn` gave up.
  bool findOverlaps(const GoOn& goOn, std::vector<Overlap>& overlaps) const;

  /// A pair in words: "A and B share 12 voxels".
  QString textOf(const Overlap& overlap) const;

  /// A new field: label v for the voxels of the mask with number v - 1, whose name and colour are those of material v.
  /// Voxels that masks share have the label of the last of them. The place is that of the set. Null when `goOn` gave
  /// up. Throws McException when there is not enough memory.
  McHandle<HxUniformLabelField3> makeField(const GoOn& goOn) const;

  /// Masks without voxels, and groups: what the field cannot hold.
  QStringList emptyMasks() const;
  QStringList groups() const;
  /// Masks whose material has another name, since that of label 0 has theirs: "old -> new".
  QStringList renamed() const;

private:
  std::vector<std::string> materialNames() const;
  void addMaterials(HxUniformLabelField3& field) const;
  QString nameOf(std::size_t number) const;

  ExchangedSet set_;
  McVec3i grid_;
  HxGeometry3 geometry_;
  std::vector<MaskContent> contents_;
};

/// Sets the voxels of a mask to `label` in a field of its grid, in parallel.
ROITOOLS_API void drawLabel(HxUniformLabelField3& field, const MaskContent& content, std::uint8_t label);

}  // namespace roitools
