#include "hxroi/HxRoisProviderFromHxUniformLabelField3Factory.h"

#include "hxroi/HxRoisProviderFromHxUniformLabelField3.h"
#include "quarn/base/mcinterface_cast.h"

MC_CLASS_IMPL(HxRoisProviderFromHxUniformLabelField3Factory, HxInterfaceFactory)

HxRoisProviderFromHxUniformLabelField3Factory::~HxRoisProviderFromHxUniformLabelField3Factory() = default;

void HxRoisProviderFromHxUniformLabelField3Factory::attachInterfaces(McInterfaceOwner* owner) {
  // The owner deletes it.
  if (!mcinterface_cast<HxRoisProviderInterface>(owner)) new HxRoisProviderFromHxUniformLabelField3(owner);
}
