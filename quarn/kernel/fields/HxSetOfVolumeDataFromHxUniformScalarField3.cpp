#include "quarn/kernel/fields/HxSetOfVolumeDataFromHxUniformScalarField3.h"

#include "quarn/base/mcinterface_cast.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"

MC_ABSTRACT_CLASS_IMPL(HxSetOfVolumeDataFromHxUniformScalarField3, HxISetOfVolumeData)
MC_CLASS_IMPL(HxSetOfVolumeDataFromHxUniformScalarField3Factory, HxInterfaceFactory)

HxSetOfVolumeDataFromHxUniformScalarField3::HxSetOfVolumeDataFromHxUniformScalarField3(HxUniformScalarField3* field)
    : HxISetOfVolumeData(field), field_(field) {}

HxSetOfVolumeDataFromHxUniformScalarField3::~HxSetOfVolumeDataFromHxUniformScalarField3() = default;

McDim3l HxSetOfVolumeDataFromHxUniformScalarField3::doGetDimensions() const {
  return field_->latticeDimensions();
}

HxGeometry3 HxSetOfVolumeDataFromHxUniformScalarField3::doGetGeometry() const {
  return field_->geometry();
}

HxSetOfVolumeDataFromHxUniformScalarField3Factory::~HxSetOfVolumeDataFromHxUniformScalarField3Factory() = default;

void HxSetOfVolumeDataFromHxUniformScalarField3Factory::attachInterfaces(McInterfaceOwner* owner) {
  auto* field = mcinterface_cast<HxUniformScalarField3>(owner);
  // The field deletes it.
  if (field && !mcinterface_cast<HxISetOfVolumeData>(owner)) new HxSetOfVolumeDataFromHxUniformScalarField3(field);
}
