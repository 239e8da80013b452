#include "quarn/voxora/labels/joinLabels.h"

#include <algorithm>
#include <atomic>
#include <string>

#include "quarn/base/McException.h"
#include "quarn/voxora/labels/detail/LabelBand.h"
#include "quarn/voxora/tiles/detail/parallel.h"

namespace hxvoxora {

namespace {

std::string textOf(const SbVec3i32& size) {
  return std::to_string(size[0]) + " x " + std::to_string(size[1]) + " x " + std::to_string(size[2]);
}

void requireSoundMasks(std::span<const LabelledMask> masks, const SbVec3i32& dimensions) {
  for (const LabelledMask& mask : masks) {
    if (mask.label == 0) throw McException("The label 0 stands for no mask");
    if (mask.content.dimensions() == dimensions) continue;
    throw McException("The mask of label " + std::to_string(mask.label) + " has " + textOf(mask.content.dimensions()) +
                      " voxels, the labels " + textOf(dimensions));
  }
}

/// Bands between two looks at the clock: some milliseconds of work, and some for each worker.
std::int64_t bandsAtOnce(const detail::LabelBands& bands) {
  constexpr std::int64_t voxelsAtOnce = std::int64_t{64} << 20;
  return std::max<std::int64_t>(voxelsAtOnce / bands.voxels(), 4);
}

}  // namespace

std::optional<JoinedLabels> joinLabels(std::span<const LabelledMask> masks, std::uint8_t overlap,
                                       const SbVec3i32& dimensions, std::uint8_t* labels,
                                       const WorkCallback& callback) {
  requireSoundMasks(masks, dimensions);
  constexpr int edge = 64;
  const TileGrid grid = masks.empty() ? TileGrid(dimensions, {edge, edge, edge}) : masks.front().content.grid();
  const detail::LabelBands bands(grid);
  const std::int64_t step = bandsAtOnce(bands);
  std::atomic<bool> met = false;
  for (std::int64_t first = 0; first < bands.count(); first += step) {
    if (callback && !callback(static_cast<double>(first) / static_cast<double>(bands.count()))) return std::nullopt;
    detail::parallelFor(std::min(step, bands.count() - first), [&](std::int64_t i) {
      detail::LabelBand band(grid, bands.firstTile(first + i), bands.tiles(first + i), labels);
      if (band.write(masks, overlap)) met.store(true, std::memory_order_relaxed);
    });
  }
  return JoinedLabels{met};
}

}  // namespace hxvoxora
