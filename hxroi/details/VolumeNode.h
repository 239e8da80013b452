#pragma once

#include <memory>

#include "hxroi/export.h"

class SoVolumeMask;

namespace hxroi::details {

/// A new node without data, with one reference for the caller. Nodes are made and released one at a time in the
/// process.
SoVolumeMask* createVolumeNode();

/// Gives one reference back; true when it was the last one.
HXROI_API bool releaseVolumeNode(SoVolumeMask* node) noexcept;

/// Releases the node that it is handed.
struct NodeReleaser {
  void operator()(SoVolumeMask* node) const noexcept { releaseVolumeNode(node); }
};
using NodeHolder = std::unique_ptr<SoVolumeMask, NodeReleaser>;

}  // namespace hxroi::details
