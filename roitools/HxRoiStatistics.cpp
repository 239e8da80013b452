#include "roitools/HxRoiStatistics.h"

#include <QCoreApplication>
#include <optional>

#include "hxroi/HxRois.h"
#include "hxroi/detail/SetPlace.h"
#include "hxroi/details/Mask.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/HxTable.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/objects/hxconnection_cast.h"
#include "roitools/RoiTable.h"
#include "roitools/ShownProgress.h"
#include "roitools/exchange/placeOfSet.h"
#include "roitools/saveResult.h"
#include "roitools/tellPlaces.h"

MC_CLASS_IMPL(HxRoiStatistics, HxCompModule)

namespace {

QString tr(const char* text) {
  return QCoreApplication::translate("HxRoiStatistics", text);
}

McHandle<HxTable> resultTable(const HxRoiStatistics& module) {
  if (auto* table = dynamic_cast<HxTable*>(module.resultObject(0))) return table;
  McHandle<HxTable> table(new HxTable);
  table->setLabel("RoiStatistics");
  return table;
}

void ensureImageFits(const HxRois& rois, const HxUniformScalarField3* image) {
  if (image && !rois.masks().empty()) rois.masks().front()->ensureCompatibleWith(*image);
}

/// What tells where the set lies, else the image; null when nothing does.
McHandle<HxRegScalarField3> placeToMeasure(const HxRois& rois, HxUniformScalarField3* image) {
  if (auto* field = hxconnection_cast<HxUniformScalarField3>(rois.portData)) return field;
  if (const std::optional<HxGeometry3> place = hxroi::placeOf(rois)) return roitools::makePlace(*place).get();
  return image;
}

}  // namespace

HxRoiStatistics::HxRoiStatistics()
    : HxCompModule(HxRois::getClassTypeId()),
      portImage(this, "image", tr("Image"), HxUniformScalarField3::getClassTypeId()),
      portDoIt(this, "doIt", tr("Do It"), 1) {}

HxRoiStatistics::~HxRoiStatistics() = default;

void HxRoiStatistics::compute() {
  if (!portDoIt.wasHit(0)) return;
  const auto* rois = hxconnection_cast<HxRois>(dataConnection);
  if (!rois) throw hxException(tr("%1: no ROI set is connected to \"data\".").arg(getLabel()));

  auto* image = hxconnection_cast<HxUniformScalarField3>(portImage);
  ensureImageFits(*rois, image);
  const bool liesElsewhere = roitools::tellPlaces(roitools::placedGrid(*rois), roitools::placedGrid(image));
  const McHandle<HxRegScalarField3> place = placeToMeasure(*rois, image);
  if (!place) {
    const QString text = tr("No field is connected to %1 or to \"image\": volumes and world positions are left empty.");
    HxMessage::printf("%s", qUtf8Printable(text.arg(rois->getLabel())));
  }
  const McHandle<HxTable> table = resultTable(*this);
  {
    const roitools::ShownProgress progress(tr("Measuring ROIs"));
    roitools::fillRoiTable(*table, *rois, image, place.get(), progress.display());
  }
  if (liesElsewhere) roitools::markPlaces(*table);
  HxMessage::printf("%s", table->toText().c_str());
  setResult(table.get());
}

int HxRoiStatistics::parse(Tcl_Interp* interp, int argc, char** argv) {
  const std::optional<int> saved = roitools::parseSaveResult(*this, interp, argc, argv);
  return saved ? *saved : HxCompModule::parse(interp, argc, argv);
}
