#include "quarn/kernel/fields/HxISetOfVolumeMask.h"

MC_ABSTRACT_CLASS_IMPL(HxISetOfVolumeMask, McInterface)

namespace {

constexpr int kOwnedByOwner = 1;

}  // namespace

HxISetOfVolumeMask::HxISetOfVolumeMask(McInterfaceOwner* owner) : McInterface(owner, kOwnedByOwner) {}

HxISetOfVolumeMask::~HxISetOfVolumeMask() = default;
