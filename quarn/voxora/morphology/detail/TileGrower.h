#pragma once

#include <cstdint>
#include <vector>

#include "quarn/voxora/morphology/detail/GrownTile.h"
#include "quarn/voxora/morphology/detail/Growth.h"
#include "quarn/voxora/morphology/detail/Neighbourhood.h"
#include "quarn/voxora/morphology/detail/SliceShape.h"
#include "quarn/voxora/tiles/detail/TileTable.h"

namespace hxvoxora::detail {

/// Grows the front in single tiles of a table that stays as it is.
///
/// A tile is swept along z once. What comes in are its slices, with the rows and ends of rows around them; each of the
/// growth's steps makes slices from those of the step before as soon as these are there, so that only the few slices
/// that a step reaches for are kept, in the fastest cache. Slices of one value all over are passed on without work.
///
/// For one thread at a time.
class TileGrower {
public:
  /// The table must outlive this object.
  TileGrower(const TileTable& table, const Growth& growth);
  TileGrower(const TileGrower&) = delete;
  TileGrower& operator=(const TileGrower&) = delete;

  /// What becomes of a tile: its place as it is when nothing changes, a constant when all voxels are equal. McException
  /// when a tile cannot be read from its file, or there is no memory for another one.
  TileSlot grow(std::int64_t tile);

private:
  /// A step, and the slices that it made.
  struct Step {
    int distance;  ///< 0 for the slices that come in
    int grown;     ///< by all steps up to this one
    SliceRing slices;
  };

  Slice gather(int z);
  WordSummary gatherColumns(Word* slice, int dz, int z) const;
  WordSummary gatherNarrowColumn(Word* slice, int dz, int z) const;
  RowsOfColumn rowsOf(int dx, int dz, int word, int z) const;
  bool cut(Word* slice) const;
  void pass(int z);
  Slice spread(Step& step, const SliceRing& from, int z);
  void finish(const Step& step, const SliceRing& from, int z);

  /// What a step makes a slice from.
  struct Sources {
    Sources(const SliceRing& from, int z, int distance)
        : below(from.at(z - distance)), here(from.at(z)), above(from.at(z + distance)) {}

    /// The kind of the result, as far as those of the sources tell.
    Slice::Kind kind() const;
    SpreadSources column(const SliceShape& shape, int i, int firstRow) const;

    const Slice &below, &here, &above;
  };

  const TileTable& table_;
  const Growth growth_;
  const SliceShape shape_;
  const ColumnKernels& kernels_;
  const UniformSlices uniform_;
  std::vector<Step> steps_;
  Neighbourhood around_;
  GrownTile result_;

  // Of the tile at hand: how far the volume goes from its first voxel on, and whether that matters.
  std::int64_t left_[3] = {};
  bool isAtEnd_ = false;
};

}  // namespace hxvoxora::detail
