#pragma once

#include <QString>
#include <cstddef>
#include <cstdint>
#include <span>

struct gzFile_s;

namespace quarn::formats::detail {

/// The bytes of a file from its start, decompressed when it is a gzip file. One owner, one thread.
class ByteStream {
public:
  /// @throws McException when the file is missing, not a regular file, or not readable.
  explicit ByteStream(const QString& file);
  ~ByteStream();
  ByteStream(const ByteStream&) = delete;
  ByteStream& operator=(const ByteStream&) = delete;

  /// Fills `buffer` and returns how many bytes it got; fewer than asked for only at the end of the file.
  ///
  /// @throws McException when reading fails, and for a compressed file that is cut or whose checksum is wrong.
  std::size_t read(std::span<std::byte> buffer);

  /// Goes on by `count` bytes, or to the end of the file. Throws as read().
  void skip(std::int64_t count);

  /// Whether the file is gzip-compressed; known after the first read().
  bool isCompressed() const;

private:
  QString file_;
  gzFile_s* stream_ = nullptr;
};

}  // namespace quarn::formats::detail
