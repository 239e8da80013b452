#include "bench/operands.h"

#include <cstring>
#include <map>
#include <string>

#include "bench/scale/Brain.h"
#include "quarn/voxora/nodes/SoCpuBufferBitSet.h"
#include "quarn/voxora/utilities/utilities.h"

namespace bench {

using hxvoxora::makeRef;
using hxvoxora::TruthTable;

SbBox3i32 boxOf(const SoVolumeMask& mask) {
  const SbVec3i32 size = mask.dataDimension();
  return {{0, 0, 0}, {size[0] - 1, size[1] - 1, size[2] - 1}};
}

MaskRef emptyMask(const SbVec3i32& size) {
  const int edge = hxvoxora::utilities::getDefaultTileSize();
  auto mask = makeRef<SoVolumeMask>();
  mask->initializeInMemory(size, {edge, edge, edge});
  return mask;
}

MaskRef maskOf(const PackedVolume& volume) {
  const auto buffer = hxvoxora::makeRef<SoCpuBufferBitSet>();
  buffer->setSize(8 * volume.bits.size());
  std::memcpy(buffer->bytes(), volume.bits.data(), volume.bits.size());
  MaskRef mask = emptyMask(volume.size);
  edited(*mask, [&] { mask->replaceBox(volume.box(), buffer.get()); });
  return mask;
}

MaskRef enlargedBrain() {
  MaskRef mask = emptyMask({4 * 181, 4 * 217, 4 * 181});
  Brain("/usr/share/mricron/templates/ch2bet.nii.gz").draw(*mask, 0);
  return mask;
}

void combine(SoVolumeMask& mask, const SoVolumeMask& other, TruthTable f) {
  edited(mask, [&] { mask.combineBox(boxOf(mask), other, f); });
}

void invert(SoVolumeMask& mask) {
  edited(mask, [&] { mask.invertBox(boxOf(mask)); });
}

MaskRef sharedCopy(const SoVolumeMask& mask) {
  auto copy = emptyMask(mask.dataDimension());
  combine(*copy, mask, TruthTable::CopyB);
  return copy;
}

MaskRef deepCopy(const SoVolumeMask& mask) {
  auto copy = sharedCopy(mask);
  invert(*copy);
  invert(*copy);
  return copy;
}

MaskPair::MaskPair(const VolumeKind& kind) {
  for (std::uint64_t i = 0; i < 2; ++i) {
    const PackedVolume volume = kind.draw(kind.size, 1 + i);
    const auto buffer = makeRef<SoCpuBufferBitSet>();
    buffer->setSize(8 * volume.bits.size());
    std::memcpy(buffer->bytes(), volume.bits.data(), volume.bits.size());
    ours_[i] = emptyMask(kind.size);
    edited(*ours_[i], [&] { ours_[i]->replaceBox(volume.box(), buffer.get()); });
  }
}

const PeerMask& MaskPair::peer(int i) const {
  if (!peers_[i]) peers_[i] = std::make_unique<const PeerMask>(ours(i).snapshot());
  return *peers_[i];
}

const MaskPair& MaskPair::of(const VolumeKind& kind) {
  static auto& drawn = *new std::map<std::string, MaskPair>;
  return drawn.try_emplace(kind.name, kind).first->second;
}

}  // namespace bench
