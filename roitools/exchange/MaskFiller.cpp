#include "roitools/exchange/MaskFiller.h"

#include <algorithm>
#include <oneapi/tbb/parallel_for.h>
#include <utility>

#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/Mask.h"
#include "quarn/voxora/bits/BitKernels.h"

namespace roitools {

using hxroi::details::Mask;

std::size_t MaskFiller::add(McHandle<Mask> mask) {
  masks_.push_back({std::move(mask), {}, hxroi::emptyBox<int>()});
  return masks_.size() - 1;
}

void MaskFiller::addRun(std::size_t number, int y, int z, int x0, int x1) {
  Entry& entry = masks_[number];
  entry.runs.push_back({y, z, x0, x1});
  entry.box = hxroi::extended(entry.box, McBox3i(x0, x1 - 1, y, y, z, z));
}

void MaskFiller::endPiece() {
  std::vector<Entry*> touched;
  for (Entry& entry : masks_)
    if (!entry.runs.empty()) touched.push_back(&entry);
  tbb::parallel_for(std::size_t{0}, touched.size(), [&](std::size_t i) { write(*touched[i]); });
}

void MaskFiller::write(Entry& entry) {
  const McVec3i origin(entry.box[0], entry.box[2], entry.box[4]);
  const McVec3i size = hxroi::sizeOf(entry.box);
  auto view = entry.mask->getBox(origin, size, hxroi::AccessMode::WriteOnly);
  const auto count =
      static_cast<std::uint64_t>(size.x) * static_cast<std::uint64_t>(size.y) * static_cast<std::uint64_t>(size.z);
  hxvoxora::fillBits(view.bits(), 0, count, false);
  for (const Run& run : entry.runs)
    hxvoxora::fillBits(view.bits(), view.bitIndex(run.x0 - origin.x, run.y - origin.y, run.z - origin.z),
                       static_cast<std::uint64_t>(run.x1 - run.x0), true);
  view.flush();
  // Let go, since each mask may have most of the runs of one piece.
  entry.runs = {};
  entry.box = hxroi::emptyBox<int>();
}

}  // namespace roitools
