#pragma once

#include "quarn/kernel/fields/HxISetOfVolumeData.h"
#include "quarn/kernel/objects/HxInterfaceFactory.h"

class HxUniformScalarField3;

/// A uniform scalar field as the volume that masks refer to.
class QUARN_KERNEL_API HxSetOfVolumeDataFromHxUniformScalarField3 : public HxISetOfVolumeData {
public:
  MC_CLASS_DECL(HxSetOfVolumeDataFromHxUniformScalarField3)

  /// Attaches the interface to `field`, which deletes it.
  explicit HxSetOfVolumeDataFromHxUniformScalarField3(HxUniformScalarField3* field);
  ~HxSetOfVolumeDataFromHxUniformScalarField3() override;

  McDim3l doGetDimensions() const override;
  HxGeometry3 doGetGeometry() const override;

private:
  const HxUniformScalarField3* field_;
};

/// Attaches it to uniform scalar fields that do not offer HxISetOfVolumeData yet.
class QUARN_KERNEL_API HxSetOfVolumeDataFromHxUniformScalarField3Factory : public HxInterfaceFactory {
public:
  MC_CLASS_DECL(HxSetOfVolumeDataFromHxUniformScalarField3Factory)

  ~HxSetOfVolumeDataFromHxUniformScalarField3Factory() override;

  void attachInterfaces(McInterfaceOwner* owner) override;
};
