#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "quarn/voxora/components/Component.h"
#include "quarn/voxora/components/detail/BlockRows.h"

namespace hxvoxora::detail {

/// A side of a block: its lower or its upper end along an axis.
struct BlockSide {
  std::size_t axis;
  bool upper;

  constexpr std::size_t index() const { return 2 * axis + (upper ? 1 : 0); }
  constexpr std::uint32_t bit() const { return 1u << index(); }
};
constexpr std::size_t sideCount = 6;

/// A component inside one block, in voxels of that block.
struct LocalComponent {
  std::uint32_t voxelCount = 0;
  std::uint16_t firstRow = 0;  ///< the row of its first voxel, as BlockRows numbers them
  std::uint8_t firstX = 0;
  std::array<std::uint8_t, 3> min{}, max{};

  /// The sides of a block of this size that it touches, one BlockSide::bit() for each.
  std::uint32_t sides(const SbVec3i32& blockSize) const;
};

/// The runs of set voxels of a block, and which component each of them belongs to. Components are numbered from 0 in
/// order of their first voxels. An object is used for one block after the other and keeps its memory.
class BlockRuns {
public:
  /// Finds the components of a block.
  void label(const BlockRows& rows, Neighbours neighbours);

  const std::vector<LocalComponent>& components() const { return components_; }

  /// The runs of a row: firstRun(row) <= run < firstRun(row + 1).
  std::size_t firstRun(std::size_t row) const { return firstRun_[row]; }
  std::uint32_t componentOf(std::size_t run) const { return labels_[run]; }

  /// The component of a set voxel of the rows that were labelled.
  std::uint32_t componentAt(const BlockRows& rows, std::size_t row, unsigned x) const;

  /// Keeps the voxels of those components for which keep(component) is true, and clears the others.
  template <typename Keep>
  void keepOnly(BlockRows& rows, Keep keep) const;

private:
  void findRuns(const BlockRows& rows);
  template <Neighbours neighbours>
  void joinRuns(const BlockRows& rows);
  template <Neighbours neighbours>
  void joinRows(const BlockRows& rows, std::size_t row, std::size_t earlier);
  std::uint32_t root(std::uint32_t run);
  void join(std::uint32_t a, std::uint32_t b);
  void number(const BlockRows& rows);

  struct Run {
    std::uint8_t first, last;
  };

  std::array<std::uint32_t, BlockRows::longestEdge * BlockRows::longestEdge + 1> firstRun_{};
  std::vector<Run> runs_;
  std::vector<std::uint32_t> labels_;  // an earlier run of the same component, or the run itself; at last the component
  std::vector<LocalComponent> components_;
};

template <typename Keep>
void BlockRuns::keepOnly(BlockRows& rows, Keep keep) const {
  for (std::size_t row = 0; row < rows.count(); ++row) {
    Word kept = 0;
    for (std::size_t run = firstRun_[row]; run < firstRun_[row + 1]; ++run) {
      const Run& at = runs_[run];
      if (keep(labels_[run])) kept |= ~Word{0} >> at.first & ~Word{0} << (63 - at.last);
    }
    rows[row] = kept;
  }
}

}  // namespace hxvoxora::detail
