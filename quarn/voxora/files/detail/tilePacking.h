#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "quarn/base/McVec3i.h"
#include "quarn/voxora/files/CompressedTile.h"
#include "quarn/voxora/files/TileCompression.h"

namespace hxvoxora::detail {

/// The bits of a tile in the shortest form that `compression` allows and that is worth its time. From any thread.
CompressedTile packTile(std::span<const std::byte> raw, const McVec3i& tileDimensions, TileCompression compression);

/// Brings the bytes of a packed form (not `raw`) back to the bits of a tile, which fill `out`; never writes more.
/// Returns an empty text, or what is wrong. From any thread.
std::string unpackTile(TileForm form, std::span<const std::byte> packed, const McVec3i& tileDimensions,
                       std::span<std::byte> out);

}  // namespace hxvoxora::detail
