#include "quarn/voxora/nodes/SoLDMDataAccess.h"

#include <string>

#include "quarn/base/McException.h"
#include "quarn/voxora/nodes/SoDataSet.h"

void SoLDMDataAccess::getData(int resolutionLevel, const SbBox3i32& box, SoCpuBufferObject* buffer) const {
  if (resolutionLevel != 0)
    throw McException("The volume has no resolution level " + std::to_string(resolutionLevel) + ", only level 0.");
  if (!buffer) throw McException("A box cannot be read without a buffer.");
  if (!box.isEmpty()) dataSet_.fetchBox(box, *buffer);
}
