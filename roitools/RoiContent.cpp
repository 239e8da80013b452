#include "roitools/RoiContent.h"

#include <QString>

#include "hxroi/HxRois.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace roitools {

using hxroi::details::Group;
using hxroi::details::Mask;
using hxroi::details::Roi;
using hxvoxora::TileSnapshot;

namespace {

/// Of a group with at least one member.
TileSnapshot unionOf(const Group& group) {
  const auto sum = hxvoxora::makeRef<SoVolumeMask>();
  const SoVolumeMask& first = *group.begin()->volumeMask();
  sum->initializeInMemory(first.dataDimension(), first.getTileDimension());
  const SbBox3i32 whole = sum->snapshot().grid().box();
  const int transaction = sum->beginTransaction();
  for (const Mask& member : group) sum->combineBox(whole, *member.volumeMask(), hxvoxora::TruthTable::Or);
  sum->endTransaction(transaction);
  return sum->snapshot();
}

}  // namespace

std::vector<const Roi*> roisInOrder(const HxRois& rois) {
  std::vector<const Roi*> all;
  for (const auto& roi : rois) {
    all.push_back(roi.get());
    if (const auto* group = dynamic_cast<const Group*>(roi.get())) {
      for (const Mask& member : *group) all.push_back(&member);
    }
  }
  return all;
}

TileSnapshot contentOf(const Roi& roi) {
  if (const auto* mask = dynamic_cast<const Mask*>(&roi)) return mask->volumeMask()->snapshot();
  const auto& group = dynamic_cast<const Group&>(roi);
  return group.size() == 0 ? TileSnapshot() : unionOf(group);
}

std::string shownName(const Roi& roi) {
  return QString::fromLatin1(roi.name().c_str()).toStdString();
}

std::string shownGroup(const Roi& roi) {
  return roi.parent() ? shownName(*roi.parent()) : std::string();
}

}  // namespace roitools
