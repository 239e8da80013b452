#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace hxvoxora::detail {

constexpr std::size_t maxNameBytes = 255;

/// Everything up to and with the last "/"; empty for a bare name.
std::string folderPrefix(std::string_view path);

/// The folder of a path as an argument for FileSystem; empty for the working folder.
std::string folderOf(std::string_view path);

/// What follows the last "/".
std::string bareName(std::string_view path);

/// Why `name` is not fit to name a file from inside another file; empty when it is: one plain component, valid UTF-8.
std::string nameObjection(std::string_view name);

/// 16 lower-case hexadecimal digits.
std::string generationText(std::uint64_t generation);

}  // namespace hxvoxora::detail
