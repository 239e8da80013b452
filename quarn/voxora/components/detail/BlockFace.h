#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "quarn/voxora/components/Component.h"
#include "quarn/voxora/components/detail/BlockRuns.h"
#include "quarn/voxora/components/detail/touchingRuns.h"

namespace hxvoxora::detail {

/// The outermost voxels of a block on one side, as rows of bits with a label for each run. Along the rows go y on the
/// sides of the x axis and x on the others; from row to row goes z, on the sides of the z axis y.
class BlockFace {
public:
  BlockFace() = default;

  /// The face of a block that was labelled; a run gets the label labelOf(component).
  template <typename LabelOf>
  BlockFace(const BlockRows& rows, const BlockRuns& runs, const BlockSide& side, LabelOf labelOf);

  /// The face of a block all of whose voxels are set, as far as they lie inside the volume.
  BlockFace(const SbVec3i32& extent, const BlockSide& side, std::uint32_t label);

  bool isEmpty() const { return labels_.empty(); }

  /// One for each run, or a single one for all of them.
  std::vector<std::uint32_t>& labels() { return labels_; }
  const std::vector<std::uint32_t>& labels() const { return labels_; }

  /// Calls join(label of this, label of other) for runs of this face and of another block's that touch, at least once
  /// for each pair of labels. The other face lies beside this one after a step of `across` blocks along the rows and of
  /// `up` blocks from row to row, each -1, 0 or 1: both 0 when the blocks share the face.
  template <Neighbours neighbours, typename Join>
  void forEachTouch(const BlockFace& other, int across, int up, Join join) const;

private:
  void addRow(std::size_t row, Word bits) {
    rows_[row] = bits;
    firstRun_[row] = static_cast<std::uint16_t>(labels_.size());
  }
  void shrink();

  std::uint32_t label(std::size_t row, unsigned run) const {
    return labels_.size() == 1 ? labels_.front() : labels_[firstRun_[row] + run];
  }

  template <Neighbours neighbours, typename Join>
  void matchRows(std::size_t row, const BlockFace& other, std::size_t otherRow, int across, Join& join) const;

  std::size_t rowCount_ = 0;
  Word lastBit_ = 0;  // of the last voxel of a row
  std::array<Word, BlockRows::longestEdge> rows_;
  std::array<std::uint16_t, BlockRows::longestEdge> firstRun_;
  std::vector<std::uint32_t> labels_;
};

template <typename LabelOf>
BlockFace::BlockFace(const BlockRows& rows, const BlockRuns& runs, const BlockSide& side, LabelOf labelOf) {
  const std::size_t height = rows.height(), depth = rows.depth();
  rowCount_ = side.axis == 2 ? height : depth;
  lastBit_ = Word{1} << (64 - (side.axis == 0 ? height : rows.width()));
  for (std::size_t row = 0; row < rowCount_; ++row) {
    if (side.axis == 0) {
      const unsigned shift = side.upper ? static_cast<unsigned>(64 - rows.width()) : 63;
      Word column = 0;
      for (std::size_t y = 0; y < height; ++y) column |= (rows[row * height + y] >> shift & 1) << (63 - y);
      addRow(row, column);
      for (Word starts = startsOfRuns(column); starts != 0;) {
        const auto y = static_cast<std::size_t>(std::countl_zero(starts));
        starts &= ~(Word{1} << (63 - y));
        const std::size_t from = row * height + y;
        labels_.push_back(labelOf(runs.componentOf(side.upper ? runs.firstRun(from + 1) - 1 : runs.firstRun(from))));
      }
    } else {
      const std::size_t from =
          side.axis == 1 ? row * height + (side.upper ? height - 1 : 0) : (side.upper ? (depth - 1) * height : 0) + row;
      addRow(row, rows[from]);
      for (std::size_t run = runs.firstRun(from); run < runs.firstRun(from + 1); ++run)
        labels_.push_back(labelOf(runs.componentOf(run)));
    }
  }
  shrink();
}

template <Neighbours neighbours, typename Join>
void BlockFace::forEachTouch(const BlockFace& other, int across, int up, Join join) const {
  if (isEmpty() || other.isEmpty()) return;
  const bool onePair = labels_.size() == 1 && other.labels_.size() == 1;
  bool joined = false;
  auto once = [&](std::uint32_t a, std::uint32_t b) {
    joined = true;
    join(a, b);
  };
  if (up != 0) {
    matchRows<neighbours>(up > 0 ? rowCount_ - 1 : 0, other, up > 0 ? 0 : other.rowCount_ - 1, across, once);
    return;
  }
  // One of them may stand for a cut face, but be higher than that: there is nothing set in rows that the other lacks.
  const std::size_t rowCount = std::min(rowCount_, other.rowCount_);
  for (std::size_t row = 0; row < rowCount && !(onePair && joined); ++row) {
    if (rows_[row] == 0) continue;
    matchRows<neighbours>(row, other, row, across, once);
    if constexpr (neighbours == Neighbours::All) {
      if (row > 0) matchRows<neighbours>(row, other, row - 1, across, once);
      if (row + 1 < rowCount) matchRows<neighbours>(row, other, row + 1, across, once);
    }
  }
}

template <Neighbours neighbours, typename Join>
void BlockFace::matchRows(std::size_t row, const BlockFace& other, std::size_t otherRow, int across, Join& join) const {
  const Word mine = rows_[row], theirs = other.rows_[otherRow];
  const auto joinRuns = [&](unsigned a, unsigned b) { join(label(row, a), other.label(otherRow, b)); };
  if (across == 0) return detail::forEachTouch<neighbours>(mine, theirs, joinRuns);
  const Word firstBit = Word{1} << 63;
  const Word myBit = across > 0 ? lastBit_ : firstBit, theirBit = across > 0 ? firstBit : other.lastBit_;
  if ((mine & myBit) == 0 || (theirs & theirBit) == 0) return;
  joinRuns(runAt(startsOfRuns(mine), myBit), runAt(startsOfRuns(theirs), theirBit));
}

}  // namespace hxvoxora::detail
