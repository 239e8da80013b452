#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "quarn/voxora/export.h"

/// Names of files as paths hold them and as files write them down. Pure functions; any thread.
namespace hxvoxora {

/// The longest name of a file or folder, in bytes.
constexpr std::size_t maxNameBytes = 255;

/// Everything up to and with the last "/"; empty for a bare name.
QUARN_VOXORA_API std::string folderPrefix(std::string_view path);

/// The folder of a path as an argument for FileSystem; empty for the working folder.
QUARN_VOXORA_API std::string folderOf(std::string_view path);

/// What follows the last "/".
QUARN_VOXORA_API std::string bareName(std::string_view path);

/// Whether `name` is one component of a path that stays in its folder on every system: not empty, not "." or "..", no
/// separator, no control character, at most maxNameBytes.
QUARN_VOXORA_API bool isPlainName(std::string_view name);

/// Why `name` is not fit to name a file from inside another file; empty when it is: a plain name in valid UTF-8.
QUARN_VOXORA_API std::string nameObjection(std::string_view name);

/// The mark of a generation as 16 lower-case hexadecimal digits, and back; nothing for what is none, or is 0.
QUARN_VOXORA_API std::string generationText(std::uint64_t generation);
QUARN_VOXORA_API std::optional<std::uint64_t> parseGeneration(std::string_view text);

}  // namespace hxvoxora
