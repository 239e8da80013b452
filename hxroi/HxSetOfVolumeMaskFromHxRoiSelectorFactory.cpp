#include "hxroi/HxSetOfVolumeMaskFromHxRoiSelectorFactory.h"

#include "hxroi/HxSetOfVolumeMaskFromHxRoiSelector.h"
#include "quarn/base/mcinterface_cast.h"

MC_CLASS_IMPL(HxSetOfVolumeMaskFromHxRoiSelectorFactory, HxInterfaceFactory)

HxSetOfVolumeMaskFromHxRoiSelectorFactory::~HxSetOfVolumeMaskFromHxRoiSelectorFactory() = default;

void HxSetOfVolumeMaskFromHxRoiSelectorFactory::attachInterfaces(McInterfaceOwner* owner) {
  // The owner deletes it.
  if (!mcinterface_cast<HxISetOfVolumeMask>(owner)) new HxSetOfVolumeMaskFromHxRoiSelector(owner);
}
