#include "roitools/HxRoiSplit.h"

#include <QCoreApplication>
#include <limits>
#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/detail/SetPlace.h"
#include "hxroi/details/Mask.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/objects/hxconnection_cast.h"
#include "quarn/voxora/components/findComponents.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "roitools/ComponentMasks.h"
#include "roitools/LargestComponents.h"
#include "roitools/ShownProgress.h"
#include "roitools/SizeHistogram.h"

MC_CLASS_IMPL(HxRoiSplit, HxCompModule)

using hxroi::details::Mask;
using hxvoxora::Component;
using hxvoxora::Neighbours;
using roitools::LargestComponents;
using roitools::SelectedComponents;
using roitools::ShownProgress;
using roitools::SizeHistogram;

namespace {

QString tr(const char* text) {
  return QCoreApplication::translate("HxRoiSplit", text);
}

McException interrupted() {
  return hxException(tr("The split was interrupted."));
}

QString shownName(const Mask& mask) {
  return QString::fromLatin1(mask.name().c_str());
}

std::uint64_t voxelsOf(const std::vector<Component>& components) {
  std::uint64_t sum = 0;
  for (const Component& component : components) sum += component.voxelCount;
  return sum;
}

void print(const QString& text) {
  HxMessage::printf("%s", qUtf8Printable(text));
}

void report(const Mask& mask, const SizeHistogram& all, const SelectedComponents& selected) {
  print(tr("%1: %2 components, %3 voxels.").arg(shownName(mask)).arg(all.components()).arg(all.voxels()));
  if (all.components() != 0) print(all.toText());
  const std::uint64_t voxels = voxelsOf(selected.components);
  print(tr("Kept: %1 components, %2 voxels. %3: %4 components, %5 voxels.")
            .arg(selected.components.size())
            .arg(voxels)
            .arg(selected.withRest ? tr("Rest, as one mask") : tr("Left out"))
            .arg(all.components() - selected.components.size())
            .arg(all.voxels() - voxels));
}

/// The set of the last split, or a new one. It is named after the set of the source, since one split follows another.
McHandle<HxRois> resultSet(const HxRoiSplit& module, const HxRois& source) {
  McHandle<HxRois> rois(dynamic_cast<HxRois*>(module.resultObject(0)));
  if (rois) return rois;
  rois = new HxRois;
  rois->setLabel(source.getLabel() + "-components");
  return rois;
}

}  // namespace

HxRoiSplit::HxRoiSplit()
    : HxCompModule(HxRois::getClassTypeId()),
      portMask(this, "mask", tr("Mask")),
      portNeighbours(this, "neighbours", tr("Neighbours"), 2),
      portMinimumSize(this, "minimumSize", tr("Minimum size"), 1, std::numeric_limits<std::int64_t>::max()),
      portLargest(this, "largest", tr("Largest"), 1, kMostComponents),
      portRest(this, "rest", tr("Rest"), 2),
      portDoIt(this, "doIt", tr("Do It"), 1) {
  portNeighbours.setLabel(Faces, "6");
  portNeighbours.setLabel(All, "26");
  portLargest.setValue(kMostComponents);
  portRest.setLabel(LeaveOut, tr("left out"));
  portRest.setLabel(OneMask, tr("one mask"));
}

HxRoiSplit::~HxRoiSplit() = default;

McHandle<Mask> HxRoiSplit::sourceMask(const HxRois& source) const {
  const QString& name = portMask.getValue();
  if (name.isEmpty() && source.masks().size() == 1) return source.getMask(source.masks().front()->name());
  if (name.isEmpty()) {
    throw hxException(tr("%1: \"mask\" must name one of the %2 masks of %3.")
                          .arg(getLabel(), QString::number(source.getNumberOfMasks()), source.getLabel()));
  }
  Mask* mask = source.getMask(name.toLatin1().toStdString());
  if (!mask) throw hxException(tr("%1: there is no mask \"%2\" in %3.").arg(getLabel(), name, source.getLabel()));
  return mask;
}

void HxRoiSplit::compute() {
  if (!portDoIt.wasHit(0)) return;
  // Both are held, since asking the user may run other events.
  const McHandle<HxRois> source(hxconnection_cast<HxRois>(dataConnection));
  if (!source) throw hxException(tr("%1: no ROI set is connected to \"data\".").arg(getLabel()));
  const McHandle<Mask> held = sourceMask(*source);
  const Mask& mask = *held;
  SelectedComponents selected;
  selected.volume = mask.volumeMask()->snapshot();
  selected.neighbours = portNeighbours.getValue() == All ? Neighbours::All : Neighbours::Faces;

  std::vector<McHandle<Mask>> masks;
  SizeHistogram sizes;
  {
    ShownProgress progress(tr("Finding components"));
    const auto goOn = [&progress](double fraction) { return progress.goOn(fraction); };
    LargestComponents largest(static_cast<std::size_t>(portLargest.getValue()),
                              static_cast<std::uint64_t>(portMinimumSize.getValue()));
    const auto count = [&](const Component& component) {
      sizes.add(component.voxelCount);
      largest.add(component);
    };
    if (!hxvoxora::findComponents(selected.volume, selected.neighbours, count, goOn)) throw interrupted();
    selected.components = largest.take();
    selected.withRest = portRest.getValue() == OneMask && sizes.components() > selected.components.size();
    progress.setText(tr("Making masks"));
    masks = roitools::makeComponentMasks(mask, selected, goOn);
    if (masks.size() < selected.components.size() + (selected.withRest ? 1 : 0)) throw interrupted();
  }
  report(mask, sizes, selected);

  const McHandle<HxRois> rois = resultSet(*this, *source);
  rois->portData.disconnect();
  rois->removeAllRois();
  for (const McHandle<Mask>& piece : masks) rois->addRoi(piece.get());
  hxroi::copyPlace(*source, *rois);
  setResult(rois.get());
}
