#include "quarn/formats/detail/GzipWriter.h"

#include <algorithm>
#include <new>
#include <vector>
#include <zlib.h>

namespace quarn::formats::detail {

struct GzipWriter::Deflater {
  Deflater() {
    constexpr int gzip = 16 + MAX_WBITS;
    constexpr int memoryLevel = 8;
    const int status = deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, gzip, memoryLevel, Z_DEFAULT_STRATEGY);
    if (status != Z_OK) throw std::bad_alloc();
  }
  ~Deflater() { deflateEnd(&stream); }
  Deflater(const Deflater&) = delete;
  Deflater& operator=(const Deflater&) = delete;

  z_stream stream{};
  std::vector<std::byte> packed = std::vector<std::byte>(1024 * 1024);
};

GzipWriter::GzipWriter(ReplacedFile& file) : file_(file), deflater_(std::make_unique<Deflater>()) {}

GzipWriter::~GzipWriter() = default;

void GzipWriter::append(std::span<const std::byte> bytes) {
  constexpr std::size_t mostPerCall = std::size_t{1} << 30;  // zlib counts in 32 bits
  while (!bytes.empty()) {
    const std::span<const std::byte> part = bytes.first(std::min(bytes.size(), mostPerCall));
    bytes = bytes.subspan(part.size());
    deflater_->stream.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(part.data()));
    deflater_->stream.avail_in = static_cast<uInt>(part.size());
    pack(Z_NO_FLUSH);
  }
}

void GzipWriter::finish() {
  pack(Z_FINISH);
}

/// Takes all input and writes what comes of it.
void GzipWriter::pack(int flush) {
  z_stream& stream = deflater_->stream;
  std::vector<std::byte>& packed = deflater_->packed;
  do {
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, flush);
    file_.append(std::span(packed).first(packed.size() - stream.avail_out));
  } while (stream.avail_out == 0);
}

}  // namespace quarn::formats::detail
