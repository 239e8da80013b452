#pragma once

#include <cstddef>
#include <cstdint>

namespace hxroi {

/// One bit for each of `count` labels, set where it is `label`: the first in the most significant bit of the first
/// byte. The unused bits of the last byte become 0.
void packLabel(const std::uint8_t* labels, std::size_t count, std::uint8_t label, std::uint8_t* bits);

}  // namespace hxroi
