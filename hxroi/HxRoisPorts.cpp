#include <string>
#include <utility>

#include "hxroi/HxRois.h"
#include "hxroi/HxRoisColorInformation.h"
#include "hxroi/details/Roi.h"

/// \file
/// How the ports of a set and its ROIs keep in step.

using hxroi::details::Roi;

namespace {

constexpr unsigned int kContent = 8;
constexpr unsigned int kDisplay = 1 | 4 | 32 | 128 | 2048;
constexpr unsigned int kOverlapDisplay = 0x2000 | 0x4000 | 0x8000;

}  // namespace

/// In the order of the names. What the user has changed in the old ports is not lost.
void HxRois::rebuildPortList() {
  applyPortChanges();
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
  colorPorts_.erase(newName);
  entry.key() = newName;
  entry.mapped()->rename(newName);
  colorPorts_.insert(std::move(entry));
}

void HxRois::update() {
  if (isNew(kContent)) rebuildPortList();
  if (isNew(kDisplay)) {
    for (const auto& [name, ports] : colorPorts_) {
      const Roi* roi = getRoi(name);
      if (roi && ports->isFor(*roi)) ports->showValuesOf(*roi);
    }
  }
  if (portOverlappingRenderingStyle.isNew()) {
    portOverlappingBoundaryColor.setVisible(portOverlappingRenderingStyle.getValue() == kBoundaryStyle);
    portOverlappingVoltexColormap.setVisible(portOverlappingRenderingStyle.getValue() == kVolumeStyle);
  }
  if (portOverlappingRenderingStyle.isNew() || portOverlappingBoundaryColor.isNew() ||
      portOverlappingVoltexColormap.isNew()) {
    touch(kOverlapDisplay);
  }
}

void HxRois::compute() {
  applyPortChanges();
}

void HxRois::applyPortChanges() {
  for (const auto& [name, ports] : colorPorts_) {
    Roi* roi = getRoi(name);
    if (roi && ports->isFor(*roi)) ports->applyChangesTo(*roi);
  }
}
