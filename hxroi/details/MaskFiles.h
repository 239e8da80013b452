#pragma once

#include <string>

#include "hxroi/export.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/tiles/WorkCallback.h"

namespace hxroi::details {

/// The file set of a mask: prefix + ".ldm" (header), ".dat" (voxels) and ".fcp" (tile index). A prefix is a path
/// without extension; an empty one names no files. Failures are McException with file and reason.
namespace MaskFiles {

using Access = hxvoxora::FileSystem::Access;

/// Copies the set of the header source + ".ldm", with the voxels and the index that this header names, and makes the
/// copied header name the copies; all else in it stays. Voxels or index of another save than the header are refused,
/// and so are damaged ones: every stored tile is compared with its checksum. Nothing happens when both prefixes name
/// one header.
///
/// All files are written beside the target, synced and renamed, the header last: a reader finds the old set or the new
/// one. After a failure the old set is still there. Only files of the target's own names are replaced, whatever a
/// header there names. A target that is a folder, link, pipe or device is refused. What copies and saves to the target
/// left behind when their process ended is removed first. False when `goOn` gave up; then too the old set is there.
HXROI_API bool copy(hxvoxora::FileSystem& files, const std::string& sourcePrefix, const std::string& targetPrefix,
                    Access access = Access::byMask, const hxvoxora::WorkCallback& goOn = nullptr);

/// Removes the set, as far as it is there. All three are tried before a failure is thrown.
HXROI_API void remove(hxvoxora::FileSystem& files, const std::string& prefix);

/// Whether both paths name one file. A missing `b` is no file; a missing `a` beside another `b` is an McException.
HXROI_API bool isSameFile(hxvoxora::FileSystem& files, const std::string& a, const std::string& b);

/// The prefix of a header file: its path without extension.
HXROI_API std::string prefixOf(const std::string& ldmPath);

/// Text of a header.
HXROI_API std::string readHeader(hxvoxora::FileSystem& files, const std::string& ldmPath);

/// Replaces the text of a header: written beside, synced, renamed.
HXROI_API void writeHeader(hxvoxora::FileSystem& files, const std::string& ldmPath, const std::string& text,
                           Access access = Access::byMask);

}  // namespace MaskFiles

}  // namespace hxroi::details
