#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "quarn/kernel/export.h"
#include "quarn/voxora/files/OutputFile.h"

namespace quarn {

/// Writes bytes behind those of a file as one gzip member, which every reader of gzip takes. Blocks are packed in
/// parallel; the result does not depend on the number of threads. Failures are McException. One thread at a time.
class QUARN_KERNEL_API GzipWriter {
public:
  /// `file` is not owned and outlives the object.
  explicit GzipWriter(hxvoxora::OutputFile& file);

  /// Packs and writes the bytes. Large pieces are best: each takes the room of its packed form.
  void append(std::span<const std::byte> bytes);

  /// The end of the member, with its checksum. Nothing may follow.
  void finish();

private:
  struct Packed {
    std::vector<std::byte> bytes;  ///< room that is used again
    std::uint32_t checksum = 0;    ///< of the bytes that were packed
    bool isOfZeros = false;        ///< it is that of zeros_, and the room is not used
  };

  static void pack(std::span<const std::byte> raw, Packed& packed);

  hxvoxora::OutputFile& file_;
  std::uint32_t checksum_;
  std::uint64_t count_ = 0;
  std::vector<Packed> packed_;
  Packed zeros_;  ///< a whole block of zeros: most of a volume with few voxels in it
};

}  // namespace quarn
