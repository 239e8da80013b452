#include "hxroi/HxUniformLabelField3ToHxRois.h"

#include <QCoreApplication>

#include "hxroi/HxRois.h"
#include "hxroi/detail/LabelConversion.h"
#include "hxroi/detail/RemovedRois.h"
#include "hxroi/detail/hold.h"
#include "hxroi/detail/makingScript.h"
#include "quarn/base/McHandle.h"
#include "quarn/base/mcinterface_cast.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/objects/hxconnection_cast.h"
#include "quarn/kernel/params/HxParamBundle.h"

namespace {

constexpr unsigned int kAllFlags = 0xFFFFFFFF;

/// What a set holds when a conversion starts, to be put back when that brings nothing.
class FormerContent {
public:
  explicit FormerContent(HxRois& rois)
      : rois_(rois), materials_(*rois.parameters.getMaterials(1)), place_(rois.portData.source()), removed_(rois) {}

  /// All or nothing.
  void takeOut() {
    try {
      removed_.removeAll();
    } catch (...) {
      removed_.putBack();
      throw;
    }
  }

  void putBack() {
    rois_.removeAllRois();
    if (place_ != rois_.portData.source()) rois_.portData.connect(place_);
    removed_.putBack();
    *rois_.parameters.getMaterials(1) = materials_;
  }

private:
  HxRois& rois_;
  HxParamBundle materials_;
  McHandle<HxObject> place_;  ///< the field at "data"; null for none
  hxroi::RemovedRois removed_;
};

McHandle<HxRois> makeSet(const HxUniformLabelField3& field) {
  McHandle<HxRois> rois(new HxRois);
  rois->setLabel(field.getLabel() + "-rois");
  return rois;
}

/// A set lies where its field does, unless the user has chosen another one that is no label field.
void placeAt(HxRois& rois, HxUniformLabelField3& field) {
  HxConnection& place = rois.portData;
  if (!place.source() || hxconnection_cast<HxUniformLabelField3>(place)) place.connect(&field);
}

}  // namespace

MC_CLASS_IMPL(HxUniformLabelField3ToHxRois, HxCompModule)

HxUniformLabelField3ToHxRois::HxUniformLabelField3ToHxRois()
    : HxCompModule(HxUniformLabelField3::getClassTypeId()),
      portDoIt(this, "doIt", QCoreApplication::translate("HxUniformLabelField3ToHxRois", "Do It"), 1) {}

HxUniformLabelField3ToHxRois::~HxUniformLabelField3ToHxRois() = default;

void HxUniformLabelField3ToHxRois::compute() {
  auto* const field = hxconnection_cast<HxUniformLabelField3>(dataConnection);
  if (!portDoIt.wasHit(0) || !field) return;
  // Progress lets the user act, who may remove any of them.
  const auto alive = hxroi::hold(this);
  const auto heldField = hxroi::hold(field);

  // Whatever can fail without the set is done before the set is emptied.
  hxroi::LabelConversion conversion(*field, *HxApplication::progress());
  McHandle<HxRois> rois = mcinterface_cast<HxRois>(resultObject(0));
  if (!rois) rois = makeSet(*field);
  FormerContent former(*rois);
  former.takeOut();
  try {
    placeAt(*rois, *field);
    conversion.run(*rois);
  } catch (const hxroi::ConversionInterrupted&) {
    former.putBack();
    throw;
  } catch (...) {
    if (conversion.insertedMasks() == 0) {
      former.putBack();
    } else {
      // The masks inserted so far are the user's to keep; the failure goes on to the caller.
      setResult(rois, kAllFlags);
    }
    throw;
  }
  setResult(rois, kAllFlags);
}

bool HxUniformLabelField3ToHxRois::canCreateData(HxData* data, QString& script) {
  return hxroi::canMakeAgain(*this, *data, script);
}
