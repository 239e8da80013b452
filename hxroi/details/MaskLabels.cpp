#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>

#include "hxroi/details/Mask.h"
#include "hxroi/details/SplitComponents.h"
#include "hxroi/details/SplitProgress.h"
#include "hxroi/details/toolkitBoxes.h"
#include "quarn/base/McHandle.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/voxora/components/componentAt.h"

namespace hxroi::details {

using hxvoxora::TileSnapshot;

namespace {

struct Interrupted {};

/// Writes labels over the foreground of a split.
class LabelWriter {
public:
  LabelWriter(const SplitComponents& split, HxUniformLabelField3& field, SplitProgress& progress)
      : split_(split), labels_(field.lattice().getLabels()), progress_(progress) {}

  /// Every set voxel of `content` inside `box` gets the label. Throws Interrupted.
  void write(const TileSnapshot& content, const McBox3i& box, int label) {
    content.forEachRun(toToolkit(box), [&](int y, int z, int first, int end) {
      std::memset(labels_ + indexOf(first, y, z), label, static_cast<std::size_t>(end - first));
      if (++runs_ % kRunsBetweenQuestions == 0) goOn();
    });
  }

  void writeComponent(int label) {
    const auto& component = split_.component(label);
    const auto content = hxvoxora::componentAt(split_.content, hxvoxora::Neighbours::Faces, component.first,
                                               [this](double) { return progress_.goOn(fraction_); });
    if (!content) throw Interrupted();
    write(*content, fromToolkit(component.box), label);
    fraction_ = static_cast<double>(label) / split_.lastLabel();
  }

private:
  static constexpr unsigned int kRunsBetweenQuestions = 4096;

  std::size_t indexOf(int x, int y, int z) const {
    const McVec3i size = sizeOf(split_.box);
    const McVec3i place = McVec3i(x, y, z) - split_.box.getMin();
    return (static_cast<std::size_t>(place.z) * static_cast<std::size_t>(size.y) + static_cast<std::size_t>(place.y)) *
               static_cast<std::size_t>(size.x) +
           static_cast<std::size_t>(place.x);
  }

  void goOn() const {
    if (!progress_.goOn(fraction_)) throw Interrupted();
  }

  const SplitComponents& split_;
  std::uint8_t* labels_;
  SplitProgress& progress_;
  double fraction_ = 0;
  unsigned int runs_ = 0;
};

McBox3i movedTo(const McVec3i& origin, const McBox3i& box) {
  return {box.getMin() - origin, box.getMax() - origin};
}

/// The field without its handle, which was the only one.
HxUniformLabelField3* released(McHandle<HxUniformLabelField3> field) {
  field->ref();
  HxUniformLabelField3* free = field;
  field.reset();
  free->releaseWithoutDelete();
  return free;
}

}  // namespace

HxUniformLabelField3* Mask::splitToUniformLabelField3(std::map<int, McBox3i>& boxes, unsigned long maxComponents,
                                                      McProgressInterface* progress) const {
  SplitProgress shown(progress);
  const auto split = beginSplit(*this, maxComponents, shown);
  if (!split) return nullptr;
  const McVec3i size = sizeOf(split->box);
  McHandle<HxUniformLabelField3> field(new HxUniformLabelField3(McDim3l(size)));
  boxes[SplitComponents::kRestLabel] = wholeBox(size);
  LabelWriter writer(*split, *field, shown);
  try {
    if (split->hasRest) writer.write(split->content, split->box, SplitComponents::kRestLabel);
    for (int label = SplitComponents::kFirstLabel; label <= split->lastLabel(); ++label) {
      if (!showComponents(static_cast<std::size_t>(label - SplitComponents::kFirstLabel) + 1, shown)) return nullptr;
      writer.writeComponent(label);
      boxes[label] = movedTo(split->box.getMin(), fromToolkit(split->component(label).box));
    }
  } catch (const Interrupted&) {
    return nullptr;
  }
  if (!split->components.empty()) boxes[SplitComponents::kRestLabel] = emptyBox<int>();
  shown.stop();
  return released(std::move(field));
}

}  // namespace hxroi::details
