#include "quarn/voxora/components/detail/LabelledBlock.h"

#include <utility>

namespace hxvoxora::detail {

namespace {

/// Blocks with more runs a row than this are taken for noise.
constexpr std::size_t noisyRow = 2;

constexpr std::uint32_t closedMark = ~std::uint32_t{0};

template <typename Visit>
void forEachSide(std::uint32_t sides, Visit visit) {
  for (std::size_t axis = 0; axis < 3; ++axis)
    for (const bool upper : {false, true})
      if ((sides & BlockSide{axis, upper}.bit()) != 0) visit(BlockSide{axis, upper});
}

}  // namespace

void LabelledBlock::run() {
  singles_.clear();
  closed_.clear();
  open_.clear();
  for (auto& face : faces_) face.reset();
  if (!task.stretch) labelRows(task.scratches->local());
}

void LabelledBlock::labelRows(BlockScratch& scratch) {
  // References of their own, since lambdas cannot take names of a structured binding everywhere.
  auto& rows = scratch.rows;
  auto& runs = scratch.runs;
  auto& openNumbers = scratch.openNumbers;
  rows.read(*task.blocks, task.place, task.tile->bits());
  task.tile.reset();
  // Where there is much noise, most components are single voxels.
  if (BlockRuns::countRuns(rows) > noisyRow * rows.count()) takeSingleVoxels(rows, task.neighbours, singles_);
  runs.label(rows, task.neighbours);
  openNumbers.clear();
  std::uint32_t openCount = 0;
  for (const LocalComponent& component : runs.components()) {
    const bool isOpen = (component.sides(task.blocks->blockSize()) & task.around.openSides) != 0;
    openNumbers.push_back(isOpen ? openCount++ : closedMark);
  }
  // Room for exactly so many, since this is kept for a block of each thread and more.
  open_.reserve(openCount);
  closed_.reserve(openNumbers.size() - openCount);
  for (std::size_t i = 0; i < openNumbers.size(); ++i)
    (openNumbers[i] == closedMark ? closed_ : open_).push_back(runs.components()[i]);
  if (open_.empty()) return;
  forEachSide(task.around.openSides, [&](const BlockSide& side) {
    addFace(side, BlockFace(rows, runs, side, [&](std::uint32_t component) { return openNumbers[component]; }));
  });
}

void LabelledBlock::addFace(const BlockSide& side, BlockFace face) {
  if (!face.isEmpty()) faces_[side.index()] = std::make_unique<BlockFace>(std::move(face));
}

void LabelledBlock::forEachClosed(const ComponentSink& sink) const {
  const SbVec3i32 origin = task.origin;
  const auto height = static_cast<VoxelPlace>(task.blocks->blockSize()[1]);
  for (const VoxelPlace place : singles_) {
    const VoxelPlace row = place / 64;
    const SbVec3i32 voxel(origin[0] + static_cast<std::int32_t>(place % 64),
                          origin[1] + static_cast<std::int32_t>(row % height),
                          origin[2] + static_cast<std::int32_t>(row / height));
    sink({voxel, 1, {voxel, voxel}});
  }
  for (const LocalComponent& component : closed_) sink(inVolume(component, origin));
}

Component LabelledBlock::inVolume(const LocalComponent& component, const SbVec3i32& origin) {
  const auto at = [&](unsigned x, unsigned y, unsigned z) {
    return SbVec3i32(origin[0] + static_cast<std::int32_t>(x), origin[1] + static_cast<std::int32_t>(y),
                     origin[2] + static_cast<std::int32_t>(z));
  };
  const LocalBox& box = component.box;
  return {at(component.firstX, component.firstY, box.min(2)),
          component.voxelCount,
          {at(box.min(0), box.min(1), box.min(2)), at(box.max(0), box.max(1), box.max(2))}};
}

}  // namespace hxvoxora::detail
