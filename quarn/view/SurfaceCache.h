#pragma once

#include <map>
#include <optional>
#include <vector>

#include "quarn/base/McHandle.h"
#include "quarn/kernel/fields/HxVolumeData.h"
#include "quarn/view/MaskSetLook.h"
#include "quarn/view/Surface.h"
#include "quarn/view/export.h"

class McProgressInterface;

namespace quarn::view {

/// Boxes and surfaces of masks, made once for each content of a mask. It holds on to a mask's content, not to the mask.
/// For the user-interface thread.
class QUARN_VIEW_API SurfaceCache {
public:
  /// The box of the set voxels at level 0; empty for a mask without any. Throws McException when a tile cannot be read.
  SbBox3i32 boxOf(const MaskLook& mask);

  /// Makes what is missing for these masks of one grid, in parallel over masks, from the voxels of a level or of a
  /// finer one. A mask that cannot be read is told in `complaints` and has no surface. Throws McException when the user
  /// does not want to wait any longer; what is made stays made.
  void prepare(const MaskSetLook& set, int level, Complaints& complaints);
  /// What prepare() made; null for a mask that could not be read or has no voxels.
  SurfaceHandle surfaceOf(const MaskLook& mask) const;

  /// How many surfaces were made since the start.
  int madeCount() const { return made_; }

  /// Forgets masks that are no more, and those of other sets than these.
  void keepOnly(const std::vector<MaskSetLook>& sets);

private:
  struct Entry {
    hxvoxora::TileSnapshot content;
    std::optional<SbBox3i32> box;
    SurfaceHandle surface;
    const void* owner = nullptr;
    bool isMade = false;
    int level = 0;
    HxGeometry3 geometry;
  };

  Entry& entryOf(const MaskLook& mask);

  std::map<McHandle<HxVolumeData>, Entry, std::less<>> entries_;
  int made_ = 0;
};

/// The resolution level of a volume that is fine enough for a picture of so many pixels.
QUARN_VIEW_API int levelFor(const McDim3l& dimensions, double pixels);

}  // namespace quarn::view
