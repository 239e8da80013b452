#include "quarn/voxora/components/detail/BlockRuns.h"

#include <algorithm>
#include <bit>

#include "quarn/voxora/components/detail/touchingRuns.h"

namespace hxvoxora::detail {

std::uint32_t LocalComponent::sides(const SbVec3i32& blockSize) const {
  std::uint32_t touched = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    if (min[axis] == 0) touched |= BlockSide{axis, false}.bit();
    if (max[axis] + 1 == blockSize[static_cast<int>(axis)]) touched |= BlockSide{axis, true}.bit();
  }
  return touched;
}

void BlockRuns::label(const BlockRows& rows, Neighbours neighbours) {
  findRuns(rows);
  if (neighbours == Neighbours::Faces) {
    joinRuns<Neighbours::Faces>(rows);
  } else {
    joinRuns<Neighbours::All>(rows);
  }
  number(rows);
}

std::uint32_t BlockRuns::componentAt(const BlockRows& rows, std::size_t row, unsigned x) const {
  return labels_[firstRun_[row] + runAt(startsOfRuns(rows[row]), static_cast<int>(63 - x))];
}

void BlockRuns::findRuns(const BlockRows& rows) {
  runs_.clear();
  const std::size_t count = rows.count();
  for (std::size_t row = 0; row < count; ++row) {
    firstRun_[row] = static_cast<std::uint32_t>(runs_.size());
    const Word word = rows[row];
    Word starts = startsOfRuns(word), ends = word & ~(word << 1);
    while (starts != 0) {
      const int first = std::countl_zero(starts), last = std::countl_zero(ends);
      runs_.push_back({static_cast<std::uint8_t>(first), static_cast<std::uint8_t>(last)});
      starts &= ~(Word{1} << (63 - first));
      ends &= ~(Word{1} << (63 - last));
    }
  }
  firstRun_[count] = static_cast<std::uint32_t>(runs_.size());
  labels_.resize(runs_.size());
  for (std::size_t run = 0; run < labels_.size(); ++run) labels_[run] = static_cast<std::uint32_t>(run);
}

template <Neighbours neighbours>
void BlockRuns::joinRuns(const BlockRows& rows) {
  const std::size_t height = rows.height();
  for (std::size_t z = 0, row = 0; z < rows.depth(); ++z) {
    for (std::size_t y = 0; y < height; ++y, ++row) {
      if (rows[row] == 0) continue;
      if (y > 0) joinRows<neighbours>(rows, row, row - 1);
      if (z == 0) continue;
      joinRows<neighbours>(rows, row, row - height);
      if constexpr (neighbours == Neighbours::All) {
        if (y > 0) joinRows<neighbours>(rows, row, row - height - 1);
        if (y + 1 < height) joinRows<neighbours>(rows, row, row - height + 1);
      }
    }
  }
}

template <Neighbours neighbours>
void BlockRuns::joinRows(const BlockRows& rows, std::size_t row, std::size_t earlier) {
  const std::uint32_t first = firstRun_[row], firstEarlier = firstRun_[earlier];
  forEachTouch<neighbours>(rows[row], rows[earlier],
                           [&](unsigned a, unsigned b) { join(first + a, firstEarlier + b); });
}

std::uint32_t BlockRuns::root(std::uint32_t run) {
  while (labels_[run] != run) run = labels_[run] = labels_[labels_[run]];
  return run;
}

/// The earlier root stays one, so that the root of a component is its first run.
void BlockRuns::join(std::uint32_t a, std::uint32_t b) {
  a = root(a);
  b = root(b);
  if (a < b) {
    labels_[b] = a;
  } else {
    labels_[a] = b;
  }
}

/// Roots become components. A run comes behind the one that it points to, which has its component by then.
void BlockRuns::number(const BlockRows& rows) {
  components_.clear();
  const std::size_t height = rows.height();
  for (std::size_t row = 0; row < rows.count(); ++row) {
    const auto y = static_cast<std::uint8_t>(row % height), z = static_cast<std::uint8_t>(row / height);
    for (std::size_t run = firstRun_[row]; run < firstRun_[row + 1]; ++run) {
      const auto [first, last] = runs_[run];
      if (labels_[run] == run) {
        labels_[run] = static_cast<std::uint32_t>(components_.size());
        components_.push_back({0, static_cast<std::uint16_t>(row), first, {first, y, z}, {last, y, z}});
      } else {
        labels_[run] = labels_[labels_[run]];
      }
      LocalComponent& component = components_[labels_[run]];
      component.voxelCount += static_cast<std::uint32_t>(last - first) + 1;
      component.min = {std::min(component.min[0], first), std::min(component.min[1], y), component.min[2]};
      component.max = {std::max(component.max[0], last), std::max(component.max[1], y), z};
    }
  }
}

}  // namespace hxvoxora::detail
