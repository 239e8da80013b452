#include "quarn/voxora/components/detail/BlockRuns.h"

#include <bit>

#include "quarn/voxora/bits/InstructionSet.h"
#include "quarn/voxora/components/detail/touchingRuns.h"

namespace hxvoxora::detail {

namespace {

#if defined(__x86_64__)
#define QUARN_BIT_INSTRUCTIONS __attribute__((target("bmi,bmi2,popcnt"), flatten))
const bool hasBitInstructions = [] {
  __builtin_cpu_init();
  return __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("popcnt");
}();
#else
#define QUARN_BIT_INSTRUCTIONS
constexpr bool hasBitInstructions = false;
#endif

}  // namespace

void BlockRuns::label(const BlockRows& rows, Neighbours neighbours) {
  componentCount_ = 0;
  makeRoom(countRuns(rows));
  if (hasBitInstructions && instructionSet() != InstructionSet::Scalar) {
    labelByBitInstructions(rows, neighbours);
  } else {
    labelPlainly(rows, neighbours);
  }
}

/// The attributes have everything that is called compiled into this function, for processors with these instructions.
QUARN_BIT_INSTRUCTIONS void BlockRuns::labelByBitInstructions(const BlockRows& rows, Neighbours neighbours) {
  labelPlainly(rows, neighbours);
}

void BlockRuns::labelPlainly(const BlockRows& rows, Neighbours neighbours) {
  findRuns(rows);
  if (neighbours == Neighbours::Faces) {
    joinRuns<Neighbours::Faces>(rows);
  } else {
    joinRuns<Neighbours::All>(rows);
  }
  number();
}

std::size_t BlockRuns::countRuns(const BlockRows& rows) {
  std::size_t count = 0;
  for (std::size_t row = 0; row < rows.count(); ++row)
    count += static_cast<std::size_t>(std::popcount(startsOfRuns(rows[row])));
  return count;
}

std::uint32_t BlockRuns::componentAt(const BlockRows& rows, std::size_t row, unsigned x) const {
  return labels_[firstRun_[row] + runAt(startsOfRuns(rows[row]), Word{1} << (63 - x))];
}

[[gnu::noinline]] void BlockRuns::makeRoom(std::size_t runCount) {
  runCount_ = runCount;
  if (labels_.size() >= runCount) return;
  labels_ = std::vector<std::uint32_t>();  // so that old and new ones are not there at once
  runs_ = std::vector<Run>();
  runs_.resize(runCount);
  labels_.resize(runCount);  // last, since its size tells the room
}

void BlockRuns::findRuns(const BlockRows& rows) {
  std::uint32_t run = 0;
  for (std::size_t z = 0, row = 0; z < rows.depth(); ++z) {
    for (std::size_t y = 0; y < rows.height(); ++y, ++row) {
      firstRun_[row] = run;
      const Word word = rows[row];
      Word starts = startsOfRuns(word), ends = word & ~(word << 1);
      const auto end = run + static_cast<std::uint32_t>(std::popcount(starts));
      // From the last one to the first, since the lower bits are quicker to come by.
      for (std::uint32_t i = end; i-- > run; starts &= starts - 1, ends &= ends - 1) {
        runs_[i] = {static_cast<std::uint8_t>(63 - std::countr_zero(starts)),
                    static_cast<std::uint8_t>(63 - std::countr_zero(ends)), static_cast<std::uint8_t>(y),
                    static_cast<std::uint8_t>(z)};
        labels_[i] = i;
      }
      run = end;
    }
  }
  firstRun_[rows.count()] = run;
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
  if (labels_[a] == labels_[b]) return;
  a = root(a);
  b = root(b);
  labels_[a < b ? b : a] = a < b ? a : b;
}

[[gnu::noinline]] void BlockRuns::makeRoomForComponents() {
  std::size_t roots = 0;
  for (std::size_t run = 0; run < runCount_; ++run) roots += labels_[run] == run ? 1 : 0;
  if (components_.size() > roots) return;
  components_ = std::vector<LocalComponent>();
  components_.resize(roots + 1);
}

/// Roots become components. A run comes behind the one that it points to, which has its component by then. There is no
/// branch, since nobody can tell beforehand which runs are roots.
void BlockRuns::number() {
  makeRoomForComponents();
  std::uint32_t count = 0;
  for (std::size_t run = 0; run < runCount_; ++run) {
    const auto [first, last, y, z] = runs_[run];
    const std::uint32_t earlier = labels_[run];
    const bool isRoot = earlier == run;
    components_[count] = LocalComponent();
    const std::uint32_t number = isRoot ? count : labels_[earlier];
    LocalComponent& component = components_[number];
    component.box.extendBy({first, last, y, z});
    component.voxelCount += static_cast<std::uint32_t>(last - first) + 1;
    component.firstX = isRoot ? first : component.firstX;
    component.firstY = isRoot ? y : component.firstY;
    labels_[run] = number;
    count += isRoot ? 1 : 0;
  }
  componentCount_ = count;
}

}  // namespace hxvoxora::detail
