#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "quarn/voxora/components/Component.h"
#include "quarn/voxora/components/detail/BlockRows.h"
#include "quarn/voxora/components/detail/LocalComponent.h"

namespace hxvoxora::detail {

/// The runs of set voxels of a block, and which component each of them belongs to. Components are numbered from 0 in
/// order of their first voxels. An object is used for one block after the other and keeps its memory.
class BlockRuns {
public:
  /// Finds the components of a block.
  void label(const BlockRows& rows, Neighbours neighbours);

  std::span<const LocalComponent> components() const { return {components_.data(), componentCount_}; }

  /// How many runs a block has.
  static std::size_t countRuns(const BlockRows& rows);

  /// The runs of a row: firstRun(row) <= run < firstRun(row + 1).
  std::size_t firstRun(std::size_t row) const { return firstRun_[row]; }
  std::uint32_t componentOf(std::size_t run) const { return labels_[run]; }

  /// The component of a set voxel of the rows that were labelled.
  std::uint32_t componentAt(const BlockRows& rows, std::size_t row, unsigned x) const;

  /// Keeps the voxels of those components for which keep(component) is true, and clears the others.
  template <typename Keep>
  void keepOnly(BlockRows& rows, Keep keep) const;

private:
  struct Run {
    std::uint8_t first, last, y, z;
  };

  void makeRoom(std::size_t runCount);
  void makeRoomForComponents();
  void labelPlainly(const BlockRows& rows, Neighbours neighbours);
  void labelByBitInstructions(const BlockRows& rows, Neighbours neighbours);
  void findRuns(const BlockRows& rows);
  template <Neighbours neighbours>
  void joinRuns(const BlockRows& rows);
  template <Neighbours neighbours>
  void joinRows(const BlockRows& rows, std::size_t row, std::size_t earlier);
  std::uint32_t root(std::uint32_t run);
  void join(std::uint32_t a, std::uint32_t b);
  void number();

  std::array<std::uint32_t, BlockRows::longestEdge * BlockRows::longestEdge + 1> firstRun_{};
  std::size_t runCount_ = 0, componentCount_ = 0;
  // As long as any block needed them; of the last one are so many as the counts tell.
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
