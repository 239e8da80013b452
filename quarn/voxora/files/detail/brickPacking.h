#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "quarn/base/McVec3i.h"

namespace hxvoxora::detail {

/// Tiles packed by bricks of 8 x 8 x 8 voxels (docs/format/tile-data.md, "Bricks"): two bits for each brick, and 64
/// bytes for each that is neither all clear nor all set. Tile dimensions are those that VolumeHeader allows. From any
/// thread.

/// Bytes of a packed tile without mixed bricks.
std::size_t brickCodeBytes(const McVec3i& tileDimensions);

/// The most bytes that a packed tile can have; more than the tile itself.
std::size_t maxPackedBytes(const McVec3i& tileDimensions);

/// Packs the bits of a tile into `out`, which has room for maxPackedBytes(). Returns the bytes used.
std::size_t packBricks(std::span<const std::byte> raw, const McVec3i& tileDimensions, std::span<std::byte> out);

/// Unpacks into the whole of `out`, which has the size of a tile. Returns an empty text, or what is wrong with
/// `packed`.
std::string unpackBricks(std::span<const std::byte> packed, const McVec3i& tileDimensions, std::span<std::byte> out);

}  // namespace hxvoxora::detail
