#pragma once

#include <cstdint>
#include <string>

#include "hxroi/export.h"

namespace hxroi {

namespace details {
class Mask;
}

/// Bytes of the files that saving a mask to `prefix` will write; its edits are flushed for that. 0 for a mask that
/// reads those very files, and, as that shows when it is saved, for one that cannot be flushed or whose files cannot be
/// read.
HXROI_API std::uint64_t savedBytes(const details::Mask& mask, const std::string& prefix);

}  // namespace hxroi
