#pragma once

#include <string>
#include <vector>

#include "quarn/base/McHandle.h"
#include "quarn/voxora/components/Component.h"
#include "quarn/voxora/tiles/TileSnapshot.h"
#include "quarn/voxora/tiles/WorkCallback.h"
#include "roitools/export.h"

namespace hxroi::details {
class Mask;
}

namespace roitools {

/// Some components of a mask.
struct SelectedComponents {
  hxvoxora::TileSnapshot volume;  ///< the voxels of the mask
  hxvoxora::Neighbours neighbours = hxvoxora::Neighbours::Faces;
  std::vector<hxvoxora::Component> components;
  bool withRest = false;  ///< one more mask is wanted for all other voxels, of which there are some
};

/// New masks for components of `source`: "<name>-1", "<name>-2", ... in their order, and "<name>-rest". Each knows its
/// exact box, or for the rest a box that holds it, and stands in its temporary files. `callback` is called all the time
/// from any thread, one call at a time; empty when it gave up. Throws McException when a tile cannot be read or a file
/// cannot be written; nothing is left then.
ROITOOLS_API std::vector<McHandle<hxroi::details::Mask>> makeComponentMasks(const hxroi::details::Mask& source,
                                                                            const SelectedComponents& selected,
                                                                            const hxvoxora::WorkCallback& callback);

}  // namespace roitools
