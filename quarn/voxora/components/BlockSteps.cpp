#include "quarn/voxora/components/detail/BlockSteps.h"

namespace hxvoxora::detail {

namespace {

BlockStep makeStep(const BlockPlace& way) {
  std::size_t axis = 0;
  while (way[axis] == 0) ++axis;
  const bool upper = way[axis] > 0;
  return {way, {axis, upper}, {axis, !upper}, axis == 0 ? way[1] : 0, axis < 2 ? way[2] : 0};
}

/// Those that share a face come first.
std::array<BlockStep, mostBlockSteps> makeSteps() {
  std::array<BlockStep, mostBlockSteps> steps{};
  std::size_t faces = 0, others = sideCount;
  for (std::int32_t z = -1; z <= 1; ++z) {
    for (std::int32_t y = -1; y <= 1; ++y) {
      for (std::int32_t x = -1; x <= 1; ++x) {
        const int axes = (x != 0) + (y != 0) + (z != 0);
        if (axes > 0) steps[axes == 1 ? faces++ : others++] = makeStep({x, y, z});
      }
    }
  }
  return steps;
}

}  // namespace

std::span<const BlockStep> blockSteps(Neighbours neighbours) {
  static const std::array<BlockStep, mostBlockSteps> steps = makeSteps();
  return std::span(steps).first(neighbours == Neighbours::Faces ? sideCount : mostBlockSteps);
}

}  // namespace hxvoxora::detail
