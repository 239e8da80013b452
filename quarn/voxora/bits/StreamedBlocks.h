#pragma once

#include <cstddef>

#include "quarn/voxora/bits/BitKernels.h"

namespace hxvoxora {

/// combineBlocks() whose result goes to main memory past the caches: for results that are larger than the caches, so
/// that nothing is fetched that is about to be overwritten. The result is visible to other threads as any other is.
/// `byteCount` is a multiple of 64, dst is aligned to 64 bytes, a and b to 8.
QUARN_VOXORA_API WordSummary combineBlocksStreamed(void* dst, const void* a, const void* b, std::size_t byteCount,
                                                   TruthTable f);

}  // namespace hxvoxora
