#include "quarn/voxora/nodes/SoVolumeData.h"

SoVolumeData::SoVolumeData() = default;

SoVolumeData::~SoVolumeData() = default;
