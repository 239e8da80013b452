#include "quarn/voxora/components/detail/OpenComponents.h"

#include <tuple>
#include <utility>

namespace hxvoxora::detail {

OpenComponents::Number OpenComponents::add(const Component& part) {
  const Number number = newNumber();
  entry(number) = {part.voxelCount, part.box, part.first[0], part.first[1], number, 1};
  return number;
}

OpenComponents::Number OpenComponents::extend(Number number, const Component& part) {
  number = root(number);
  entry(number).extend(part);
  hold(number);
  return number;
}

void OpenComponents::Entry::extend(const Component& part) {
  if (std::tuple(part.first[2], part.first[1], part.first[0]) < std::tuple(box.getMin()[2], firstY, firstX)) {
    firstX = part.first[0];
    firstY = part.first[1];
  }
  voxelCount += part.voxelCount;
  box.extendBy(part.box);
}

bool OpenComponents::release(Number number, Component& complete) {
  while (true) {
    Entry& released = entry(number);
    if (--released.references > 0) return false;
    const Number parent = released.parent;
    if (parent == number) break;
    free(number);
    number = parent;
  }
  const Entry& last = entry(number);
  complete = last.component();
  free(number);
  return true;
}

void OpenComponents::join(Number a, Number b) {
  a = root(a);
  b = root(b);
  if (a == b) return;
  // Fewer numbers have a way to go when the one that more refer to stays the root.
  if (entry(a).references < entry(b).references) std::swap(a, b);
  Entry &kept = entry(a), &other = entry(b);
  kept.extend(other.component());
  other.parent = a;
  ++kept.references;
}

/// The number of the component itself; others on the way point to it, or closer to it, afterwards.
OpenComponents::Number OpenComponents::root(Number number) {
  while (true) {
    Entry& at = entry(number);
    const Number parent = at.parent, grandparent = entry(parent).parent;
    if (parent == grandparent) return parent;
    at.parent = grandparent;
    ++entry(grandparent).references;
    // The parent is not a root, so that nothing is complete when this was all that held it.
    if (--entry(parent).references == 0) {
      --entry(grandparent).references;
      free(parent);
    }
    number = grandparent;
  }
}

OpenComponents::Number OpenComponents::newNumber() {
  if (firstFree_ == none) {
    const auto first = static_cast<Number>(chunks_.size() * chunkSize);
    chunks_.push_back(std::make_unique<std::array<Entry, chunkSize>>());
    for (Number i = chunkSize; i-- > 0;) free(first + i);
  }
  const Number number = firstFree_;
  firstFree_ = entry(number).parent;
  return number;
}

void OpenComponents::free(Number number) {
  entry(number).parent = firstFree_;
  firstFree_ = number;
}

}  // namespace hxvoxora::detail
