#pragma once

#include <cstdint>
#include <optional>

#include "quarn/voxora/tiles/detail/TileTable.h"

namespace hxvoxora::detail {

/// The one constant that all tiles first <= tile < first + count are; nothing when they differ or one of them has bits.
/// Ends at the first tile that is unlike the others, and looks at nothing below a mark that stands for many tiles.
std::optional<bool> rangeValue(const TileTable& table, std::int64_t first, std::int64_t count);

}  // namespace hxvoxora::detail
