#pragma once

#include "hxroi/export.h"
#include "quarn/kernel/objects/HxInterfaceFactory.h"

/// Attaches HxSetOfVolumeMaskFromHxRoiSelector to selectors that do not offer masks to the renderer yet.
class HXROI_API HxSetOfVolumeMaskFromHxRoiSelectorFactory : public HxInterfaceFactory {
public:
  MC_CLASS_DECL(HxSetOfVolumeMaskFromHxRoiSelectorFactory)

  ~HxSetOfVolumeMaskFromHxRoiSelectorFactory() override;

  /// `owner` is a selector. Harmless when called again.
  void attachInterfaces(McInterfaceOwner* owner) override;
};
