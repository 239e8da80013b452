#include "hxroi/detail/LabelConversion.h"

#include <QCoreApplication>
#include <QStringList>
#include <exception>
#include <iterator>
#include <string>
#include <utility>

#include "hxroi/HxRois.h"
#include "hxroi/HxRoisHelpers.h"
#include "hxroi/details/toolkitBoxes.h"
#include "quarn/base/McColor.h"
#include "quarn/base/McProgressInterface.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/voxora/labels/separateLabels.h"
#include "quarn/voxora/tiles/MemoryBudget.h"
#include "quarn/voxora/utilities/utilities.h"

namespace hxroi {

using details::Mask;

namespace {

constexpr int kMostNames = 10;

QString tr(const char* text) {
  return QCoreApplication::translate("HxUniformLabelField3ToHxRois", text);
}

/// Closes the sequence of steps however it ends.
class StepSequence {
public:
  StepSequence(McProgressInterface& progress, std::size_t count) : progress_(progress) {
    progress_.setStepCount(static_cast<int>(count));
  }
  ~StepSequence() { progress_.endSteps(); }
  StepSequence(const StepSequence&) = delete;
  StepSequence& operator=(const StepSequence&) = delete;

private:
  McProgressInterface& progress_;
};

/// Ends the step however its work ends.
class Step {
public:
  Step(McProgressInterface& progress, const QString& text) : progress_(progress) {
    progress_.startStep(text.toStdString());
  }
  ~Step() { progress_.endStep(); }
  Step(const Step&) = delete;
  Step& operator=(const Step&) = delete;

private:
  McProgressInterface& progress_;
};

}  // namespace

ConversionInterrupted::ConversionInterrupted() : McException(hxException(tr("The conversion was interrupted."))) {}

LabelConversion::LabelConversion(const HxUniformLabelField3& field, McProgressInterface& progress)
    : field_(field), progress_(progress) {
  copyMaterials();
  makeMasks();
}

void LabelConversion::run(HxRois& rois) {
  HxParamBundle& materials = *rois.parameters.getMaterials(1);
  materials.removeAll();
  materials.copy(records_);
  const StepSequence sequence(progress_, masks_.size());
  for (auto next = masks_.begin(); next != masks_.end(); ++next) {
    auto& [label, mask] = *next;
    if (progress_.isInterrupted()) throw ConversionInterrupted();
    const Step step(progress_, tr("Converting label %1").arg(label));
    try {
      fill(label, mask);
      rois.addRoi(mask.mask);
    } catch (const std::exception& failure) {
      const QString leftOut = tr("Labels left out: %1").arg(namesFrom(next));
      throw hxException(QString::fromUtf8(failure.what()) + "\n" + leftOut);
    }
    ++inserted_;
  }
}

void LabelConversion::copyMaterials() {
  const HxParamBundle* materials = field_.materials();
  if (!materials) return;
  for (int i = 1; i < materials->bundleCount(); ++i) {
    const HxParamBundle& material = *materials->getBundle(i);
    HxRoisHelpers::copyMaterial(material, *records_.getBundle(material.name()));
  }
}

/// In the order in which the labels appear in the field, so that colours are drawn in that order.
void LabelConversion::makeMasks() {
  if (field_.voxelCount() == 0) return;
  const McVec3i size = HxRoisHelpers::gridOf(field_);
  const hxvoxora::TileGrid grid(toToolkit(size), hxvoxora::utilities::computeLDMTileSize(McDim3l(size)));
  // Tiles are made before there is a mask, which would tell where those go that memory has no room for.
  if (const std::string prefix = Mask::getTemporaryPrefix(); !prefix.empty()) hxvoxora::setSpillPrefix(prefix);
  auto contents = hxvoxora::separateLabels(field_.lattice().getLabels(), grid,
                                           [this](double) { return !progress_.isInterrupted(); });
  if (!contents) throw ConversionInterrupted();
  for (hxvoxora::LabelContent& content : *contents) {
    masks_.emplace(content.label, LabelMask{makeMask(content.label), std::move(content.content)});
  }
}

Mask* LabelConversion::makeMask(int label) const {
  McColor color = McColor::nextHtmlColor();
  std::string name = HxRoisHelpers::DEFAULT_ROI_NAME + "-" + std::to_string(label);
  if (const HxParamBundle* record = records_.getBundle(label - 1)) {
    name = record->name();
    record->getMaterialColor(color);
  }
  return new Mask(name, HxRoisHelpers::gridOf(field_), false, color, nullptr);
}

void LabelConversion::fill(int label, LabelMask& mask) {
  mask.mask->setContent(std::exchange(mask.content, {}));
  const auto depth = static_cast<float>(field_.lattice().dimensions().nz);
  progress_.setValue((depth - 1) / depth);
  progress_.setText(tr("Flushing mask %1").arg(label).toStdString());
  mask.mask->flush(2);
}

/// With their names while these can be read, else as ranges.
QString LabelConversion::namesFrom(Masks::const_iterator next) const {
  QStringList names, ranges;
  for (; next != masks_.end(); ++next) {
    names << QString::number(next->first) + " " + QString::fromLatin1(next->second.mask->name());
    const bool isNewRange = ranges.isEmpty() || std::prev(next)->first + 1 != next->first;
    if (isNewRange) {
      ranges << QString::number(next->first);
    } else {
      ranges.back() = ranges.back().section(QLatin1Char('-'), 0, 0) + "-" + QString::number(next->first);
    }
  }
  return names.size() > kMostNames ? ranges.join(", ") : names.join(", ");
}

}  // namespace hxroi
