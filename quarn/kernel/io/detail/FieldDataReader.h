#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "quarn/kernel/io/detail/FieldDescription.h"
#include "quarn/voxora/files/FileSystem.h"

namespace quarn::detail {

/// The data file of a field, opened. It goes on to be read when its name goes to another file or to none.
class FieldDataReader {
public:
  /// Opens the file and checks that it is the one described: size, first bytes, chunk table. Afterwards the bytes of
  /// the voxels are known not to exceed what the file can hold. Throws McException naming the file.
  FieldDataReader(hxvoxora::FileSystem& files, const std::string& path, const FieldDescription& field);

  const std::string& path() const { return file_->path(); }
  std::uint64_t chunkCount() const { return chunks_.size(); }
  std::uint64_t fileBytes() const { return fileBytes_; }

  /// Bytes of a chunk when it is unpacked.
  std::uint64_t bytesOf(std::uint64_t chunk) const;

  /// Unpacks a chunk into `out`, which has its size. Returns an empty text, or what is wrong with file and chunk; what
  /// `out` holds is of no use then. From any thread.
  std::string read(std::uint64_t chunk, std::span<std::byte> out) const;

private:
  struct Chunk {
    std::uint64_t offset;
    std::uint64_t storedBytes;
    std::uint64_t checksum;
  };

  void checkSize(const FieldDescription& field) const;
  void checkPrelude(const FieldDescription& field) const;
  void readTable(const FieldDescription& field);
  std::string objectionTo(std::uint64_t chunk, std::span<std::byte> out) const;
  std::string nameOf(std::uint64_t chunk) const;
  [[noreturn]] void fail(const std::string& what) const;

  const std::unique_ptr<hxvoxora::InputFile> file_;
  const std::uint64_t fileBytes_;
  const std::uint64_t voxelBytes_;
  std::vector<Chunk> chunks_;
};

}  // namespace quarn::detail
