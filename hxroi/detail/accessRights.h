#pragma once

#include <boost/filesystem/path.hpp>

#include "hxroi/export.h"

namespace hxroi {

/// Rights to read and write files, as a save keeps them: who could not do something with the former file cannot do it
/// with the one that takes its place.
namespace accessRights {

using path = boost::filesystem::path;

/// Takes from everybody but the owner what they may not do with `former`. Without a former file nothing is done.
HXROI_API void limit(const path& file, const path& former);

/// Whether a file is there that not everybody may read: `file`, or one in `folder`.
HXROI_API bool isAnyPrivate(const path& file, const path& folder);

/// Gives a folder the rights of another one.
HXROI_API void copy(const path& from, const path& to);

}  // namespace accessRights

}  // namespace hxroi
