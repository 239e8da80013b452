#include "quarn/base/McDim3l.h"

#include <string>

#include "quarn/base/McException.h"

std::int64_t McDim3l::voxelCount() const {
  std::int64_t count = 0;
  const bool valid = nx >= 0 && ny >= 0 && nz >= 0;
  // A zero anywhere makes the volume empty, whatever the product of the other two would be.
  if (valid && (nx == 0 || ny == 0 || nz == 0)) return 0;
  if (valid && !__builtin_mul_overflow(nx, ny, &count) && !__builtin_mul_overflow(count, nz, &count)) return count;
  throw McException("A volume cannot have " + std::to_string(nx) + " x " + std::to_string(ny) + " x " +
                    std::to_string(nz) + " voxels.");
}
