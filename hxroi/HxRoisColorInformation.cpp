#include "hxroi/HxRoisColorInformation.h"

#include <QCoreApplication>

#include "hxroi/details/Roi.h"
#include "quarn/kernel/fields/HxColormap.h"

using hxroi::details::Roi;

namespace {

constexpr unsigned int kConnectionFlag = 1;
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
  roi_ = &roi;
  portColormap.setConstantColorEnabled(false);
  portColormap.setLocalRangeActive(true);
  setVisible(false);
  show(Values(roi));
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

HxRois::ColorInformation::Values::Values(const Roi& roi)
    : colormap(roi.colormap(false)),
      range(roi.colormapRange(false)),
      alphaEnabled(roi.isAlphaEnabled()),
      color(roi.color(false)) {}

void HxRois::ColorInformation::showValuesOf(const Roi& roi) {
  show(Values(roi));
}

void HxRois::ColorInformation::show(const Values& values) {
  const bool all = !shown_;
  // A colormap that has gone took its connection along.
  const bool isCut = portColormap.colormap() != values.colormap && !portColormap.isNew(kConnectionFlag);
  if (all || isCut || values.colormap != shown_->colormap) portColormap.connect(sourceFor(values.colormap));
  if (all || values.range != shown_->range) portColormap.setLocalRange(values.range.first, values.range.second);
  if (all || values.alphaEnabled != shown_->alphaEnabled) portColormap.setAlphaEnabled(values.alphaEnabled);
  if (all || values.color != shown_->color) portColor.setColor(0, values.color);
  shown_ = values;
}

bool HxRois::ColorInformation::applyChangesTo(Roi& roi) {
  if (portColormap.isNew(kRangeFlag)) roi.setColormapRange({portColormap.localMin(), portColormap.localMax()});
  if (portColormap.isNew(kColormapFlags)) {
    roi.setColormap(portColormap.colormap());
    roi.setAlphaEnabled(portColormap.isAlphaEnabled());
  }
  if (portColor.isNew()) roi.setColor(portColor.getColor(0));
  shown_ = Values(roi);
  return portColormap.isNew() || portColor.isNew();
}
