#include "hxroi/detail/LabelConversion.h"

#include <QCoreApplication>
#include <QStringList>
#include <bitset>
#include <exception>
#include <string>

#include "hxroi/HxRois.h"
#include "hxroi/HxRoisHelpers.h"
#include "quarn/base/McColor.h"
#include "quarn/base/McProgressInterface.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"

namespace hxroi {

using details::Mask;

namespace {

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

LabelConversion::LabelConversion(const HxUniformLabelField3& field) : field_(field) {
  copyMaterials();
  makeMasks();
}

void LabelConversion::run(HxRois& rois, McProgressInterface& progress) {
  HxParamBundle& materials = *rois.parameters.getMaterials(1);
  materials.removeAll();
  materials.copy(records_);
  const StepSequence sequence(progress, masks_.size());
  for (auto next = masks_.begin(); next != masks_.end(); ++next) {
    const auto& [label, mask] = *next;
    if (progress.isInterrupted()) throw ConversionInterrupted();
    const Step step(progress, tr("Converting label %1").arg(label));
    try {
      fill(label, mask, progress);
      rois.addRoi(mask);
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
  const std::uint8_t* labels = field_.lattice().getLabels();
  std::bitset<256> seen;
  seen.set(0);
  for (std::int64_t i = 0, count = field_.voxelCount(); i < count && !seen.all(); ++i) {
    if (seen.test(labels[i])) continue;
    seen.set(labels[i]);
    masks_.emplace(labels[i], makeMask(labels[i]));
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

void LabelConversion::fill(int label, Mask* mask, McProgressInterface& progress) {
  HxRoisHelpers::store(&field_, label, mask, &progress);
  progress.setText(tr("Flushing mask %1").arg(label).toStdString());
  mask->flush(2);
}

QString LabelConversion::namesFrom(Masks::const_iterator next) const {
  QStringList names;
  for (; next != masks_.end(); ++next) {
    names << QString::number(next->first) + " " + QString::fromLatin1(next->second->name());
  }
  return names.join(", ");
}

}  // namespace hxroi
