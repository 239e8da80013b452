#pragma once

#include <string>
#include <vector>

#include "hxroi/details/VolumeNode.h"
#include "hxroi/export.h"
#include "quarn/voxora/files/FileSystem.h"

namespace hxroi::details {

/// The files of a node, whose names may have been given to other files since it opened them. Failures are McException.
namespace NodeFiles {

using Access = hxvoxora::FileSystem::Access;
using Durability = hxvoxora::FileSystem::Durability;

/// Whether the set under the node's file name is the one that the node reads: neither removed nor replaced by another
/// save, and data file and index neither changed, exchanged nor removed since they were opened. False for a node
/// without a file.
HXROI_API bool areCurrent(const SoVolumeMask& node);

/// A node in memory that holds the voxels of `node`, those of its files as well as its edits; tiles are shared. Its
/// tile size is the one in the preferences.
HXROI_API NodeHolder copyInMemory(const SoVolumeMask& node);

/// Writes the voxels that the node shows now to the set of `prefix`, whatever is under its file name; the node stays
/// bound as it is. `allLevels` and `parameters` are those of SoVolumeMask::saveEditing. The prefix is not empty.
HXROI_API void write(const SoVolumeMask& node, const std::string& prefix, const std::vector<std::string>& parameters,
                     bool allLevels, Access access, Durability durability);

}  // namespace NodeFiles

}  // namespace hxroi::details
