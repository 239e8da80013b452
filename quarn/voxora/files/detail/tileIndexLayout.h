#pragma once

#include <cstddef>
#include <cstdint>

#include "quarn/voxora/files/TileCompression.h"

namespace hxvoxora::detail {

/// Sizes and constants of a tile index file.
constexpr std::size_t indexHeadBytes = 80;
constexpr std::size_t indexEntryBytes = 24;
constexpr std::size_t indexChecksumBytes = 8;
constexpr std::uint32_t byteOrderMark = 0x01020304;

constexpr std::uint32_t compressionCode(TileCompression compression) {
  return compression == TileCompression::gzip ? 1 : 0;
}

}  // namespace hxvoxora::detail
