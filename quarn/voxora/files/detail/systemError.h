#pragma once

#include <string>

#include "quarn/voxora/files/FileError.h"

namespace hxvoxora::detail {

/// What a failed file operation throws: "<call> <path>: <reason>".
FileError systemError(const char* call, const std::string& path, int errorNumber);

}  // namespace hxvoxora::detail
