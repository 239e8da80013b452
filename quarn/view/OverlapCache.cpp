#include "quarn/view/OverlapCache.h"

#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace quarn::view {

namespace {

SbBox3i32 atLevel(const SbBox3i32& box, int level) {
  const auto shifted = [level](const SbVec3i32& v) { return SbVec3i32(v[0] >> level, v[1] >> level, v[2] >> level); };
  return box.isEmpty() ? box : SbBox3i32(shifted(box.getMin()), shifted(box.getMax()));
}

}  // namespace

const OverlapCache::Result& OverlapCache::overlapOf(const MaskSetLook& set, int level, SurfaceCache& boxes,
                                                    Complaints& complaints) {
  Key key{{}, level, set.geometry};
  for (const MaskLook& mask : set.masks) key.contents.push_back(mask.content);
  if (isUpToDate(key)) return result_;
  key_ = std::move(key);
  result_ = Result{nullptr, std::vector<bool>(set.masks.size(), false)};
  try {
    make(set, level, boxes);
  } catch (const std::exception& failure) {
    complaints.tell(QStringLiteral("What masks share is not drawn: %1").arg(QString::fromUtf8(failure.what())));
  }
  return result_;
}

bool OverlapCache::isUpToDate(const Key& key) const {
  if (key.level != key_.level || !(key.geometry == key_.geometry) || key.contents.size() != key_.contents.size())
    return false;
  for (std::size_t i = 0; i < key.contents.size(); ++i)
    if (&key.contents[i].table() != &key_.contents[i].table()) return false;
  return true;
}

void OverlapCache::make(const MaskSetLook& set, int level, SurfaceCache& boxes) {
  std::vector<BoxedMask> masks;
  for (const MaskLook& mask : set.masks)
    masks.push_back({level == 0 ? mask.content : mask.node->snapshot(level), atLevel(boxes.boxOf(mask), level)});
  Overlap overlap = findOverlap(masks);
  if (!overlap.shared) return;
  result_.surface = makeSurface(*overlap.shared, level, LatticeMap(set.geometry));
  result_.takesPart = std::move(overlap.takesPart);
}

}  // namespace quarn::view
