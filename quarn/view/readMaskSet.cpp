#include <algorithm>
#include <cmath>
#include <exception>
#include <tuple>

#include "quarn/base/McException.h"
#include "quarn/base/mcinterface_cast.h"
#include "quarn/kernel/fields/HxISetOfVolumeData.h"
#include "quarn/kernel/fields/HxPlaced.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/view/MaskSetLook.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace quarn::view {

namespace {

McColor drawable(const McColor& color) {
  McColor result = color;
  for (int channel = 0; channel < 3; ++channel)
    result[channel] = std::isfinite(color[channel]) ? std::clamp(color[channel], 0.0f, 1.0f) : 0.5f;
  return result;
}

std::optional<ColorTransfer> transferOf(const HxColormap* colormap,
                                        const std::optional<HxISetOfVolumeMask::Range>& range, bool usesAlpha) {
  if (!colormap) return std::nullopt;
  return ColorTransfer(*colormap, range, usesAlpha);
}

/// Asks one object its questions.
class Reader {
public:
  Reader(const HxISetOfVolumeMask& set, const QString& label, Complaints& complaints)
      : set_(set), label_(label), complaints_(complaints) {
    look_.owner = &set;
  }

  MaskSetLook read() {
    HxISetOfVolumeMask::VolumeList visible;
    ask(QStringLiteral("its masks"), [&] { visible = set_.getVisibleVolumeMask(); });
    ask(QStringLiteral("the volume that its masks lie over"), [&] { readReference(); });
    for (const McHandle<HxVolumeData>& data : visible)
      if (data && data->getVolumeNode()) ask(nameFor(*data), [&] { readMask(data); });
    if (!look_.masks.empty()) readOverlap();
    putInOrder();
    return std::move(look_);
  }

private:
  template <class Question>
  void ask(const QString& about, Question question) {
    try {
      question();
    } catch (const std::exception& failure) {
      complain(about, QString::fromUtf8(failure.what()));
    } catch (...) {
      complain(about, QStringLiteral("unknown failure"));
    }
  }

  void complain(const QString& about, const QString& why) {
    complaints_.tell(QStringLiteral("\"%1\" is not drawn whole; %2: %3")
                         .arg(label_, about, QString::fromStdString(McException::excerpt(why.toStdString()))));
  }

  QString nameFor(const HxVolumeData& data) const { return QStringLiteral("mask \"%1\"").arg(data.getLabel()); }

  void readReference() {
    HxISetOfVolumeData* reference = set_.getReferenceVolumeData();
    if (!reference) return readPlace();
    look_.dimensions = reference->getDimensions();
    look_.geometry = reference->getGeometry();
    look_.image = mcinterface_cast<HxUniformScalarField3>(reference);
  }

  void readPlace() {
    const auto* placed = dynamic_cast<const HxPlaced*>(&set_);
    const std::optional<HxGeometry3> place = placed ? placed->place() : std::nullopt;
    if (place) look_.geometry = *place;
  }

  void readMask(const McHandle<HxVolumeData>& data) {
    const auto* node = dynamic_cast<const SoVolumeMask*>(data->getVolumeNode());
    if (!node) throw McException("its volume is no mask");
    MaskLook mask{data,
                  hxvoxora::Ref<const SoVolumeMask>(node),
                  look_.owner,
                  node->snapshot(),
                  set_.getVolumeMaskName(data),
                  drawable(set_.getVolumeMaskColor(data)),
                  transferOf(set_.getVolumeMaskColormap(data), set_.getVolumeMaskColormapRange(data),
                             set_.getVolumeMaskColormapAlphaEnabled(data))};
    if (!node->fileError().empty()) throw McException(node->fileError());
    requireGrid(mask.content.dimensions());
    look_.masks.push_back(std::move(mask));
  }

  /// Without a reference the first mask tells the grid.
  void requireGrid(const SbVec3i32& size) {
    const McDim3l dimensions(size[0], size[1], size[2]);
    if (look_.dimensions == McDim3l()) look_.dimensions = dimensions;
    const McDim3l& wanted = look_.dimensions;
    if (dimensions == wanted) return;
    throw McException("it has " + std::to_string(size[0]) + " x " + std::to_string(size[1]) + " x " +
                      std::to_string(size[2]) + " voxels, not " + std::to_string(wanted.nx) + " x " +
                      std::to_string(wanted.ny) + " x " + std::to_string(wanted.nz));
  }

  void readOverlap() {
    ask(QStringLiteral("the look of what its masks share"), [&] {
      const auto style = set_.getOverlappingDrawStyle();
      const auto color = set_.getOverlappingColor();
      const auto transfer = transferOf(set_.getOverlappingColormap(), set_.getOverlappingColormapRange(),
                                       set_.getOverlappingColormapAlphaEnabled());
      look_.overlapStyle = style;
      if (color) look_.overlapColor = drawable(*color);
      look_.overlapTransfer = transfer;
    });
  }

  void putInOrder() {
    const auto key = [](const MaskLook& mask) {
      return std::tuple(mask.color.r, mask.color.g, mask.color.b, mask.name);
    };
    std::stable_sort(look_.masks.begin(), look_.masks.end(),
                     [&](const MaskLook& a, const MaskLook& b) { return key(a) < key(b); });
  }

  const HxISetOfVolumeMask& set_;
  const QString& label_;
  Complaints& complaints_;
  MaskSetLook look_;
};

}  // namespace

MaskSetLook readMaskSet(const HxISetOfVolumeMask& set, const QString& label, Complaints& complaints) {
  return Reader(set, label, complaints).read();
}

}  // namespace quarn::view
