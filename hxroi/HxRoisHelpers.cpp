#include "hxroi/HxRoisHelpers.h"

#include <QCoreApplication>
#include <algorithm>
#include <cstdint>
#include <limits>
#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>

#include "hxroi/detail/packLabel.h"
#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McColor.h"
#include "quarn/base/McException.h"
#include "quarn/base/McProgressInterface.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/fields/HxLabelLattice3.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

using hxroi::details::Mask;

namespace {

/// Packs labels one bit to a label, in parallel; the parts begin on whole bytes. A view over whole slices lies in its
/// buffer as the labels lie in the field, so the bits run on across rows and slices whatever their length.
void packLabels(const std::uint8_t* labels, std::size_t count, std::uint8_t label, std::uint8_t* bits) {
  constexpr std::size_t partSize = std::size_t{1} << 16;
  tbb::parallel_for(tbb::blocked_range<std::size_t>(0, (count + partSize - 1) / partSize), [&](const auto& parts) {
    const std::size_t first = parts.begin() * partSize;
    hxroi::packLabel(labels + first, std::min(parts.end() * partSize, count) - first, label, bits + first / 8);
  });
}

}  // namespace

namespace HxRoisHelpers {

void store(const HxUniformLabelField3* field, int label, Mask* mask, McProgressInterface* progress) {
  if (label < 0 || label > 255) {
    *mask = false;
    return;
  }
  mask->ensureCompatibleWith(*field);
  const HxLabelLattice3& lattice = field->lattice();
  const McVec3i size = mask->dimensions();
  const auto sliceSize = static_cast<std::size_t>(size.x) * static_cast<std::size_t>(size.y);
  const int slabDepth = std::max<int>(1, mask->volumeMask()->getTileDimension()[2]);

  for (int first = 0; first < size.z; first += slabDepth) {
    const int depth = std::min(slabDepth, size.z - first);
    auto slab = mask->getBox(McVec3i(0, 0, first), McVec3i(size.x, size.y, depth), hxroi::AccessMode::WriteOnly);
    packLabels(lattice.getLabels(first), sliceSize * static_cast<std::size_t>(depth), static_cast<std::uint8_t>(label),
               slab.bits());
    for (int z = first; progress && z < first + depth; ++z) {
      progress->setValue(static_cast<float>(z) / static_cast<float>(size.z));
    }
  }
}

McVec3i gridOf(const HxUniformLabelField3& field) {
  const McDim3l size = field.lattice().dimensions();
  if (std::max({size.nx, size.ny, size.nz}) > std::numeric_limits<int>::max()) {
    throw hxException(
        QCoreApplication::translate("HxRoisHelpers", "%1 has too many voxels for a mask (%2 x %3 x %4).")
            .arg(field.describe(), QString::number(size.nx), QString::number(size.ny), QString::number(size.nz)));
  }
  return {static_cast<int>(size.nx), static_cast<int>(size.ny), static_cast<int>(size.nz)};
}

void copyMaterial(const HxParamBundle& material, HxParamBundle& record) {
  std::int64_t id = 0;
  if (material.findNum("Id", id)) record.set("Id", id);
  McColor color;
  if (material.getMaterialColor(color)) record.setMaterialColor(color);
}

}  // namespace HxRoisHelpers
