#include "hxroi/HxRoisProviderFromHxUniformLabelField3.h"

#include "hxroi/HxRois.h"
#include "hxroi/HxUniformLabelField3ToHxRois.h"
#include "quarn/base/mcinterface_cast.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"

MC_ABSTRACT_CLASS_IMPL(HxRoisProviderFromHxUniformLabelField3, HxRoisProviderInterface)

HxRoisProviderFromHxUniformLabelField3::HxRoisProviderFromHxUniformLabelField3(McInterfaceOwner* owner)
    : HxRoisProviderInterface(owner) {}

HxRoisProviderFromHxUniformLabelField3::~HxRoisProviderFromHxUniformLabelField3() = default;

HxRois* HxRoisProviderFromHxUniformLabelField3::getHxRois() {
  // A converter without a set has failed, or is at work and its progress has led here.
  if (!rois_ && !converter_) convert();
  return rois_;
}

void HxRoisProviderFromHxUniformLabelField3::convert() {
  auto* field = mcinterface_cast<HxUniformLabelField3>(owner());
  if (!field) return;
  converter_ = new HxUniformLabelField3ToHxRois;
  converter_->dataConnection.connect(field);
  converter_->portDoIt.hit(0);
  try {
    converter_->fire(1);
  } catch (...) {
    takeResult(field);
    throw;
  }
  takeResult(field);
}

void HxRoisProviderFromHxUniformLabelField3::takeResult(HxUniformLabelField3* field) {
  rois_ = mcinterface_cast<HxRois>(converter_->resultObject(0));
  if (rois_) rois_->portData.connect(field);
}
