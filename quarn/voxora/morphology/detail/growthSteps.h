#pragma once

#include <algorithm>
#include <vector>

namespace hxvoxora::detail {

/// How far one sweep over the tiles may grow: the least edge of a tile along y and z, so that no voxel is reached from
/// beyond the next tiles.
constexpr int maximumReach = 8;

/// Distances of the steps that together grow a set of voxels by `reach` face neighbours. A step over the distance d
/// joins the set with its copies moved by d along each axis, both ways. After a growth by r, a step of up to
/// (r + 1) / 2 leaves no gap: a voxel r + d away that no copy has, as (2, 2, 2) for r = 5 and d = 3, is met by one that
/// was moved beyond it. The tests hold every reach against single iterations.
inline std::vector<int> growthSteps(int reach) {
  std::vector<int> steps;
  for (int grown = 0; grown < reach; grown += steps.back())
    steps.push_back(std::min(std::max(1, (grown + 1) / 2), reach - grown));
  return steps;
}

}  // namespace hxvoxora::detail
