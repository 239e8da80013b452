#include "quarn/kernel/fields/HxUniformLabelField3.h"

MC_CLASS_IMPL(HxUniformLabelField3, HxUniformScalarField3)

HxUniformLabelField3::HxUniformLabelField3(const McDim3l& dimensions)
    : HxUniformScalarField3(dimensions, McPrimType::Uint8), lattice_(*this) {}

HxUniformLabelField3::~HxUniformLabelField3() = default;
