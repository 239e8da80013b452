#pragma once

#include <boost/filesystem/path.hpp>
#include <memory>
#include <optional>
#include <string>

#include "hxroi/export.h"
#include "quarn/voxora/files/FileSystem.h"

class QuarnMesh;

namespace hxroi {

/// The bytes of a set file; nothing when no file has this name. McException for a link, for what is no regular file,
/// for one that cannot be read, and for one that is longer than a set file can be.
HXROI_API std::optional<std::string> readSetFile(hxvoxora::FileSystem& files, const std::string& file);

/// What it holds; null when no file has this name, and when the file holds something else. McException as above.
HXROI_API std::unique_ptr<QuarnMesh> parseSetFile(hxvoxora::FileSystem& files, const boost::filesystem::path& file);

}  // namespace hxroi
