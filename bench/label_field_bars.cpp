#include <cstdint>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/bars.h"
#include "bench/contest.h"
#include "bench/operands.h"
#include "bench/peer.h"
#include "bench/peer_itk.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McHandle.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"

/// The components of a mask as labels of one byte, over its bounding box, beside the labelling of a whole image; and as
/// masks with files, beside segments in memory.

namespace bench {

namespace {

using hxroi::details::Mask;

McHandle<Mask> bodies() {
  return new Mask("bodies", maskOf(solidBodies({512, 512, 512}, 1)).get(), McColor(), nullptr);
}

/// The number of components. The field is made anew each time, as the peer's result is.
std::uint64_t labelAll(const Mask& mask) {
  std::map<int, McBox3i> boxes;
  const McHandle<HxUniformLabelField3> field = mask.splitToUniformLabelField3(boxes, 0, nullptr);
  return boxes.size() - 1;
}

/// Makes a mask of each component, with files of its own, and counts them. They go again, as the peer's segments do.
std::uint64_t splitAll(const Mask& mask) {
  std::vector<McHandle<Mask>> parts;
  for (Mask* part : mask.split(0, nullptr)) parts.emplace_back(part);
  for (const McHandle<Mask>& part : parts)
    if (part->temporaryPrefix().empty()) throw std::runtime_error("there is no folder for files of masks");
  return parts.size();
}

void addSplitting() {
  if (!PeerMask::isAvailable()) return;
  addContest("split into masks with files", "100 bodies 512^3", Against::Peer, 5, [] {
    const auto mask = std::make_shared<const McHandle<Mask>>(bodies());
    const auto peer = std::make_shared<const PeerMask>((*mask)->volumeMask()->snapshot());
    const auto ours = [mask, count = peer->countSegments()] {
      if (splitAll(**mask) != count) throw std::runtime_error("the peer finds another number of components");
    };
    return Entrants{{"ours", 0, nullptr, ours, 0}, {"OpenVDB", 0.25, nullptr, [peer] { peer->countSegments(); }, 0}};
  });
}

}  // namespace

void addLabelFieldBars() {
  addSplitting();
  if (!ItkMask::isAvailable()) return;
  addContest("8-bit label field", "100 bodies 512^3", Against::Peer, 5, [] {
    const auto mask = std::make_shared<const McHandle<Mask>>(bodies());
    const auto peer = std::make_shared<const ItkMask>((*mask)->volumeMask()->snapshot());
    const auto ours = [mask, count = peer->countComponents(100)] {
      if (labelAll(**mask) != count) throw std::runtime_error("the peer finds another number of components");
    };
    return Entrants{{"ours", 0, nullptr, ours, 0}, {"ITK", 0.4, nullptr, [peer] { peer->countComponents(100); }, 0}};
  });
}

}  // namespace bench
