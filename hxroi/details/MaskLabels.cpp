#include <algorithm>
#include <cstdint>
#include <cstring>
#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>
#include <optional>
#include <utility>

#include "hxroi/details/Mask.h"
#include "hxroi/details/SplitComponents.h"
#include "hxroi/details/SplitProgress.h"
#include "hxroi/details/toolkitBoxes.h"
#include "quarn/base/McHandle.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"

namespace hxroi::details {

using hxvoxora::TileSnapshot;

namespace {

struct Interrupted {};

/// Writes labels over the foreground of a split.
class LabelWriter {
public:
  LabelWriter(const SplitComponents& split, HxUniformLabelField3& field, SplitProgress& progress)
      : split_(split), labels_(field.lattice().getLabels()), progress_(progress) {
    const McVec3i size = sizeOf(split.box);
    rowLength_ = size.x;
    sliceLength_ = rowLength_ * size.y;
  }

  /// Every set voxel of `content` inside `box` gets the label. Throws Interrupted.
  void write(const TileSnapshot& content, const McBox3i& box, int label) {
    const McVec3i size = sizeOf(box);
    const auto step = static_cast<int>(
        std::clamp<std::int64_t>(kVoxelsBetweenQuestions / (static_cast<std::int64_t>(size.x) * size.y), 1, size.z));
    for (int z = box[4]; z <= box[5]; z += step) {
      if (!progress_.goOn(fraction_)) throw Interrupted();
      writeSlices(content, box, z, std::min(z + step, box[5] + 1), label);
    }
  }

  void writeComponent(int label) {
    const auto& component = split_.component(label);
    const auto content = split_.contentOf(component, [this](double) { return progress_.goOn(fraction_); });
    if (!content) throw Interrupted();
    write(*content, fromToolkit(component.box), label);
    fraction_ = static_cast<double>(label) / split_.lastLabel();
  }

private:
  static constexpr std::int64_t kVoxelsBetweenQuestions = 1 << 24;
  static constexpr std::size_t kSlicesAtOnce = 8;

  void writeSlices(const TileSnapshot& content, const McBox3i& box, int first, int end, int label) {
    tbb::parallel_for(tbb::blocked_range<int>(first, end, kSlicesAtOnce), [&](const auto& slices) {
      const McBox3i slab(box[0], box[1], box[2], box[3], slices.begin(), slices.end() - 1);
      content.forEachRun(toToolkit(slab), [&](int y, int z, int x, int xEnd) {
        std::memset(labels_ + indexOf(x, y, z), label, static_cast<std::size_t>(xEnd - x));
      });
    });
  }

  std::int64_t indexOf(int x, int y, int z) const {
    const McBox3i& box = split_.box;
    return (z - box[4]) * sliceLength_ + (y - box[2]) * rowLength_ + (x - box[0]);
  }

  const SplitComponents& split_;
  std::uint8_t* labels_;
  SplitProgress& progress_;
  std::int64_t rowLength_ = 0;
  std::int64_t sliceLength_ = 0;
  double fraction_ = 0;
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
