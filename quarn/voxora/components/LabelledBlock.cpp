#include "quarn/voxora/components/detail/LabelledBlock.h"

#include <utility>

namespace hxvoxora::detail {

namespace {

template <typename Visit>
void forEachSide(std::uint32_t sides, Visit visit) {
  for (std::size_t axis = 0; axis < 3; ++axis)
    for (const bool upper : {false, true})
      if ((sides & BlockSide{axis, upper}.bit()) != 0) visit(BlockSide{axis, upper});
}

}  // namespace

void LabelledBlock::run() {
  closed_.clear();
  open_.clear();
  for (auto& face : faces_) face.reset();
  if (task.tile) {
    labelRows(task.scratches->local());
  } else {
    labelFull();
  }
}

void LabelledBlock::labelFull() {
  const SbVec3i32 extent = task.blocks->extent(task.place);
  LocalComponent all;
  all.voxelCount = static_cast<std::uint32_t>(extent[0] * extent[1] * extent[2]);
  for (std::size_t axis = 0; axis < 3; ++axis)
    all.max[axis] = static_cast<std::uint8_t>(extent[static_cast<int>(axis)] - 1);
  (task.openSides != 0 ? open_ : closed_).push_back(all);
  forEachSide(task.openSides, [&](const BlockSide& side) { addFace(side, BlockFace(extent, side, 0)); });
}

void LabelledBlock::labelRows(BlockScratch& scratch) {
  auto& [rows, runs, openNumbers] = scratch;
  rows.read(*task.blocks, task.place, task.tile->bits());
  task.tile.reset();
  runs.label(rows, task.neighbours);
  openNumbers.clear();
  for (const LocalComponent& component : runs.components()) {
    const bool isOpen = (component.sides(task.blocks->blockSize()) & task.openSides) != 0;
    openNumbers.push_back(static_cast<std::uint32_t>(open_.size()));
    (isOpen ? open_ : closed_).push_back(component);
  }
  if (open_.empty()) return;
  forEachSide(task.openSides, [&](const BlockSide& side) {
    addFace(side, BlockFace(rows, runs, side, [&](std::uint32_t component) { return openNumbers[component]; }));
  });
}

void LabelledBlock::addFace(const BlockSide& side, BlockFace face) {
  if (!face.isEmpty()) faces_[side.index()] = std::make_unique<BlockFace>(std::move(face));
}

Component LabelledBlock::inVolume(const LocalComponent& component) const {
  const SbVec3i32 origin = task.blocks->origin(task.place);
  const auto height = static_cast<std::uint16_t>(task.blocks->blockSize()[1]);
  const auto at = [&](const std::array<std::uint8_t, 3>& voxel) {
    return SbVec3i32(origin[0] + voxel[0], origin[1] + voxel[1], origin[2] + voxel[2]);
  };
  return {
      {origin[0] + component.firstX, origin[1] + component.firstRow % height, origin[2] + component.firstRow / height},
      component.voxelCount,
      {at(component.min), at(component.max)}};
}

}  // namespace hxvoxora::detail
