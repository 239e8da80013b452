#include "quarn/kernel/io/GzipWriter.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <oneapi/tbb/parallel_for.h>
#include <zlib.h>

namespace quarn {

namespace {

constexpr std::size_t blockBytes = 512 * 1024;
constexpr int level = 6;  // labels come in long runs: higher ones take longer and gain little

/// A deflate stream without header, so that what several of them make can be joined.
struct Deflater {
  Deflater() {
    if (deflateInit2(&stream, level, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK) throw std::bad_alloc();
  }
  ~Deflater() { deflateEnd(&stream); }
  Deflater(const Deflater&) = delete;
  Deflater& operator=(const Deflater&) = delete;

  z_stream stream{};
};

const Bytef* bytesOf(std::span<const std::byte> bytes) {
  return reinterpret_cast<const Bytef*>(bytes.data());
}

bool isOfZeros(std::span<const std::byte> bytes) {
  // Equal to itself one byte further on: as fast as memory is compared.
  return bytes[0] == std::byte{0} && std::memcmp(bytes.data(), bytes.data() + 1, bytes.size() - 1) == 0;
}

}  // namespace

/// The block as a part of a stream that ends on a whole byte and refers to nothing before it.
void GzipWriter::pack(std::span<const std::byte> raw, Packed& packed) {
  constexpr std::size_t roomForFlush = 16;
  Deflater deflater;
  z_stream& stream = deflater.stream;
  packed.bytes.resize(deflateBound(&stream, static_cast<uLong>(raw.size())) + roomForFlush);
  stream.next_in = const_cast<Bytef*>(bytesOf(raw));
  stream.avail_in = static_cast<uInt>(raw.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.bytes.data());
  stream.avail_out = static_cast<uInt>(packed.bytes.size());
  deflate(&stream, Z_FULL_FLUSH);
  packed.bytes.resize(packed.bytes.size() - stream.avail_out);
  packed.checksum =
      static_cast<std::uint32_t>(crc32(crc32(0, nullptr, 0), bytesOf(raw), static_cast<uInt>(raw.size())));
}

GzipWriter::GzipWriter(hxvoxora::OutputFile& file)
    : file_(file), checksum_(static_cast<std::uint32_t>(crc32(0, nullptr, 0))) {
  // Without name and time, so that equal bytes give equal files; 255: made on no system in particular.
  constexpr std::array<unsigned char, 10> header = {0x1F, 0x8B, 8, 0, 0, 0, 0, 0, 0, 255};
  file_.append(std::as_bytes(std::span(header)));
  pack(std::vector<std::byte>(blockBytes), zeros_);
}

void GzipWriter::append(std::span<const std::byte> bytes) {
  const std::size_t blocks = (bytes.size() + blockBytes - 1) / blockBytes;
  const auto block = [&](std::size_t i) {
    return bytes.subspan(i * blockBytes, std::min(blockBytes, bytes.size() - i * blockBytes));
  };
  if (packed_.size() < blocks) packed_.resize(blocks);
  tbb::parallel_for(std::size_t{0}, blocks, [&](std::size_t i) {
    packed_[i].isOfZeros = block(i).size() == blockBytes && isOfZeros(block(i));
    if (!packed_[i].isOfZeros) pack(block(i), packed_[i]);
  });
  for (std::size_t i = 0; i < blocks; ++i) {
    const Packed& packed = packed_[i].isOfZeros ? zeros_ : packed_[i];
    file_.append(packed.bytes);
    checksum_ =
        static_cast<std::uint32_t>(crc32_combine(checksum_, packed.checksum, static_cast<z_off_t>(block(i).size())));
  }
  count_ += bytes.size();
}

void GzipWriter::finish() {
  constexpr std::array<unsigned char, 2> emptyLastBlock = {3, 0};
  file_.append(std::as_bytes(std::span(emptyLastBlock)));
  std::array<unsigned char, 8> trailer{};
  for (unsigned i = 0; i < 4; ++i) {
    trailer[i] = static_cast<unsigned char>(checksum_ >> 8 * i);
    trailer[4 + i] = static_cast<unsigned char>(count_ >> 8 * i);
  }
  file_.append(std::as_bytes(std::span(trailer)));
}

}  // namespace quarn
