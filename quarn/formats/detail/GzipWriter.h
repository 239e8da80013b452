#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "quarn/formats/detail/ReplacedFile.h"

namespace quarn::formats::detail {

/// Packs bytes into one gzip member at the end of a file. One thread.
class GzipWriter {
public:
  /// The file must outlive the object.
  explicit GzipWriter(ReplacedFile& file);
  ~GzipWriter();
  GzipWriter(const GzipWriter&) = delete;
  GzipWriter& operator=(const GzipWriter&) = delete;

  /// McException when the file cannot be written.
  void append(std::span<const std::byte> bytes);
  /// Ends the member. McException as above.
  void finish();

private:
  struct Deflater;

  void pack(int flush);

  ReplacedFile& file_;
  std::unique_ptr<Deflater> deflater_;
};

}  // namespace quarn::formats::detail
