#include "quarn/voxora/readers/SoFieldData.h"

SoFieldData::SoFieldData(const SoFieldData* parent) {
  if (parent) names_ = parent->names_;
}
