#include "hxroi/HxRoisColorInformation.h"

#include <QCoreApplication>

#include "hxroi/details/Roi.h"
#include "quarn/kernel/fields/HxColormap.h"

using hxroi::details::Roi;

namespace {

constexpr unsigned int kRangeFlag = 32;
constexpr unsigned int kColormapFlags = 1 | 4 | 8 | 128;

QString portName(const char* kind, const std::string& roiName) {
  return QString(kind) + QString::fromLatin1(roiName.c_str());
}

/// A connection only reads its source, but takes part in its evaluation.
HxColormap* sourceFor(const HxColormap* colormap) {
  return const_cast<HxColormap*>(colormap);
}

}  // namespace

HxRois::ColorInformation::ColorInformation(HxObject* owner, const char* roiName)
    : portColormap(owner, portName("colormap-", roiName)),
      portColor(owner, portName("color-", roiName), QCoreApplication::translate("HxRois", "Color"), 1) {}

HxRois::ColorInformation::ColorInformation(HxObject* owner, const Roi& roi)
    : ColorInformation(owner, roi.name().c_str()) {
  portColormap.setConstantColorEnabled(false);
  portColormap.setLocalRangeActive(true);
  setVisible(false);
  showValuesOf(roi);
  portColormap.untouch();
  portColor.untouch();
}

void HxRois::ColorInformation::rename(const std::string& roiName) {
  portColormap.setName(portName("colormap-", roiName));
  portColor.setName(portName("color-", roiName));
}

void HxRois::ColorInformation::setVisible(bool visible) {
  portColormap.setVisible(visible);
  portColor.setVisible(visible);
}

void HxRois::ColorInformation::showValuesOf(const Roi& roi) {
  if (portColormap.colormap() != roi.colormap(false)) portColormap.connect(sourceFor(roi.colormap(false)));
  const auto [min, max] = roi.colormapRange(false);
  portColormap.setLocalRange(min, max);
  portColormap.setAlphaEnabled(roi.isAlphaEnabled());
  portColor.setColor(0, roi.color(false));
}

bool HxRois::ColorInformation::applyChangesTo(Roi& roi) const {
  if (portColormap.isNew(kRangeFlag)) roi.setColormapRange({portColormap.localMin(), portColormap.localMax()});
  if (portColormap.isNew(kColormapFlags)) {
    roi.setColormap(portColormap.colormap());
    roi.setAlphaEnabled(portColormap.isAlphaEnabled());
  }
  if (portColor.isNew()) roi.setColor(portColor.getColor(0));
  return portColormap.isNew() || portColor.isNew();
}
