#pragma once

#include <boost/filesystem/path.hpp>

#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/Mask.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "tests/support/BorderedVolume.h"

inline BorderedVolume::Voxels voxelsOf(const hxroi::details::Mask& mask) {
  BorderedVolume::Voxels voxels;
  const auto view = mask.getConstBox();
  for (const bool value : view) voxels.push_back(value);
  return voxels;
}

/// Writes the voxels of a mask as files of the older layout; `prefix` is without extension.
inline void makeLegacy(const hxroi::details::Mask& mask, const boost::filesystem::path& prefix,
                       hxvoxora::FileSystem& files = hxvoxora::FileSystem::posix()) {
  const SbVec3i32 tile = mask.volumeMask()->getTileDimension();
  BorderedVolume volume(mask.dimensions(), {tile[0], tile[1], tile[2]}, 2);
  volume.voxels = voxelsOf(mask);
  volume.write(files, prefix.string() + ".ldm");
}
