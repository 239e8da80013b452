#include "quarn/kernel/objects/HxBase.h"

MC_ABSTRACT_CLASS_IMPL(HxBase, McInterfaceOwner)

HxBase::~HxBase() = default;

QString HxBase::describe() const {
  return getLabel().isEmpty() ? QString::fromStdString(getTypeId().getName()) : getLabel();
}
