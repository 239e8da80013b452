#include "quarn/voxora/files/detail/gzip.h"

#include <libdeflate.h>
#include <memory>
#include <new>

namespace hxvoxora::detail {

namespace {

/// On masks this is as quick as the lowest level; higher ones cost more time than they save room.
constexpr int compressionLevel = 3;

struct FreeCodec {
  void operator()(libdeflate_compressor* codec) const { libdeflate_free_compressor(codec); }
  void operator()(libdeflate_decompressor* codec) const { libdeflate_free_decompressor(codec); }
};

libdeflate_compressor* threadCompressor() {
  thread_local const std::unique_ptr<libdeflate_compressor, FreeCodec> codec(
      libdeflate_alloc_compressor(compressionLevel));
  if (!codec) throw std::bad_alloc();
  return codec.get();
}

libdeflate_decompressor* threadDecompressor() {
  thread_local const std::unique_ptr<libdeflate_decompressor, FreeCodec> codec(libdeflate_alloc_decompressor());
  if (!codec) throw std::bad_alloc();
  return codec.get();
}

}  // namespace

std::vector<std::byte> gzipCompress(std::span<const std::byte> raw) {
  if (raw.empty()) return {};
  thread_local std::vector<std::byte> buffer;
  buffer.resize(raw.size() - 1);
  const std::size_t size =
      libdeflate_gzip_compress(threadCompressor(), raw.data(), raw.size(), buffer.data(), buffer.size());
  return {buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(size)};
}

std::string gzipDecompress(std::span<const std::byte> packed, std::span<std::byte> out) {
  std::size_t consumed = 0;
  std::size_t produced = 0;
  const libdeflate_result result = libdeflate_gzip_decompress_ex(threadDecompressor(), packed.data(), packed.size(),
                                                                 out.data(), out.size(), &consumed, &produced);
  if (result == LIBDEFLATE_INSUFFICIENT_SPACE) return "holds more than " + std::to_string(out.size()) + " bytes";
  if (result != LIBDEFLATE_SUCCESS) return "not a valid gzip member";
  if (produced != out.size()) {
    return "holds " + std::to_string(produced) + " bytes instead of " + std::to_string(out.size());
  }
  if (consumed != packed.size()) return std::to_string(packed.size() - consumed) + " bytes follow the gzip member";
  return {};
}

}  // namespace hxvoxora::detail
