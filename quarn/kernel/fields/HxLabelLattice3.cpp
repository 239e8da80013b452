#include "quarn/kernel/fields/HxLabelLattice3.h"

#include "quarn/kernel/fields/HxUniformLabelField3.h"

McDim3l HxLabelLattice3::dimensions() const {
  return field_.latticeDimensions();
}

std::uint8_t* HxLabelLattice3::getLabels(std::int64_t z) {
  const McDim3l d = dimensions();
  return static_cast<std::uint8_t*>(field_.data()) + z * d.nx * d.ny;
}

const std::uint8_t* HxLabelLattice3::getLabels(std::int64_t z) const {
  const McDim3l d = dimensions();
  return static_cast<const std::uint8_t*>(field_.data()) + z * d.nx * d.ny;
}

HxParamBundle* HxLabelLattice3::materials(bool create) {
  return field_.materials(create);
}

const HxParamBundle* HxLabelLattice3::materials() const {
  return std::as_const(field_).materials();
}

void HxLabelLattice3::resize(const McDim3l& dimensions) {
  field_.resize(dimensions, McPrimType::Uint8);
}
