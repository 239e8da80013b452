#include "hxroi/HxRois.h"
#include "hxroi/commands/setCommands.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/mcinterface_cast.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/objects/HxObjectPool.h"

namespace hxroi::commands {

namespace {

QString shown(const details::Roi& roi) {
  return QString::fromLatin1(roi.name());
}

void offerRois(const HxRois& rois) {
  QStringList masks, groups, firstLevel;
  for (const details::Mask* mask : rois.masks()) masks += shown(*mask);
  for (const auto& roi : rois) {
    firstLevel += shown(*roi);
    if (dynamic_cast<const details::Group*>(roi.get())) groups += shown(*roi);
  }
  HxCmdInfo& info = getCmdInfo();
  info.offer("MASK", masks);
  info.offer("GROUP", groups);
  QStringList all = masks + groups;
  all.removeDuplicates();
  info.offer("ROI", all);
  info.lead(all);
}

template <class Wanted>
QStringList objectsOf() {
  QStringList names;
  for (const McHandle<HxObject>& object : HxObjectPool::instance().objects())
    if (mcinterface_cast<Wanted>(object.get())) names += object->getName();
  return names;
}

}  // namespace

void offerNames(const HxRois& rois) {
  offerRois(rois);
  getCmdInfo().offer("SET", objectsOf<HxRois>());
  getCmdInfo().offer("FIELD", objectsOf<HxUniformLabelField3>());
}

}  // namespace hxroi::commands
