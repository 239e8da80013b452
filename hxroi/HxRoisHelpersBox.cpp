#include <algorithm>
#include <cstdint>
#include <oneapi/tbb/parallel_for.h>
#include <string>
#include <vector>

#include "hxroi/HxRoisHelpers.h"
#include "hxroi/detail/packLabel.h"
#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/base/McProgressInterface.h"
#include "quarn/kernel/fields/HxLabelLattice3.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/voxora/bits/BitKernels.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

using hxroi::details::BoxProxy;
using hxroi::details::Mask;

namespace {

std::string textOf(const McBox3i& box) {
  std::string text = "(";
  for (int i = 0; i < 6; ++i) text += (i ? ", " : "") + std::to_string(box[i]);
  return text + ")";
}

void requireInside(const McBox3i& box, const McDim3l& size, const char* where) {
  for (int axis = 0; axis < 3; ++axis) {
    if (box[2 * axis] < 0 || box[2 * axis + 1] >= size[axis]) {
      throw McException("The box " + textOf(box) + " does not lie inside the " + where);
    }
  }
}

void requireSameSize(const McBox3i& a, const McBox3i& b) {
  if (a.getSize() == b.getSize()) return;
  throw McException("The boxes " + textOf(a) + " of the label field and " + textOf(b) + " of the mask differ in size");
}

/// Rows of the view share bytes, and are written at once by different threads.
void packSlices(const HxLabelLattice3& lattice, const McVec3i& origin, std::uint8_t label, BoxProxy& view) {
  const McDim3l n = lattice.dimensions();
  const auto width = static_cast<std::size_t>(view.size().x);
  tbb::parallel_for(0, view.size().z, [&](int z) {
    std::vector<std::uint8_t> row((width + 7) / 8);
    for (int y = 0; y < view.size().y; ++y) {
      hxroi::packLabel(lattice.getLabels(origin.z + z) + (origin.y + y) * n.nx + origin.x, width, label, row.data());
      hxvoxora::combineBitsShared(view.bits(), view.bitIndex(0, y, z), row.data(), 0, width,
                                  hxvoxora::TruthTable::CopyB);
    }
  });
}

}  // namespace

namespace HxRoisHelpers {

void store(const HxUniformLabelField3* field, int label, const McBox3i& fieldBox, Mask* mask, const McBox3i& maskBox,
           McProgressInterface* progress) {
  requireSameSize(fieldBox, maskBox);
  if (maskBox.isEmpty()) return;
  requireInside(fieldBox, field->lattice().dimensions(), "label field");
  requireInside(maskBox, mask->dimensions(), "mask");

  const McVec3i size = hxroi::sizeOf(maskBox);
  const int slabDepth = std::max<int>(1, mask->volumeMask()->getTileDimension()[2]);
  for (int first = 0; first < size.z; first += slabDepth) {
    const int depth = std::min(slabDepth, size.z - first);
    const McVec3i step(0, 0, first);
    BoxProxy slab = mask->getBox(maskBox.getMin() + step, McVec3i(size.x, size.y, depth), hxroi::AccessMode::WriteOnly);
    if (label >= 0 && label <= 255) {
      packSlices(field->lattice(), fieldBox.getMin() + step, static_cast<std::uint8_t>(label), slab);
    }
    for (int z = first; progress && z < first + depth; ++z) {
      progress->setValue(static_cast<float>(z) / static_cast<float>(size.z));
    }
  }
}

}  // namespace HxRoisHelpers
