#include "quarn/kernel/fields/HxISetOfVolumeData.h"

MC_ABSTRACT_CLASS_IMPL(HxISetOfVolumeData, McInterface)

namespace {

constexpr int kOwnedByOwner = 1;

}  // namespace

HxISetOfVolumeData::HxISetOfVolumeData(McInterfaceOwner* owner) : McInterface(owner, kOwnedByOwner) {}

HxISetOfVolumeData::~HxISetOfVolumeData() = default;
