#pragma once

#include <cstdint>
#include <string_view>

namespace hxvoxora::detail {

/// Bytes of memory that the process may have: the least of what the machine has, what its control group and those above
/// allow, and the limit of its address space.
std::uint64_t machineMemory();

}  // namespace hxvoxora::detail
