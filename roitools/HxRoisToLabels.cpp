#include "roitools/HxRoisToLabels.h"

#include <QCoreApplication>
#include <vector>

#include "hxroi/HxRois.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/objects/hxconnection_cast.h"
#include "roitools/ShownProgress.h"
#include "roitools/exchange/LabelImage.h"

MC_CLASS_IMPL(HxRoisToLabels, HxCompModule)

using roitools::LabelImage;
using roitools::Overlap;
using roitools::ShownProgress;

namespace {

constexpr std::size_t mostPairsTold = 100;

QString tr(const char* text) {
  return QCoreApplication::translate("HxRoisToLabels", text);
}

void print(const QString& text) {
  HxMessage::printf("%s", qUtf8Printable(text));
}

/// A line for each pair, and one for those that are too many.
QStringList linesOf(const LabelImage& image, const std::vector<Overlap>& overlaps) {
  QStringList lines;
  for (std::size_t i = 0; i < std::min(overlaps.size(), mostPairsTold); ++i) lines.append(image.textOf(overlaps[i]));
  if (overlaps.size() > mostPairsTold) lines.append(tr("and %1 more pairs").arg(overlaps.size() - mostPairsTold));
  return lines;
}

void tellWhatIsLost(const LabelImage& image, const QString& label) {
  if (const QStringList names = image.groups(); !names.isEmpty())
    print(tr("%1: labels have no groups; their masks stand alone: %2").arg(label, names.join(", ")));
  if (const QStringList names = image.emptyMasks(); !names.isEmpty())
    print(tr("%1: masks without voxels have a material, but no label: %2").arg(label, names.join(", ")));
  if (const QStringList names = image.renamed(); !names.isEmpty())
    print(tr("%1: materials have other names than masks: %2").arg(label, names.join(", ")));
}

}  // namespace

HxRoisToLabels::HxRoisToLabels()
    : HxCompModule(HxRois::getClassTypeId()),
      portOverlaps(this, "overlaps", tr("Overlaps"), 2),
      portDoIt(this, "doIt", tr("Do It"), 1) {
  portOverlaps.setLabel(Refused, tr("refused"));
  portOverlaps.setLabel(Flattened, tr("flattened"));
}

HxRoisToLabels::~HxRoisToLabels() = default;

void HxRoisToLabels::compute() {
  if (!portDoIt.wasHit(0)) return;
  // Held, since asking the user may run other events.
  const McHandle<HxRois> rois(hxconnection_cast<HxRois>(dataConnection));
  if (!rois) throw hxException(tr("%1: no ROI set is connected to \"data\".").arg(getLabel()));
  const LabelImage image(*rois);
  std::vector<Overlap> overlaps;
  McHandle<HxUniformLabelField3> field;
  {
    ShownProgress progress(tr("Looking for overlaps"));
    const auto goOn = [&](double done) { return progress.goOn(done); };
    const auto interrupted = [] { return hxException(tr("The conversion was interrupted.")); };
    if (!image.findOverlaps(goOn, overlaps)) throw interrupted();
    if (!overlaps.empty() && portOverlaps.getValue() == Refused)
      throw hxException(tr("%1: a label field cannot hold masks that overlap; set \"overlaps\" to flatten them.\n%2")
                            .arg(rois->getLabel(), linesOf(image, overlaps).join("\n")));
    progress.setText(tr("Making labels"));
    field = image.makeField(goOn);
    if (!field) throw interrupted();
  }
  field->setLabel(rois->getLabel() + "-labels");
  for (const Overlap& overlap : overlaps) print(image.textOf(overlap) + tr(": the first loses them"));
  tellWhatIsLost(image, rois->getLabel());
  roitools::tellWhatIsNotExchanged(*rois, field->getLabel(), false);
  setResult(field.get());
}
