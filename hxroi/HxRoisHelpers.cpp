#include "hxroi/HxRoisHelpers.h"

#include <QCoreApplication>
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>

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

static_assert(std::endian::native == std::endian::little, "the byte order of a word decides the order of its bits");

constexpr std::uint64_t kLowBits = 0x0101010101010101;
constexpr std::uint64_t kHighBits = 0x8080808080808080;

/// One byte for eight labels: the first label is the most significant bit, set where the label is the wanted one.
/// `wanted` holds that label in each of its bytes.
std::uint8_t equalBits(const std::uint8_t* labels, std::uint64_t wanted) {
  std::uint64_t word;
  std::memcpy(&word, labels, sizeof word);
  word ^= wanted;
  const std::uint64_t different = (((word & ~kHighBits) + ~kHighBits) | word) & kHighBits;
  const std::uint64_t equal = (different ^ kHighBits) >> 7;
  // Each factor bit moves the answer of one byte to its place in the top byte; no two of them ever meet.
  return static_cast<std::uint8_t>((equal * 0x8040201008040201) >> 56);
}

/// Bits of whole groups of eight labels; `count` is a multiple of eight.
void packEqual(const std::uint8_t* labels, std::size_t count, std::uint8_t label, std::uint8_t* bits) {
  const std::uint64_t wanted = kLowBits * label;
  std::size_t i = 0;
  for (; i + 64 <= count; i += 64) {
    std::uint8_t word[8];
    for (std::size_t k = 0; k < 8; ++k) word[k] = equalBits(labels + i + 8 * k, wanted);
    std::memcpy(bits + i / 8, word, sizeof word);
  }
  for (; i < count; i += 8) bits[i / 8] = equalBits(labels + i, wanted);
}

/// The last, incomplete byte: `count` is below eight, the bits behind the last label are clear.
std::uint8_t packTail(const std::uint8_t* labels, std::size_t count, std::uint8_t label) {
  std::uint8_t bits = 0;
  for (std::size_t i = 0; i < count; ++i) bits |= labels[i] == label ? 0x80 >> i : 0;
  return bits;
}

/// Packs labels one bit to a label, in parallel; the parts begin on whole bytes. A view over whole slices lies in its
/// buffer as the labels lie in the field, so the bits run on across rows and slices whatever their length.
void packLabels(const std::uint8_t* labels, std::size_t count, std::uint8_t label, std::uint8_t* bits) {
  constexpr std::size_t partSize = std::size_t{1} << 16;
  const std::size_t whole = count & ~std::size_t{7};
  tbb::parallel_for(tbb::blocked_range<std::size_t>(0, (whole + partSize - 1) / partSize), [&](const auto& parts) {
    const std::size_t first = parts.begin() * partSize;
    packEqual(labels + first, std::min(parts.end() * partSize, whole) - first, label, bits + first / 8);
  });
  if (whole < count) bits[whole / 8] = packTail(labels + whole, count - whole, label);
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
