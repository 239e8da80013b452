#include "quarn/voxora/nodes/SoDataSet.h"

SoDataSet::SoDataSet() : dataAccess_(*this) {}

SoDataSet::~SoDataSet() = default;
