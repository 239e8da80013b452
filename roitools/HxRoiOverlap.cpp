#include "roitools/HxRoiOverlap.h"

#include <QCoreApplication>

#include "hxroi/HxRois.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/HxTable.h"
#include "quarn/kernel/objects/hxconnection_cast.h"
#include "roitools/OverlapTable.h"
#include "roitools/ShownProgress.h"
#include "roitools/saveResult.h"
#include "roitools/tellPlaces.h"

MC_CLASS_IMPL(HxRoiOverlap, HxCompModule)

namespace {

QString tr(const char* text) {
  return QCoreApplication::translate("HxRoiOverlap", text);
}

McHandle<HxTable> resultTable(const HxRoiOverlap& module) {
  if (auto* table = dynamic_cast<HxTable*>(module.resultObject(0))) return table;
  McHandle<HxTable> table(new HxTable);
  table->setLabel("RoiOverlap");
  return table;
}

}  // namespace

HxRoiOverlap::HxRoiOverlap()
    : HxCompModule(HxRois::getClassTypeId()),
      portOther(this, "other", tr("Other"), HxRois::getClassTypeId()),
      portDoIt(this, "doIt", tr("Do It"), 1) {}

HxRoiOverlap::~HxRoiOverlap() = default;

void HxRoiOverlap::compute() {
  if (!portDoIt.wasHit(0)) return;
  // All are held, since asking the user may run other events.
  const McHandle<HxRois> rois(hxconnection_cast<HxRois>(dataConnection));
  if (!rois) throw hxException(tr("%1: no ROI set is connected to \"data\".").arg(getLabel()));
  const McHandle<HxRois> other(hxconnection_cast<HxRois>(portOther));
  const bool liesElsewhere = other && roitools::tellPlaces(roitools::placedGrid(*rois), roitools::placedGrid(*other));
  const McHandle<HxTable> table = resultTable(*this);
  {
    roitools::ShownProgress progress(tr("Counting shared voxels"));
    const auto goOn = [&progress](double fraction) { return progress.goOn(fraction); };
    if (!roitools::fillOverlapTable(*table, *rois, other.get(), goOn))
      throw hxException(tr("The count was interrupted."));
  }
  if (liesElsewhere) roitools::markPlaces(*table);
  HxMessage::printf("%s", table->toText().c_str());
  setResult(table.get());
}

int HxRoiOverlap::parse(Tcl_Interp* interp, int argc, char** argv) {
  const std::optional<int> saved = roitools::parseSaveResult(*this, interp, argc, argv);
  return saved ? *saved : HxCompModule::parse(interp, argc, argv);
}
