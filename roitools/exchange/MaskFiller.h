#pragma once

#include <vector>

#include "quarn/base/McBox3i.h"
#include "quarn/base/McHandle.h"
#include "roitools/export.h"

namespace hxroi::details {
class Mask;
}

namespace roitools {

/// Sets voxels of several empty masks piece by piece: runs are collected for the voxels of some slices or rows, then
/// written in parallel, all masks at once. No voxel of a piece may lie in another one. One thread.
class ROITOOLS_API MaskFiller {
public:
  /// Another mask; returns its number.
  std::size_t add(McHandle<hxroi::details::Mask> mask);
  std::size_t size() const { return masks_.size(); }
  hxroi::details::Mask& mask(std::size_t number) const { return *masks_[number].mask; }

  /// Sets the voxels x0 <= x < x1 of a row of the present piece.
  void addRun(std::size_t number, int y, int z, int x0, int x1);

  /// Writes the present piece and begins the next. Throws McException when that fails.
  void endPiece();

private:
  struct Run {
    int y, z, x0, x1;
  };
  struct Entry {
    McHandle<hxroi::details::Mask> mask;
    std::vector<Run> runs;
    McBox3i box;  ///< around the runs
  };

  static void write(Entry& entry);

  std::vector<Entry> masks_;
};

}  // namespace roitools
