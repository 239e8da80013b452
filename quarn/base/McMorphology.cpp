#include "quarn/base/McMorphology.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "quarn/base/McException.h"

namespace {

/// A row of voxels, a byte each.
using Row = std::vector<std::uint8_t>;

/// What one iteration does: a voxel that differs from `spread`, and has a neighbour that is `spread`, becomes it.
struct Rule {
  bool spread;                 ///< true: set voxels grow; false: clear ones do
  std::array<bool, 3> border;  ///< per axis: what lies outside counts as `spread`
  const McBitfield* mayChange = nullptr;
};

void checkSize(const McBitfield& field, const McDim3l& dimensions) {
  const auto voxels = static_cast<std::uint64_t>(dimensions.voxelCount());
  if (field.size() == voxels) return;
  throw McException("A field of " + std::to_string(field.size()) + " bits does not fit a volume of " +
                    std::to_string(voxels) + " voxels");
}

class Iteration {
public:
  Iteration(const McBitfield& in, McBitfield& out, const McDim3l& dimensions, const Rule& rule)
      : in_(in), out_(out), n_(dimensions), rule_(rule), reached_(static_cast<std::size_t>(n_.nx)) {}

  /// True when a voxel changed.
  bool run() {
    bool hasChanged = false;
    for (std::int64_t z = 0; z < n_.nz; ++z) {
      for (std::int64_t y = 0; y < n_.ny; ++y) hasChanged |= runRow(y, z);
    }
    return hasChanged;
  }

private:
  bool runRow(std::int64_t y, std::int64_t z) {
    std::fill(reached_.begin(), reached_.end(), std::uint8_t{0});
    reachAlongRow(y, z);
    reachFrom(1, y - 1, z);
    reachFrom(1, y + 1, z);
    reachFrom(2, y, z - 1);
    reachFrom(2, y, z + 1);
    return writeRow(firstOf(y, z));
  }

  std::uint64_t firstOf(std::int64_t y, std::int64_t z) const {
    return static_cast<std::uint64_t>((z * n_.ny + y) * n_.nx);
  }
  bool isSpread(std::uint64_t voxel) const { return in_.get(voxel) == rule_.spread; }

  void reachAlongRow(std::int64_t y, std::int64_t z) {
    const std::uint64_t first = firstOf(y, z);
    for (std::size_t x = 0; x + 1 < reached_.size(); ++x) {
      reached_[x] |= isSpread(first + x + 1);
      reached_[x + 1] |= isSpread(first + x);
    }
    if (!rule_.border[0] || reached_.empty()) return;
    reached_.front() = 1;
    reached_.back() = 1;
  }

  /// The row beside this one along an axis, which may lie outside.
  void reachFrom(std::size_t axis, std::int64_t y, std::int64_t z) {
    if (y < 0 || y >= n_.ny || z < 0 || z >= n_.nz) {
      if (rule_.border[axis]) std::fill(reached_.begin(), reached_.end(), std::uint8_t{1});
      return;
    }
    const std::uint64_t first = firstOf(y, z);
    for (std::size_t x = 0; x < reached_.size(); ++x) reached_[x] |= isSpread(first + x);
  }

  bool writeRow(std::uint64_t first) {
    bool hasChanged = false;
    for (std::size_t x = 0; x < reached_.size(); ++x) {
      const std::uint64_t voxel = first + x;
      if (!reached_[x] || isSpread(voxel) || (rule_.mayChange && !rule_.mayChange->get(voxel))) continue;
      out_.fill(voxel, 1, rule_.spread);
      hasChanged = true;
    }
    return hasChanged;
  }

  const McBitfield& in_;
  McBitfield& out_;
  const McDim3l n_;
  const Rule& rule_;
  Row reached_;
};

/// Ends early when nothing is left to be changed.
void iterate(const McBitfield& in, McBitfield& out, const McDim3l& dimensions, std::uint64_t iterations,
             const Rule& rule) {
  McBitfield now = in;
  McBitfield next = in;
  for (; iterations > 0; --iterations) {
    if (!Iteration(now, next, dimensions, rule).run()) break;
    now = next;
  }
  out = std::move(next);
}

}  // namespace

void McMorphology::dilation3D(const McBitfield& in, McBitfield& out, const McDim3l& dimensions,
                              std::uint64_t iterations) {
  checkSize(in, dimensions);
  iterate(in, out, dimensions, iterations, {.spread = true, .border = {false, false, false}});
}

void McMorphology::erosion3D(const McBitfield& in, McBitfield& out, const McDim3l& dimensions, std::uint64_t iterations,
                             bool fromBorderX, bool fromBorderY, bool fromBorderZ, const McBitfield* mask) {
  checkSize(in, dimensions);
  if (mask) checkSize(*mask, dimensions);
  iterate(in, out, dimensions, iterations,
          {.spread = false, .border = {fromBorderX, fromBorderY, fromBorderZ}, .mayChange = mask});
}
