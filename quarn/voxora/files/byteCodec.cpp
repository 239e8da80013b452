#include "quarn/voxora/files/byteCodec.h"

#include <xxhash.h>

#include "quarn/voxora/files/detail/gzip.h"

namespace hxvoxora {

std::size_t packBytes(std::span<const std::byte> raw, std::span<std::byte> out) {
  return detail::gzipCompress(raw, out);
}

std::string unpackBytes(std::span<const std::byte> packed, std::span<std::byte> out) {
  std::size_t size = 0;
  std::string objection = detail::gzipDecompress(packed, out, size);
  if (objection.empty() && size < out.size()) {
    objection = "holds " + std::to_string(size) + " bytes instead of " + std::to_string(out.size());
  }
  return objection;
}

std::uint64_t checksumOf(std::span<const std::byte> bytes) {
  return XXH3_64bits(bytes.data(), bytes.size());
}

}  // namespace hxvoxora
