#pragma once

#include "hxroi/export.h"
#include "quarn/kernel/objects/HxInterfaceFactory.h"

/// Attaches HxRoisProviderFromHxUniformLabelField3 to label fields that offer no ROI set yet.
class HXROI_API HxRoisProviderFromHxUniformLabelField3Factory : public HxInterfaceFactory {
public:
  MC_CLASS_DECL(HxRoisProviderFromHxUniformLabelField3Factory)

  ~HxRoisProviderFromHxUniformLabelField3Factory() override;

  /// `owner` is a label field. Harmless when called again.
  void attachInterfaces(McInterfaceOwner* owner) override;
};
