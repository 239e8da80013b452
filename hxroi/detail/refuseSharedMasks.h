#pragma once

#include <boost/filesystem/path.hpp>
#include <set>
#include <string>

#include "hxroi/export.h"
#include "quarn/voxora/files/FileSystem.h"

namespace hxroi {

/// Throws McException, naming both, when a parameter file beside `file` names the masks folder `masksDir` and a mask in
/// it that is among `replaced` (names of files without extension): whoever loads that one would find the voxels of
/// another set in it. Files that do not end in ".qm", cannot be read or are very long are not looked into.
HXROI_API void refuseSharedMasks(hxvoxora::FileSystem& files, const boost::filesystem::path& file,
                                 const boost::filesystem::path& masksDir, const std::set<std::string>& replaced);

}  // namespace hxroi
