#pragma once

#include <cstdint>

#include "hxroi/details/boxes.h"
#include "hxroi/export.h"
#include "quarn/base/McBitfield.h"
#include "quarn/base/McBox3i.h"
#include "quarn/base/McVec3i.h"

namespace hxroi::details {

/// What mcFloodFill3D writes: the voxels that it visits, one bit each, x fastest, and their box.
class HXROI_API FloodFillAdapter {
public:
  /// For a volume of `dimensions` voxels. McException when a bit for each does not fit into memory.
  explicit FloodFillAdapter(const McVec3i& dimensions);

  bool isVisited(int x, int y, int z) const { return visited_.get(indexOf(x, y, z)); }
  void visitRun(int first, int last, int y, int z);

  const McBitfield& visited() const { return visited_; }

  /// The smallest box around the visited voxels; the empty box when there are none.
  const McBox3i& box() const { return box_; }

  /// Makes it ready for another fill. Time follows the box, not the volume.
  void clear();

private:
  std::uint64_t indexOf(int x, int y, int z) const {
    return (static_cast<std::uint64_t>(z) * ny_ + static_cast<std::uint64_t>(y)) * nx_ + static_cast<std::uint64_t>(x);
  }

  std::uint64_t nx_;
  std::uint64_t ny_;
  McBitfield visited_;
  McBox3i box_ = emptyBox<int>();
};

}  // namespace hxroi::details
