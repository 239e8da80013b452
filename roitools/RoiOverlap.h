#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "quarn/voxora/tiles/TileSnapshot.h"
#include "quarn/voxora/tiles/WorkCallback.h"
#include "roitools/export.h"

namespace roitools {

/// How many voxels each of some ROIs has, and each pair of them shares. ROIs are numbered from 0.
class ROITOOLS_API OverlapCounts {
public:
  explicit OverlapCounts(std::size_t rois) : voxels_(rois), shared_(rois * rois) {}

  std::size_t rois() const { return voxels_.size(); }
  std::uint64_t voxels(std::size_t roi) const { return voxels_[roi]; }
  /// Of two different ROIs, in any order.
  std::uint64_t shared(std::size_t a, std::size_t b) const { return a < b ? at(a, b) : at(b, a); }

  void addVoxels(std::size_t roi, std::uint64_t count) { voxels_[roi] += count; }
  /// With a < b.
  void addShared(std::size_t a, std::size_t b, std::uint64_t count) { shared_[a * rois() + b] += count; }
  /// Takes in the counts of `other` voxels of the same ROIs.
  void join(const OverlapCounts& other);

private:
  std::uint64_t at(std::size_t a, std::size_t b) const { return shared_[a * rois() + b]; }

  std::vector<std::uint64_t> voxels_;
  std::vector<std::uint64_t> shared_;  // rows a, columns b > a
};

/// The ROIs whose overlaps are counted.
struct ROITOOLS_API OverlapInput {
  /// Volumes on one grid; those without voxels count as empty. The size of tiles may differ, but what differs from the
  /// first is copied.
  std::vector<hxvoxora::TileSnapshot> rois;
  /// 0: pairs of any two. Otherwise only pairs of one of the first so many and one of the rest.
  std::size_t firstOfOther = 0;
};

/// Counts in one pass over the tiles, in parallel. Tiles of which a ROI has all or no voxels are not read; the bits of
/// two ROIs meet only in stretches of a tile where both have some, so the cost follows the surfaces of the ROIs that
/// meet. Memory: one tile of each ROI and one table of pairs for each thread.
///
/// `callback` is called from the thread of the caller; nothing is returned when it gave up. Throws McException when the
/// grids differ or a tile cannot be read.
ROITOOLS_API std::optional<OverlapCounts> countOverlaps(const OverlapInput& input,
                                                        const hxvoxora::WorkCallback& callback);

}  // namespace roitools
