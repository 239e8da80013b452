#include "quarn/kernel/ports/HxPortSeparator.h"

MC_ABSTRACT_CLASS_IMPL(HxPortSeparator, HxPort)

HxPortSeparator::HxPortSeparator(HxObject* owner, const QString& name, const QString& label)
    : HxPort(owner, name, label) {}

HxPortSeparator::~HxPortSeparator() = default;
