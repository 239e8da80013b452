#include "quarn/kernel/fields/HxVolumeData.h"

#include "quarn/kernel/objects/HxBase.h"

MC_ABSTRACT_CLASS_IMPL(HxVolumeData, McInterface)

HxVolumeData::HxVolumeData(SoVolumeData* node, const QString& label)
    : McInterface(nullptr, 0), node_(node), label_(label) {}

HxVolumeData::HxVolumeData(McInterfaceOwner* owner, SoVolumeData* node) : McInterface(owner, 1), node_(node) {
  if (const auto* object = dynamic_cast<const HxBase*>(owner)) label_ = object->getLabel();
}

HxVolumeData::~HxVolumeData() = default;
