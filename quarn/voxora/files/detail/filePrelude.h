#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/voxora/files/InputFile.h"

namespace hxvoxora::detail {

/// What data file and index begin with: six letters that tell which of the two it is, the version of the format, and
/// the generation.
constexpr std::size_t preludeBytes = 16;
constexpr std::string_view dataMagic = "VOXDAT";
constexpr std::string_view indexMagic = "VOXIDX";
constexpr std::uint16_t binaryVersion = 1;

void appendPrelude(std::vector<std::byte>& bytes, std::string_view magic, std::uint64_t generation);

/// Why the file does not begin with this magic, a known version and this generation; empty when it does.
std::string preludeObjection(const InputFile& file, std::string_view magic, std::uint64_t generation);

}  // namespace hxvoxora::detail
