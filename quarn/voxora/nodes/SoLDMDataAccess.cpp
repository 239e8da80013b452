#include "quarn/voxora/nodes/SoLDMDataAccess.h"

#include "quarn/base/McException.h"
#include "quarn/voxora/nodes/SoDataSet.h"

void SoLDMDataAccess::getData(int resolutionLevel, const SbBox3i32& box, SoCpuBufferObject* buffer) const {
  if (!buffer) throw McException("A box cannot be read without a buffer.");
  dataSet_.fetchBox(resolutionLevel, box, *buffer);
}
