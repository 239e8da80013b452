#pragma once

#include <concepts>
#include <cstdint>
#include <vector>

#include "quarn/base/McVec3i.h"

/// What a flood fill writes. It is told each run of voxels that the fill reaches, both ends inside, and remembers them:
/// isVisited() is true for exactly those voxels.
template <class T>
concept McFloodFillAdapter = requires(T& adapter, const T& asked, int x, int y, int z) {
  { asked.isVisited(x, y, z) } -> std::convertible_to<bool>;
  adapter.visitRun(x, x, y, z);
};

/// Which voxels a flood fill may enter. Its answer for a voxel does not change during a fill.
template <class T>
concept McFloodFillChecker = requires(const T& checker, int x, int y, int z) {
  { checker(x, y, z) } -> std::convertible_to<bool>;
};

namespace mcdetail {

/// One fill. Runs along x are taken whole; the starts of those beside them wait in a list, so that nothing recurses.
template <McFloodFillAdapter Adapter, McFloodFillChecker Checker>
class FloodFill3D {
public:
  FloodFill3D(const McVec3i& dimensions, Adapter& adapter, const Checker& checker)
      : n_(dimensions), adapter_(adapter), checker_(checker) {}

  std::uint64_t run(const McVec3i& seed) {
    if (seed.x < 0 || seed.x >= n_.x || !isInside(seed.y, seed.z) || !isOpen(seed.x, seed.y, seed.z)) return 0;
    waiting_.push_back(seed);
    while (!waiting_.empty()) {
      const McVec3i start = waiting_.back();
      waiting_.pop_back();
      if (isOpen(start.x, start.y, start.z)) takeRun(start);
    }
    return reached_;
  }

private:
  bool isInside(int y, int z) const { return y >= 0 && y < n_.y && z >= 0 && z < n_.z; }
  bool isOpen(int x, int y, int z) const { return checker_(x, y, z) && !adapter_.isVisited(x, y, z); }

  void takeRun(const McVec3i& start) {
    int first = start.x;
    int last = start.x;
    while (first > 0 && isOpen(first - 1, start.y, start.z)) --first;
    while (last + 1 < n_.x && isOpen(last + 1, start.y, start.z)) ++last;
    adapter_.visitRun(first, last, start.y, start.z);
    reached_ += static_cast<std::uint64_t>(last - first) + 1;
    lookAt(first, last, start.y - 1, start.z);
    lookAt(first, last, start.y + 1, start.z);
    lookAt(first, last, start.y, start.z - 1);
    lookAt(first, last, start.y, start.z + 1);
  }

  /// Notes one voxel of each open run that touches x = first to last of a row.
  void lookAt(int first, int last, int y, int z) {
    if (!isInside(y, z)) return;
    bool isInRun = false;
    for (int x = first; x <= last; ++x) {
      const bool open = isOpen(x, y, z);
      if (open && !isInRun) waiting_.emplace_back(x, y, z);
      isInRun = open;
    }
  }

  const McVec3i n_;
  Adapter& adapter_;
  const Checker& checker_;
  std::vector<McVec3i> waiting_;
  std::uint64_t reached_ = 0;
};

}  // namespace mcdetail

/// Reaches, from `seed`, every voxel of a volume of `dimensions` voxels that the checker admits and that is connected
/// with the seed through faces of admitted voxels. Voxels that the adapter has visited before are not entered again.
/// The adapter is told each voxel once. Returns the number of voxels reached: 0 when the seed lies outside, is not
/// admitted or was visited before.
template <McFloodFillAdapter Adapter, McFloodFillChecker Checker>
std::uint64_t mcFloodFill3D(const McVec3i& dimensions, const McVec3i& seed, Adapter& adapter, const Checker& checker) {
  return mcdetail::FloodFill3D<Adapter, Checker>(dimensions, adapter, checker).run(seed);
}
