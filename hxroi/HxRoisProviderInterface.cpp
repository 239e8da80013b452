#include "hxroi/HxRoisProviderInterface.h"

MC_ABSTRACT_CLASS_IMPL(HxRoisProviderInterface, McInterface)

namespace {

constexpr int kOwnedByOwner = 1;

}  // namespace

HxRoisProviderInterface::HxRoisProviderInterface(McInterfaceOwner* owner) : McInterface(owner, kOwnedByOwner) {}

HxRoisProviderInterface::~HxRoisProviderInterface() = default;
