#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "quarn/view/export.h"
#include "quarn/voxora/nodes/SbTypes.h"
#include "quarn/voxora/tiles/TileSnapshot.h"

namespace quarn::view {

/// The bits of a box of voxels, with a shell of clear ones around it. A row along x is a number of 64-bit words, its
/// first voxel in the lowest bit of the first word.
class QUARN_VIEW_API MaskBits {
public:
  /// All clear. `box` is not empty.
  explicit MaskBits(const SbBox3i32& box);
  /// What `content` has in `box`, which lies inside it. Throws McException when a tile cannot be read.
  MaskBits(const hxvoxora::TileSnapshot& content, const SbBox3i32& box);

  const SbBox3i32& box() const { return box_; }
  /// Voxels along an axis, the shell counted.
  int size(int axis) const { return static_cast<int>(box_.size(axis)) + 2; }
  int wordsPerRow() const { return wordsPerRow_; }

  /// A row; 0 and size() - 1 are of the shell.
  const std::uint64_t* row(int y, int z) const { return words_.data() + offset(y, z); }
  /// The row of the voxel (box().getMin()[0], y, z), counted as the box is.
  std::uint64_t* rowOf(int y, int z) {
    return words_.data() + offset(y - box_.getMin()[1] + 1, z - box_.getMin()[2] + 1);
  }
  /// The voxel lies in the box.
  bool test(int x, int y, int z) const;
  bool isAllClear() const;

  /// Calls visit(word, bits) for the words that the voxels x0 <= x < x1 of a row lie in.
  template <class Visitor>
  void forEachWord(int x0, int x1, Visitor&& visit) const {
    unsigned first = static_cast<unsigned>(x0 - box_.getMin()[0] + 1);
    const unsigned end = static_cast<unsigned>(x1 - box_.getMin()[0] + 1);
    while (first < end) {
      const unsigned word = first / 64;
      const unsigned next = end < (word + 1) * 64 ? end : (word + 1) * 64;
      visit(word, (~std::uint64_t{0} >> (64 - (next - first))) << (first % 64));
      first = next;
    }
  }

private:
  std::size_t offset(int y, int z) const {
    return (static_cast<std::size_t>(z) * static_cast<std::size_t>(size(1)) + static_cast<std::size_t>(y)) *
           static_cast<std::size_t>(wordsPerRow_);
  }

  SbBox3i32 box_;
  int wordsPerRow_;
  std::vector<std::uint64_t> words_;
};

}  // namespace quarn::view
