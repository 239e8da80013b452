#include "quarn/kernel/io/detail/FieldDataWriter.h"

#include <algorithm>
#include <tbb/parallel_for.h>

#include "quarn/voxora/files/byteCodec.h"

namespace quarn::detail {
namespace {

/// The stored form of a chunk in `room`, which grows when it must; its size is returned.
std::size_t pack(std::span<const std::byte> raw, std::vector<std::byte>& room) {
  if (room.size() < raw.size()) room.resize(raw.size());
  // What is not shorter is of no use, and would be taken for a chunk that is stored as it is.
  const std::size_t packed = hxvoxora::packBytes(raw, std::span(room).first(raw.size() - 1));
  if (packed > 0) return packed;
  std::copy(raw.begin(), raw.end(), room.begin());
  return raw.size();
}

}  // namespace

FieldDataWriter::FieldDataWriter(hxvoxora::OutputFile& file, std::uint64_t generation)
    : file_(file), packed_(fielddata::chunksAtOnce) {
  write(fielddata::makePrelude(generation));
}

void FieldDataWriter::append(std::span<const std::byte> voxels) {
  const std::uint64_t count = fielddata::chunkCount(voxels.size());
  std::vector<fielddata::Entry> entries(count);
  tbb::parallel_for(std::uint64_t{0}, count, [&](std::uint64_t i) {
    const auto raw = voxels.subspan(i * fielddata::chunkBytes, fielddata::bytesOfChunk(voxels.size(), i));
    entries[i].storedBytes = pack(raw, packed_[i]);
    entries[i].checksum = hxvoxora::checksumOf(std::span(packed_[i]).first(entries[i].storedBytes));
  });
  for (std::uint64_t i = 0; i < count; ++i) {
    write(std::span(packed_[i]).first(entries[i].storedBytes));
    table_.push_back(entries[i]);
  }
}

void FieldDataWriter::finish() {
  const auto table = std::as_bytes(std::span(table_));
  tableChecksum_ = hxvoxora::checksumOf(table);
  write(table);
}

void FieldDataWriter::write(std::span<const std::byte> bytes) {
  if (bytes.empty()) return;
  file_.append(bytes);
  fileBytes_ += bytes.size();
}

}  // namespace quarn::detail
