#pragma once

#include <string>

#include "quarn/base/McException.h"

namespace hxvoxora::detail {

/// What a failed file operation throws: "<call> <path>: <reason>".
McException systemError(const char* call, const std::string& path, int errorNumber);

}  // namespace hxvoxora::detail
