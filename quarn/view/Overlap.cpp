#include "quarn/view/Overlap.h"

namespace quarn::view {

namespace {

/// A box around all places where two boxes meet.
SbBox3i32 meetingOf(const std::vector<BoxedMask>& masks) {
  SbBox3i32 meeting;
  for (std::size_t i = 0; i < masks.size(); ++i)
    for (std::size_t j = 0; j < i; ++j) meeting.extendBy(masks[i].box.intersection(masks[j].box));
  return meeting;
}

MaskBits sharedBits(const std::vector<BoxedMask>& masks, const SbBox3i32& region) {
  MaskBits once(region), twice(region);
  for (const BoxedMask& mask : masks) {
    const SbBox3i32 box = mask.box.intersection(region);
    if (box.isEmpty()) continue;
    mask.content.forEachRun(box, [&](int y, int z, int x0, int x1) {
      std::uint64_t* seen = once.rowOf(y, z);
      std::uint64_t* shared = twice.rowOf(y, z);
      once.forEachWord(x0, x1, [&](unsigned word, std::uint64_t bits) {
        shared[word] |= seen[word] & bits;
        seen[word] |= bits;
      });
    });
  }
  return twice;
}

bool hasAnyOf(const BoxedMask& mask, MaskBits& shared) {
  bool has = false;
  const SbBox3i32 box = mask.box.intersection(shared.box());
  if (box.isEmpty()) return false;
  mask.content.forEachRun(box, [&](int y, int z, int x0, int x1) {
    const std::uint64_t* row = shared.rowOf(y, z);
    shared.forEachWord(x0, x1, [&](unsigned word, std::uint64_t bits) { has = has || (row[word] & bits) != 0; });
  });
  return has;
}

}  // namespace

Overlap findOverlap(const std::vector<BoxedMask>& masks) {
  Overlap overlap;
  overlap.takesPart.assign(masks.size(), false);
  const SbBox3i32 region = meetingOf(masks);
  if (region.isEmpty()) return overlap;
  MaskBits shared = sharedBits(masks, region);
  if (shared.isAllClear()) return overlap;
  for (std::size_t i = 0; i < masks.size(); ++i) overlap.takesPart[i] = hasAnyOf(masks[i], shared);
  overlap.shared = std::move(shared);
  return overlap;
}

}  // namespace quarn::view
