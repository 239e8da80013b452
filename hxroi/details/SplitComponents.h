#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "hxroi/details/SplitProgress.h"
#include "quarn/base/McBox3i.h"
#include "quarn/voxora/components/Component.h"
#include "quarn/voxora/tiles/TileSnapshot.h"
#include "quarn/voxora/tiles/WorkCallback.h"

namespace hxroi::details {

class Mask;

/// What a mask is split into. Component i has the label `kFirstLabel` + i; the voxels of all components for which there
/// was no label have `kRestLabel`.
struct SplitComponents {
  static constexpr int kRestLabel = 1;
  static constexpr int kFirstLabel = 2;

  hxvoxora::TileSnapshot content;               ///< no voxel is set outside of the box
  McBox3i box;                                  ///< the foreground
  std::vector<hxvoxora::Component> components;  ///< in memory order of their first voxels
  bool hasRest = false;

  int lastLabel() const { return kFirstLabel + static_cast<int>(components.size()) - 1; }
  const hxvoxora::Component& component(int label) const {
    return components[static_cast<std::size_t>(label - kFirstLabel)];
  }

  /// A content whose set voxels inside the box of the component are those of the component. Nothing when the callback
  /// gave up.
  std::optional<hxvoxora::TileSnapshot> contentOf(const hxvoxora::Component& component,
                                                  const hxvoxora::WorkCallback& callback) const;
};

/// Shows "Computing split", asks, and finds the components that a split into at most `maxComponents` labels (0: as many
/// as there are) tells apart. Nothing when the progress was interrupted, and when the mask has no voxels.
std::optional<SplitComponents> beginSplit(const Mask& mask, unsigned long maxComponents, SplitProgress& progress);

/// Shows that `count` components are known, and asks. False when the progress was interrupted.
bool showComponents(std::size_t count, SplitProgress& progress);

/// A mask without voxels for a component of `source`.
std::unique_ptr<Mask> makeComponentMask(const Mask& source);

}  // namespace hxroi::details
