#include "hxroi/HxRoisToHxUniformLabelField3.h"

#include <QCoreApplication>
#include <QScopeGuard>
#include <utility>

#include "hxroi/HxRoiSelector.h"
#include "hxroi/HxRois.h"
#include "hxroi/detail/RoiLabels.h"
#include "hxroi/detail/hold.h"
#include "hxroi/detail/makingScript.h"
#include "quarn/base/McHandle.h"
#include "quarn/base/mcinterface_cast.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/objects/hxconnection_cast.h"

MC_CLASS_IMPL(HxRoisToHxUniformLabelField3, HxCompModule)

namespace {

constexpr unsigned int kAllFlags = 0xFFFFFFFF;

QString tr(const char* text) {
  return QCoreApplication::translate("HxRoisToHxUniformLabelField3", text);
}

/// The field that was made, or the former one with what was made.
McHandle<HxUniformLabelField3> taken(const McHandle<HxUniformLabelField3>& made, HxData* former) {
  const McHandle<HxUniformLabelField3> field(mcinterface_cast<HxUniformLabelField3>(former));
  if (!field) return made;
  HxParamBundle& materials = *field->materials();
  materials.removeAll();
  materials.copy(*made->materials());
  field->swapVoxels(*made);
  return field;
}

}  // namespace

HxRoisToHxUniformLabelField3::HxRoisToHxUniformLabelField3()
    : HxCompModule(HxRois::getClassTypeId()),
      portMaskSelector(this, "maskSelector", tr("Mask Selector"), HxRoiSelector::getClassTypeId()),
      portDoIt(this, "doIt", tr("Do It"), 1) {}

HxRoisToHxUniformLabelField3::~HxRoisToHxUniformLabelField3() = default;

void HxRoisToHxUniformLabelField3::compute() {
  auto* const selector = hxconnection_cast<HxRoiSelector>(portMaskSelector);
  if (!portDoIt.wasHit(0)) return;
  if (!selector) return miss(tr("%1: no ROI selector is connected to \"maskSelector\".").arg(getLabel()));
  // Progress lets the user act, who may remove any of them.
  const auto alive = hxroi::hold(this);
  const auto heldSelector = hxroi::hold(selector);
  selector->catchUp();
  HxRois* const rois = selector->getHxRois();
  if (!rois) return miss(tr("%1: %2 has no ROI set.").arg(getLabel(), selector->getLabel()));
  const auto heldRois = hxroi::hold(rois);

  const hxroi::RoiLabels labels(*rois, selector->getVisibleMasks());
  const McHandle<HxUniformLabelField3> made = labels.makeField(*HxApplication::progress());
  made->setLabel(rois->getLabel() + "-labels");
  const McHandle<HxUniformLabelField3> field = taken(made, resultObject(0));
  labels.place(*field);
  field->notifyChanged();
  setResult(field, kAllFlags);
}

/// Nothing is made, but the user should not look for it.
void HxRoisToHxUniformLabelField3::miss(const QString& what) {
  if (isParsing_) {
    missed_ = what;
  } else {
    HxMessage::error(what);
  }
}

int HxRoisToHxUniformLabelField3::parse(Tcl_Interp* interp, int argc, char** argv) {
  const auto alive = hxroi::hold(this);
  missed_.clear();
  const bool wasParsing = std::exchange(isParsing_, true);
  const auto end = qScopeGuard([&] { isParsing_ = wasParsing; });
  const int code = HxCompModule::parse(interp, argc, argv);
  if (!missed_.isEmpty()) throw hxException(std::exchange(missed_, QString()));
  return code;
}

bool HxRoisToHxUniformLabelField3::canCreateData(HxData* data, QString& script) {
  return hxroi::canMakeAgain(*this, *data, script);
}
