#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace hxvoxora::detail {

/// Writes one gzip member that holds `raw` to the beginning of `out`. Returns its size; 0 when it does not fit. From
/// any thread.
std::size_t gzipCompress(std::span<const std::byte> raw, std::span<std::byte> out);

/// Unpacks one gzip member that fills `packed` exactly to the beginning of `out`, and tells the `size` of what it held.
/// Never writes more than there is room for. Returns an empty text, or what is wrong. From any thread.
std::string gzipDecompress(std::span<const std::byte> packed, std::span<std::byte> out, std::size_t& size);

}  // namespace hxvoxora::detail
