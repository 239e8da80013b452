#pragma once

#include <cstddef>

#include "quarn/voxora/export.h"

namespace hxvoxora {

/// One row of the next lower resolution from the four rows that it covers: bit i of `dst` is set when bit 2i or 2i + 1
/// of any of them is. Bits as in BitKernels.h. `byteCount` are the bytes of a row, a multiple of 4; `dst` gets half as
/// many. The arrays must not overlap.
QUARN_VOXORA_API void halveRows(void* dst, const void* row0, const void* row1, const void* row2, const void* row3,
                                std::size_t byteCount);

}  // namespace hxvoxora
