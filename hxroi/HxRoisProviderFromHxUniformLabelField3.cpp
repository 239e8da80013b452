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
  // The conversion may let the user remove the field, and with it the provider.
  const McHandle<HxUniformLabelField3> field(mcinterface_cast<HxUniformLabelField3>(owner()));
  if (!field) return nullptr;
  // A converter without a set has failed, or is at work and its progress has led here.
  if (!rois_ && !converter_) convert(field);
  const bool isLast = field->refCount() == 1;
  return isLast ? nullptr : rois_.get();
}

void HxRoisProviderFromHxUniformLabelField3::convert(HxUniformLabelField3* field) {
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
