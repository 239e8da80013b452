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

BlockSurroundings surroundingsOf(const BlockGrid& blocks, const BlockPlace& place, Neighbours neighbours) {
  const std::span<const BlockStep> steps = blockSteps(neighbours);
  BlockSurroundings around;
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const BlockPlace there = steps[i].from(place);
    if (!blocks.contains(there)) continue;
    const TileSlot& slot = blocks.table().slot(blocks.tileOf(blocks.blockAt(there)));
    if (!blocks.mayHaveVoxels(slot)) continue;
    around.steps |= 1u << i;
    if (!slot.isReference()) around.fullSteps |= 1u << i;
    around.openSides |= steps[i].side.bit();
  }
  return around;
}

FullFaces makeFullFaces(const BlockGrid& blocks) {
  FullFaces faces;
  for (std::size_t axis = 0; axis < 3; ++axis)
    for (const bool upper : {false, true})
      faces[BlockSide{axis, upper}.index()] = BlockFace(blocks.blockSize(), {axis, upper}, 0);
  return faces;
}

}  // namespace hxvoxora::detail
