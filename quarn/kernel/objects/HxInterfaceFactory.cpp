#include "quarn/kernel/objects/HxInterfaceFactory.h"

MC_ROOT_CLASS_IMPL(HxInterfaceFactory)

HxInterfaceFactory::~HxInterfaceFactory() = default;
