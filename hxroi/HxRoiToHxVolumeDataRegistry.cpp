#include "hxroi/HxRoiToHxVolumeDataRegistry.h"

#include <set>

#include "hxroi/HxRois.h"
#include "hxroi/details/Mask.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

using hxroi::details::Mask;

HxRoiToHxVolumeDataRegistry::Registry HxRoiToHxVolumeDataRegistry::s_mapHxRoisToBimapRoiToHxVolumeData;

namespace {

/// Names of masks are Latin-1.
QString labelOf(const std::string& name) {
  return QString::fromLatin1(name.c_str());
}

/// The renderer may hold the object longer than the mask lives.
void letGo(HxVolumeData& data) {
  data.setVolumeNode(nullptr);
}

}  // namespace

void HxRoiToHxVolumeDataRegistry::updateVolumeDataList(HxRois* rois) {
  BimapMaskVolumeData& entries = s_mapHxRoisToBimapRoiToHxVolumeData[rois];
  const std::set<const Mask*> present(rois->masks().begin(), rois->masks().end());
  for (auto next = entries.left.begin(); next != entries.left.end();) {
    const auto entry = next++;
    if (present.contains(entry->first)) continue;
    letGo(*entry->second);
    entries.left.erase(entry);
  }
  for (const Mask* mask : present) {
    const QString name = labelOf(mask->name());
    const auto found = entries.left.find(mask);
    if (found == entries.left.end()) {
      entries.insert({mask, McHandle<HxVolumeData>(new HxVolumeData(mask->volumeMask(), name))});
    } else {
      found->second->setVolumeNode(mask->volumeMask());
      found->second->setLabel(name);
    }
  }
}

void HxRoiToHxVolumeDataRegistry::unregisterHxRois(HxRois* rois) {
  const auto found = s_mapHxRoisToBimapRoiToHxVolumeData.find(rois);
  if (found == s_mapHxRoisToBimapRoiToHxVolumeData.end()) return;
  for (const auto& entry : found->second.left) letGo(*entry.second);
  s_mapHxRoisToBimapRoiToHxVolumeData.erase(found);
}

void HxRoiToHxVolumeDataRegistry::renameMask(HxRois* rois, const Mask* mask, const std::string& newName) {
  const BimapMaskVolumeData& entries = s_mapHxRoisToBimapRoiToHxVolumeData[rois];
  const auto found = entries.left.find(mask);
  if (found != entries.left.end()) found->second->setLabel(labelOf(newName));
}

const HxRoiToHxVolumeDataRegistry::BimapMaskVolumeData& HxRoiToHxVolumeDataRegistry::getBimapMaskVolumeData(
    HxRois* rois) {
  return s_mapHxRoisToBimapRoiToHxVolumeData[rois];
}
