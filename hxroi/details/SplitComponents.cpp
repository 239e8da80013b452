#include "hxroi/details/SplitComponents.h"

#include <QCoreApplication>
#include <algorithm>
#include <string>
#include <utility>

#include "hxroi/details/EditTransaction.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/VolumeNode.h"
#include "hxroi/details/boxes.h"
#include "hxroi/details/toolkitBoxes.h"
#include "quarn/voxora/components/componentAt.h"
#include "quarn/voxora/components/findComponents.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace hxroi::details {

using hxvoxora::Component;
using hxvoxora::TileSnapshot;

namespace {

/// Labels are bytes, and the first two have a meaning of their own.
constexpr std::size_t kMostComponents = 253;

bool isBefore(const Component& a, const Component& b) {
  for (int axis = 2; axis > 0; --axis) {
    if (a.first[axis] != b.first[axis]) return a.first[axis] < b.first[axis];
  }
  return a.first[0] < b.first[0];
}

/// Keeps those components that come first in memory order, whatever the order in which they are handed over.
class FirstComponents {
public:
  explicit FirstComponents(std::size_t limit) : limit_(limit) {}

  void add(const Component& component) {
    box_ = extended(box_, fromToolkit(component.box));
    if (kept_.size() == limit_) {
      hasRest_ = true;
      if (!isBefore(component, kept_.front())) return;
      std::pop_heap(kept_.begin(), kept_.end(), isBefore);
      kept_.pop_back();
    }
    kept_.push_back(component);
    std::push_heap(kept_.begin(), kept_.end(), isBefore);
  }

  std::vector<Component> sorted() && {
    std::sort_heap(kept_.begin(), kept_.end(), isBefore);
    return std::move(kept_);
  }

  bool hasRest() const { return hasRest_; }

  /// Around all components.
  const McBox3i& box() const { return box_; }

private:
  std::size_t limit_;
  std::vector<Component> kept_;  ///< a heap, the last one in front
  bool hasRest_ = false;
  McBox3i box_ = emptyBox<int>();
};

/// The same content with every voxel outside of the box cleared.
TileSnapshot cutTo(const McBox3i& box, const TileSnapshot& content) {
  const NodeHolder node(createVolumeNode());
  node->initializeInMemory(content.dimensions(), content.tileDimensions());
  McMutex nobodyElse;
  inTransaction(*node, nobodyElse, [&] { node->combineBox(toToolkit(box), content, hxvoxora::TruthTable::CopyB); });
  return node->snapshot();
}

std::size_t limitOf(unsigned long maxComponents) {
  return maxComponents == 0 ? kMostComponents : std::min<std::size_t>(maxComponents, kMostComponents);
}

/// The components of those voxels that lie in `box`; nothing when interrupted.
std::optional<SplitComponents> findIn(const McBox3i& box, const TileSnapshot& content, std::size_t limit,
                                      SplitProgress& progress) {
  FirstComponents first(limit);
  const bool isDone = hxvoxora::findComponents(
      content, hxvoxora::Neighbours::Faces, [&](const Component& component) { first.add(component); },
      [&](double fraction) { return progress.goOn(fraction); });
  if (!isDone) return std::nullopt;
  // The box that a mask remembers may be smaller than its content, and decides.
  if (!box.contains(first.box())) return findIn(box, cutTo(box, content), limit, progress);
  const bool hasRest = first.hasRest();
  return SplitComponents{content, box, std::move(first).sorted(), hasRest};
}

}  // namespace

/// Where no other component reaches into the box there is nothing to be told apart.
std::optional<TileSnapshot> SplitComponents::contentOf(const Component& component,
                                                       const hxvoxora::WorkCallback& callback) const {
  const auto reachesInto = [&component](const Component& other) {
    return other.first != component.first && !other.box.intersection(component.box).isEmpty();
  };
  if (!hasRest && std::none_of(components.begin(), components.end(), reachesInto)) return content;
  return hxvoxora::componentAt(content, hxvoxora::Neighbours::Faces, component.first, callback);
}

std::optional<SplitComponents> beginSplit(const Mask& mask, unsigned long maxComponents, SplitProgress& progress) {
  progress.start(QCoreApplication::translate("Mask", "Computing split").toStdString());
  if (progress.isInterrupted()) return std::nullopt;
  const McBox3i box = mask.getBoundingBox();
  if (box.isEmpty()) return std::nullopt;
  return findIn(box, mask.volumeMask()->snapshot(), limitOf(maxComponents), progress);
}

bool showComponents(std::size_t count, SplitProgress& progress) {
  progress.setText("Computed split " + std::to_string(count));
  return !progress.isInterrupted();
}

std::unique_ptr<Mask> makeComponentMask(const Mask& source) {
  return std::make_unique<Mask>(source.name() + "-splitted-component0", source.dimensions(), false,
                                Roi::nextHtmlColor(), nullptr);
}

}  // namespace hxroi::details
