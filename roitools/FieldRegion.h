#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

#include "quarn/base/McDim3l.h"
#include "quarn/voxora/tiles/TileSnapshot.h"

namespace roitools {

/// The voxels of a field, or those that are set in a volume on its grid, in parts that can be walked at once.
class FieldRegion {
public:
  explicit FieldRegion(const McDim3l& dimensions, std::optional<hxvoxora::TileSnapshot> roi = std::nullopt)
      : dimensions_(dimensions), roi_(std::move(roi)) {}

  std::int64_t parts() const { return roi_ ? roi_->tileCount() : (voxels() + kStretch - 1) / kStretch; }

  /// Calls visit(first, count) for stretches of voxels of a part, by their numbers in the array of the field.
  template <class Visitor>
  void forEachStretch(std::int64_t part, const Visitor& visit) const {
    if (!roi_) {
      visit(part * kStretch, std::min(kStretch, voxels() - part * kStretch));
      return;
    }
    if (roi_->kind(part) == hxvoxora::TileSnapshot::Kind::Zero) return;
    roi_->forEachRunInTile(part, roi_->tileBox(part), [&](int y, int z, int x0, int x1) {
      visit((std::int64_t{z} * dimensions_.ny + y) * dimensions_.nx + x0, std::int64_t{x1} - x0);
    });
  }

private:
  static constexpr std::int64_t kStretch = std::int64_t{1} << 17;

  std::int64_t voxels() const { return dimensions_.nx * dimensions_.ny * dimensions_.nz; }

  McDim3l dimensions_;
  std::optional<hxvoxora::TileSnapshot> roi_;
};

}  // namespace roitools
