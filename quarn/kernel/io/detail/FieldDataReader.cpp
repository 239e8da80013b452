#include "quarn/kernel/io/detail/FieldDataReader.h"

#include <exception>

#include "quarn/base/McException.h"
#include "quarn/kernel/io/detail/fieldDataLayout.h"
#include "quarn/voxora/files/byteCodec.h"
#include "quarn/voxora/files/fileNames.h"

namespace quarn::detail {

using hxvoxora::FileSystem;

FieldDataReader::FieldDataReader(FileSystem& files, const std::string& path, const FieldDescription& field)
    : file_(files.openForReading(path, FileSystem::Links::refuse)),
      fileBytes_(file_->identity().size),
      voxelBytes_(field.voxelBytes()) {
  checkSize(field);
  checkPrelude(field);
  readTable(field);
}

std::uint64_t FieldDataReader::bytesOf(std::uint64_t chunk) const {
  return fielddata::bytesOfChunk(voxelBytes_, chunk);
}

void FieldDataReader::checkSize(const FieldDescription& field) const {
  if (fileBytes_ != field.dataBytes) {
    fail("it has " + std::to_string(fileBytes_) + " bytes, not the " + std::to_string(field.dataBytes) +
         " of \"field/data-bytes\"");
  }
  const std::uint64_t count = fielddata::chunkCount(voxelBytes_);
  if (fileBytes_ < fielddata::preludeBytes || (fileBytes_ - fielddata::preludeBytes) / fielddata::entryBytes < count) {
    fail("its " + std::to_string(fileBytes_) + " bytes have no room for a table of " + std::to_string(count) +
         " chunks, which " + std::to_string(voxelBytes_) + " bytes of voxels take");
  }
}

void FieldDataReader::checkPrelude(const FieldDescription& field) const {
  fielddata::Prelude found{};
  file_->readFully(0, found);
  const fielddata::Prelude wanted = fielddata::makePrelude(field.generation);
  if (!std::equal(found.begin(), found.begin() + 6, wanted.begin())) fail("it is not the data file of a field");
  if (!std::equal(found.begin() + 6, found.begin() + 8, wanted.begin() + 6)) fail("its version is not known");
  if (found != wanted)
    fail("its generation is not " + hxvoxora::generationText(field.generation) + " of \"field/generation\"");
}

void FieldDataReader::readTable(const FieldDescription& field) {
  std::vector<fielddata::Entry> table(fielddata::chunkCount(voxelBytes_));
  const std::span<std::byte> bytes = std::as_writable_bytes(std::span(table));
  const std::uint64_t tableOffset = fileBytes_ - bytes.size();
  file_->readFully(tableOffset, bytes);
  if (hxvoxora::checksumOf(bytes) != field.tableChecksum) fail("the checksum of its chunk table is wrong");
  chunks_.reserve(table.size());
  std::uint64_t offset = fielddata::preludeBytes;
  for (const fielddata::Entry& entry : table) {
    const std::uint64_t raw = bytesOf(chunks_.size());
    const bool isPossible = entry.storedBytes > 0 && entry.storedBytes <= raw &&
                            raw <= entry.storedBytes * hxvoxora::mostBytesPerPackedByte;
    if (!isPossible || entry.storedBytes > tableOffset - offset) {
      fail(nameOf(chunks_.size()) + ": " + std::to_string(entry.storedBytes) + " stored bytes cannot be right");
    }
    chunks_.push_back({offset, entry.storedBytes, entry.checksum});
    offset += entry.storedBytes;
  }
  if (offset != tableOffset) fail(std::to_string(tableOffset - offset) + " of its bytes belong to no chunk");
}

std::string FieldDataReader::read(std::uint64_t chunk, std::span<std::byte> out) const {
  std::string objection;
  try {
    objection = objectionTo(chunk, out);
  } catch (const std::exception& failure) {
    objection = failure.what();
  }
  if (objection.empty()) return {};
  return McException::excerpt(path()) + ": " + nameOf(chunk) + ": " + objection;
}

std::string FieldDataReader::objectionTo(std::uint64_t chunk, std::span<std::byte> out) const {
  const auto& [offset, storedBytes, checksum] = chunks_[chunk];
  const char* const wrongChecksum = "the checksum is wrong";
  if (storedBytes == out.size()) {
    file_->readFully(offset, out);
    return hxvoxora::checksumOf(out) == checksum ? "" : wrongChecksum;
  }
  std::vector<std::byte> stored(storedBytes);
  file_->readFully(offset, stored);
  return hxvoxora::checksumOf(stored) == checksum ? hxvoxora::unpackBytes(stored, out) : wrongChecksum;
}

std::string FieldDataReader::nameOf(std::uint64_t chunk) const {
  return "chunk " + std::to_string(chunk + 1) + " of " + std::to_string(fielddata::chunkCount(voxelBytes_));
}

void FieldDataReader::fail(const std::string& what) const {
  throw McException(McException::excerpt(path()) + ": " + what);
}

}  // namespace quarn::detail
