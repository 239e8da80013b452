#pragma once

#include <cstdint>
#include <string>

#include "quarn/voxora/export.h"
#include "quarn/voxora/files/FileSystem.h"

namespace hxvoxora {

/// All bytes of a regular file. McException, naming the file, when it is longer than `most` bytes, before memory is
/// asked for; when it is no regular file, is a link and those are refused, or cannot be read.
QUARN_VOXORA_API std::string readWhole(FileSystem& files, const std::string& path, std::uint64_t most,
                                       FileSystem::Links links);

}  // namespace hxvoxora
