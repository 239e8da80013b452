#include "roitools/HxRangeToLabels.h"

#include <QCoreApplication>
#include <QLocale>
#include <algorithm>
#include <limits>
#include <optional>

#include "hxroi/HxRois.h"
#include "hxroi/details/Mask.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/objects/hxconnection_cast.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "roitools/FieldRegion.h"
#include "roitools/RoiContent.h"
#include "roitools/ShownProgress.h"
#include "roitools/otsuThreshold.h"
#include "roitools/rangeToLabels.h"
#include "roitools/tellPlaces.h"

MC_CLASS_IMPL(HxRangeToLabels, HxCompModule)

using hxroi::details::Roi;
using roitools::FieldRegion;
using roitools::RangeLabels;
using roitools::ShownProgress;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

QString tr(const char* text) {
  return QCoreApplication::translate("HxRangeToLabels", text);
}

McException interrupted() {
  return hxException(tr("The work was interrupted."));
}

QString textOf(double number) {
  return QLocale::c().toString(number, 'g', QLocale::FloatingPointShortest);
}

/// In the order of their labels.
void setMaterials(HxUniformLabelField3& labels) {
  HxParamBundle& materials = *labels.materials(true);
  materials.removeAll();
  int label = 0;
  for (const char* name : {"Exterior", "Inside"}) materials.getBundle(name)->set("Id", std::int64_t{label++});
}

/// Where a field lies. A box alone holds less than a geometry, but may be what no geometry can be, empty.
struct Place {
  explicit Place(const HxUniformScalarField3& field) : box(field.boundingBox()) {
    if (field.parameters.getBundle("Geometry")) geometry = field.geometry();
  }

  void give(HxUniformLabelField3& labels) const {
    labels.parameters.remove("Geometry");
    if (geometry) return labels.setGeometry(*geometry);
    labels.setBoundingBox(box);
  }

  std::optional<HxGeometry3> geometry;
  McBox3f box;
};

/// The former result with the new labels, or a new field. All that may fail comes before the first change. Names and
/// colours that the former result has stay: they may be the user's.
McHandle<HxUniformLabelField3> resultField(const HxRangeToLabels& module, const HxUniformScalarField3& field,
                                           const RangeLabels& made) {
  const Place place(field);
  McHandle<HxUniformLabelField3> labels(dynamic_cast<HxUniformLabelField3*>(module.resultObject(0)));
  if (!labels) {
    labels = new HxUniformLabelField3;
    labels->setLabel(field.getLabel() + "-labels");
  }
  labels->lattice().resize(field.latticeDimensions());
  std::copy(made.labels.begin(), made.labels.end(), labels->lattice().getLabels());
  place.give(*labels);
  if (labels->materials(true)->bundleCount() < 2) setMaterials(*labels);
  labels->notifyChanged();
  return labels;
}

}  // namespace

HxRangeToLabels::HxRangeToLabels()
    : HxCompModule(HxUniformScalarField3::getClassTypeId()),
      portMethod(this, "method", tr("Method"), 2),
      portMinimum(this, "minimum", tr("Minimum"), -kInfinity),
      portMaximum(this, "maximum", tr("Maximum"), kInfinity),
      portRois(this, "rois", tr("Only inside"), HxRois::getClassTypeId()),
      portMask(this, "mask", tr("Mask")),
      portDoIt(this, "doIt", tr("Do It"), 1) {
  portMethod.setLabel(Range, "range");
  portMethod.setLabel(Otsu, "otsu");
}

HxRangeToLabels::~HxRangeToLabels() = default;

std::optional<hxvoxora::TileSnapshot> HxRangeToLabels::region(const HxUniformScalarField3& field) const {
  const auto* rois = hxconnection_cast<HxRois>(portRois);
  if (!rois) return std::nullopt;
  const QString name = portMask.getValue();
  const bool isOnly = name.isEmpty() && rois->getNumberOfRois() == 1;
  const Roi* roi = isOnly ? rois->begin()->get() : rois->getRoi(name.toLatin1().toStdString());
  if (!roi && name.isEmpty())
    throw hxException(tr("%1: \"mask\" must name one of the ROIs of %2.").arg(getLabel(), rois->getLabel()));
  if (!roi) throw hxException(tr("%1: there is no ROI \"%2\" in %3.").arg(getLabel(), name, rois->getLabel()));
  if (!rois->masks().empty()) rois->masks().front()->ensureCompatibleWith(field);
  roitools::tellPlaces(roitools::placedGrid(*rois), roitools::placedGrid(&field));
  return roitools::contentOf(*roi);
}

void HxRangeToLabels::compute() {
  if (!portDoIt.wasHit(0)) return;
  // Held, since asking the user may run other events.
  const McHandle<HxUniformScalarField3> field(hxconnection_cast<HxUniformScalarField3>(dataConnection));
  if (!field) throw hxException(tr("%1: no field is connected to \"data\".").arg(getLabel()));
  const bool isOtsu = portMethod.getValue() == Otsu;
  double low = isOtsu ? -kInfinity : portMinimum.getValue();
  const double high = isOtsu ? kInfinity : portMaximum.getValue();
  if (low > high)
    throw hxException(tr("%1: \"minimum\" %2 is above \"maximum\" %3.").arg(getLabel(), textOf(low), textOf(high)));
  const FieldRegion where(field->latticeDimensions(), region(*field));

  std::optional<RangeLabels> made;
  {
    ShownProgress progress(isOtsu ? tr("Finding the threshold") : tr("Labelling"));
    const auto goOn = [&progress](double fraction) { return progress.goOn(fraction); };
    if (isOtsu) {
      const std::optional<double> threshold = roitools::otsuThreshold(*field, where, goOn);
      if (!threshold) throw interrupted();
      low = *threshold;
      progress.setText(tr("Labelling"));
    }
    made = roitools::rangeToLabels(*field, where, low, high, goOn);
    if (!made) throw interrupted();
  }
  const McHandle<HxUniformLabelField3> labels = resultField(*this, *field, *made);
  const QString text = tr("%1: %2 of %3 voxels are inside %4 to %5.")
                           .arg(field->getLabel(), QString::number(made->inside), QString::number(field->voxelCount()),
                                textOf(low), textOf(high));
  HxMessage::printf("%s", qUtf8Printable(text));
  setResult(labels.get());
}
