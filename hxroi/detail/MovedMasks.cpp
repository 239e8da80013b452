#include "hxroi/detail/MovedMasks.h"

#include <limits>

namespace hxroi {

namespace {

constexpr unsigned long kEnd = std::numeric_limits<unsigned long>::max();

}  // namespace

void MovedMasks::move(const std::string& name, Group* target) {
  rois_.namedMask(name);
  const McHandle<Mask> mask(rois_.getMask(name));
  const HxColormap* const colormap = mask->colormap(false);
  const Place from = placeOf(*mask);
  takeOut(*mask);
  try {
    insert(*mask, {McHandle<Group>(target), kEnd}, colormap);
  } catch (...) {
    insert(*mask, from, colormap);
    throw;
  }
  moves_.push_back({mask, from});
}

void MovedMasks::undo() {
  for (; !moves_.empty(); moves_.pop_back()) {
    const Move& move = moves_.back();
    const HxColormap* const colormap = move.mask->colormap(false);
    takeOut(*move.mask);
    insert(*move.mask, move.from, colormap);
  }
}

MovedMasks::Place MovedMasks::placeOf(Mask& mask) const {
  unsigned long position = 0;
  if (Group* const group = mask.parent()) {
    for (const Mask& member : *group) {
      if (&member == &mask) break;
      ++position;
    }
    return {McHandle<Group>(group), position};
  }
  for (const auto& roi : rois_) {
    if (roi.get() == &mask) break;
    ++position;
  }
  return {nullptr, position};
}

void MovedMasks::takeOut(Mask& mask) {
  if (Group* const group = mask.parent()) {
    group->removeMask(mask.name());
  } else {
    rois_.removeRoi(mask.name());
  }
}

void MovedMasks::insert(Mask& mask, const Place& place, const HxColormap* colormap) {
  if (place.group) {
    place.group->insertMask(&mask, place.position);
  } else {
    rois_.insertRoi(&mask, place.position);
  }
  mask.setColormap(colormap);
}

}  // namespace hxroi
