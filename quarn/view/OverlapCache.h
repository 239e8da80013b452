#pragma once

#include <vector>

#include "quarn/view/MaskSetLook.h"
#include "quarn/view/Overlap.h"
#include "quarn/view/Surface.h"
#include "quarn/view/SurfaceCache.h"
#include "quarn/view/export.h"

namespace quarn::view {

/// The surface around what the visible masks of a set share, made anew when one of them changes, comes or goes.
class QUARN_VIEW_API OverlapCache {
public:
  struct Result {
    SurfaceHandle surface;        ///< null when nothing is shared
    std::vector<bool> takesPart;  ///< for each mask of the set
  };

  /// What cannot be read is told and counts as shared by nobody.
  const Result& overlapOf(const MaskSetLook& set, int level, SurfaceCache& boxes, Complaints& complaints);

private:
  struct Key {
    std::vector<hxvoxora::TileSnapshot> contents;
    int level = 0;
    HxGeometry3 geometry;
  };

  bool isUpToDate(const Key& key) const;
  void make(const MaskSetLook& set, int level, SurfaceCache& boxes);

  Key key_;
  Result result_;
};

}  // namespace quarn::view
