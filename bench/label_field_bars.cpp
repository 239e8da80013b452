#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include "bench/bars.h"
#include "bench/contest.h"
#include "bench/operands.h"
#include "bench/peer_itk.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McHandle.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/voxora/nodes/SoCpuBufferBitSet.h"

/// The components of a mask as labels of one byte, over its bounding box, beside the labelling of a whole image.

namespace bench {

namespace {

using hxroi::details::Mask;

McHandle<Mask> maskOf(const PackedVolume& volume) {
  const auto buffer = hxvoxora::makeRef<SoCpuBufferBitSet>();
  buffer->setSize(8 * volume.bits.size());
  std::memcpy(buffer->bytes(), volume.bits.data(), volume.bits.size());
  const MaskRef node = emptyMask(volume.size);
  edited(*node, [&] { node->replaceBox(volume.box(), buffer.get()); });
  return new Mask("bodies", node.get(), McColor(), nullptr);
}

/// The number of components. The field is made anew each time, as the peer's result is.
std::uint64_t labelAll(const Mask& mask) {
  std::map<int, McBox3i> boxes;
  const McHandle<HxUniformLabelField3> field = mask.splitToUniformLabelField3(boxes, 0, nullptr);
  return boxes.size() - 1;
}

}  // namespace

void addLabelFieldBars() {
  if (!ItkMask::isAvailable()) return;
  addContest("8-bit label field", "100 bodies 512^3", Against::Peer, 5, [] {
    const auto mask = std::make_shared<const McHandle<Mask>>(maskOf(solidBodies({512, 512, 512}, 1)));
    const auto peer = std::make_shared<const ItkMask>((*mask)->volumeMask()->snapshot());
    const auto ours = [mask, count = peer->countComponents()] {
      if (labelAll(**mask) != count) throw std::runtime_error("the peer finds another number of components");
    };
    return Entrants{{"ours", 0, nullptr, ours, 0}, {"ITK", 0.4, nullptr, [peer] { peer->countComponents(); }, 0}};
  });
}

}  // namespace bench
