#include "hxroi/detail/RemovedRois.h"

#include <exception>

#include "hxroi/details/Roi.h"
#include "quarn/kernel/app/HxMessage.h"

namespace hxroi {

void RemovedRois::remove(const std::string& name) {
  const details::Roi* roi = rois_.getRoi(name);
  const HxColormap* colormap = roi ? roi->colormap(false) : nullptr;
  removed_.emplace_back(rois_.removeRoi(name), colormap);
}

void RemovedRois::removeAll() {
  const HxRois::RoiList all(rois_.begin(), rois_.end());
  for (const HxRois::RoiHandle& roi : all) remove(roi->name());
}

void RemovedRois::putBack() {
  for (const auto& [roi, colormap] : std::exchange(removed_, {})) {
    try {
      rois_.addRoi(roi);
      roi->setColormap(colormap);
    } catch (const std::exception& failure) {
      HxMessage::printf("%s", failure.what());
    }
  }
}

}  // namespace hxroi
