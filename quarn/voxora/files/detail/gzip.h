#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace hxvoxora::detail {

/// One gzip member that holds `raw`; empty when it would not be shorter than `raw`. From any thread.
std::vector<std::byte> gzipCompress(std::span<const std::byte> raw);

/// Unpacks one gzip member that fills `packed` exactly and gives exactly out.size() bytes; never writes more. Returns
/// an empty text, or what is wrong. From any thread.
std::string gzipDecompress(std::span<const std::byte> packed, std::span<std::byte> out);

}  // namespace hxvoxora::detail
