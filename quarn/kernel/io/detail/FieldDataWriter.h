#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "quarn/kernel/io/detail/fieldDataLayout.h"
#include "quarn/voxora/files/OutputFile.h"

namespace quarn::detail {

/// Writes the data file of a field, from its beginning to its end.
class FieldDataWriter {
public:
  FieldDataWriter(hxvoxora::OutputFile& file, std::uint64_t generation);

  /// The voxels behind those already written: whole chunks, at most fielddata::chunksAtOnce, or all that are left.
  /// They are packed in parallel; voxels that change meanwhile do not make a damaged file.
  void append(std::span<const std::byte> voxels);

  /// The chunk table.
  void finish();

  /// Valid after finish().
  std::uint64_t fileBytes() const { return fileBytes_; }
  std::uint64_t tableChecksum() const { return tableChecksum_; }

private:
  void write(std::span<const std::byte> bytes);

  hxvoxora::OutputFile& file_;
  std::vector<fielddata::Entry> table_;
  std::vector<std::vector<std::byte>> packed_;  ///< room that is used again
  std::uint64_t fileBytes_ = 0;
  std::uint64_t tableChecksum_ = 0;
};

}  // namespace quarn::detail
