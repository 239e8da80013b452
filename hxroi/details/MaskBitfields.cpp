#include "hxroi/details/MaskBitfields.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "hxroi/details/EditTransaction.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/toolkitBoxes.h"
#include "quarn/base/McBitfield.h"
#include "quarn/base/McException.h"
#include "quarn/voxora/nodes/SoCpuBufferBitSet.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace hxroi {

using details::Mask;

namespace {

std::uint64_t voxelCount(const McVec3i& n) {
  return static_cast<std::uint64_t>(n.x) * static_cast<std::uint64_t>(n.y) * static_cast<std::uint64_t>(n.z);
}

/// The bit of the first voxel of a row.
std::uint64_t rowOf(const McVec3i& n, int y, int z) {
  return (static_cast<std::uint64_t>(z) * static_cast<std::uint64_t>(n.y) + static_cast<std::uint64_t>(y)) *
         static_cast<std::uint64_t>(n.x);
}

/// The bits of whole rows of a volume of `n` voxels, laid out as the box is.
hxvoxora::Ref<SoCpuBufferBitSet> packed(const McBitfield& bits, const McVec3i& n, const SbBox3i32& box) {
  auto buffer = hxvoxora::makeRef<SoCpuBufferBitSet>();
  buffer->setSize(static_cast<std::size_t>(box.size(0) * box.size(1) * box.size(2)));
  std::fill_n(buffer->bytes(), buffer->getByteSize(), std::byte{0});
  std::uint64_t at = 0;
  for (int z = box.getMin()[2]; z <= box.getMax()[2]; ++z) {
    const std::uint64_t first = rowOf(n, box.getMin()[1], z),
                        end = first + static_cast<std::uint64_t>(box.size(0) * box.size(1));
    for (std::uint64_t bit = first; bit < end; ++bit, ++at)
      if (bits.get(bit)) buffer->bytes()[at / 8] |= static_cast<std::byte>(0x80 >> at % 8);
  }
  return buffer;
}

}  // namespace

void maskToBitfield(McBitfield& bits, const Mask& mask) {
  const McVec3i& n = mask.dimensions();
  bits.resize(voxelCount(n));
  const hxvoxora::TileSnapshot content = mask.volumeMask()->snapshot();
  content.forEachRun(toToolkit(wholeBox(n)), [&](int y, int z, int x0, int x1) {
    bits.fill(rowOf(n, y, z) + static_cast<std::uint64_t>(x0), static_cast<std::uint64_t>(x1 - x0), true);
  });
}

void maskFromBitfield(Mask& mask, const McBitfield& bits) {
  if (bits.size() != voxelCount(mask.dimensions())) {
    throw McException("A mask of " + std::to_string(voxelCount(mask.dimensions())) +
                      " voxels cannot be set from a bit field of " + std::to_string(bits.size()) + " bits.");
  }
  mask.setVoxels(bits);
}

namespace details {

/// Row of tiles by row of tiles, so that little memory is needed beside the bits.
void Mask::setVoxels(const McBitfield& bits) {
  saveMaskToTemporary();
  const SbVec3i32 tile = m_volumeMask->getTileDimension();
  inTransaction(*m_volumeMask, m_editMutex, [&] {
    for (int z = 0; z < m_dimensions.z; z += tile[2]) {
      for (int y = 0; y < m_dimensions.y; y += tile[1]) {
        const SbBox3i32 box({0, y, z}, {m_dimensions.x - 1, std::min(y + tile[1], m_dimensions.y) - 1,
                                        std::min(z + tile[2], m_dimensions.z) - 1});
        m_volumeMask->replaceBox(box, packed(bits, m_dimensions, box).get());
      }
    }
  });
  touch(8);
}

}  // namespace details

}  // namespace hxroi
