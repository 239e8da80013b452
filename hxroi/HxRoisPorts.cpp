#include <string>
#include <utility>

#include "hxroi/HxRois.h"
#include "hxroi/HxRoisColorInformation.h"
#include "hxroi/details/Roi.h"
#include "quarn/kernel/objects/HxObjectPool.h"

/// \file
/// How the ports of a set and its ROIs keep in step.

using hxroi::details::Roi;

namespace {

constexpr unsigned int kContent = 8;
constexpr unsigned int kName = 16;
constexpr unsigned int kSelection = 512;
constexpr unsigned int kDisplay = 1 | 4 | 32 | 128 | 2048;
constexpr unsigned int kOverlapDisplay = 0x2000 | 0x4000 | 0x8000;

}  // namespace

/// In the order of the names. What the user has changed in the old ports is not lost.
void HxRois::rebuildPortList() {
  applyPortChanges();
  shownPorts_ = nullptr;
  colorPorts_.clear();
  for (const auto& [name, roi] : index_) colorPorts_.emplace(name, std::make_unique<ColorInformation>(this, *roi));
}

/// What is still to come of the ports of a ROI that left is for no other ROI of its name.
void HxRois::forgetColorPorts(const std::string& name) {
  const auto found = colorPorts_.find(name);
  if (found != colorPorts_.end()) found->second->forgetRoi();
}

/// What a colour port shows belongs to the name of its ROI, also when that ROI is replaced.
void HxRois::renameColorPorts(const std::string& oldName, const std::string& newName) {
  auto entry = colorPorts_.extract(oldName);
  if (entry.empty()) return;
  const auto replaced = colorPorts_.find(newName);
  if (replaced != colorPorts_.end()) {
    if (replaced->second.get() == shownPorts_) shownPorts_ = nullptr;
    colorPorts_.erase(replaced);
  }
  entry.key() = newName;
  entry.mapped()->rename(newName);
  colorPorts_.insert(std::move(entry));
}

void HxRois::update() {
  if (isNew(kContent)) {
    rebuildPortList();
    portRoiVisibility.updateHxRois();
  } else if (isNew(kName | kDisplay)) {
    portRoiVisibility.repaint();
  }
  if (isNew(kDisplay)) {
    for (const auto& [name, ports] : colorPorts_) {
      const Roi* roi = getRoi(name);
      if (roi && ports->isFor(*roi)) ports->showValuesOf(*roi);
    }
  }
  if (isNew(kContent) || portRoiVisibility.isNew(kSelection)) showPortsOfSelectedRoi();
  if (portOverlappingRenderingStyle.isNew()) {
    portOverlappingBoundaryColor.setVisible(portOverlappingRenderingStyle.getValue() == kBoundaryStyle);
    portOverlappingVoltexColormap.setVisible(portOverlappingRenderingStyle.getValue() == kVolumeStyle);
  }
  if (portOverlappingRenderingStyle.isNew() || portOverlappingBoundaryColor.isNew() ||
      portOverlappingVoltexColormap.isNew()) {
    touch(kOverlapDisplay);
  }
}

/// Ports that were made anew are hidden until this is asked again.
void HxRois::showPortsOfSelectedRoi() {
  if (shownPorts_) shownPorts_->setVisible(false);
  shownPorts_ = nullptr;
  const McDArray<Roi*> selected = portRoiVisibility.getSelectedRois();
  if (selected.size() != 1) return;
  const auto found = colorPorts_.find(selected[0]->name());
  if (found == colorPorts_.end()) return;
  shownPorts_ = found->second.get();
  shownPorts_->setVisible(true);
  HxObjectPool::instance().notifyPortSelectedChanged(&shownPorts_->portColormap);
}

void HxRois::compute() {
  if (applyPortChanges()) portRoiVisibility.updateHxRois();
}

/// Whether there were any.
bool HxRois::applyPortChanges() {
  bool any = false;
  for (const auto& [name, ports] : colorPorts_) {
    Roi* roi = getRoi(name);
    if (roi && ports->isFor(*roi) && ports->applyChangesTo(*roi)) any = true;
  }
  return any;
}
