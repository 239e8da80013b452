#pragma once

#include <QString>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "quarn/kernel/export.h"
#include "quarn/voxora/files/InputFile.h"

namespace quarn {

/// The bytes of a file from some place to its end, decompressed when they are gzip data. One thread.
class QUARN_KERNEL_API ByteStream {
public:
  /// How the bytes are stored: `found` takes them for gzip data when they begin as such, `zlib` for gzip or zlib data.
  enum class Form { found, plain, gzip, zlib };

  /// Reads `file` from byte `offset` on; a link is followed.
  ///
  /// @throws McException when the file is missing, not a regular file, or not readable.
  explicit ByteStream(const QString& file, std::uint64_t offset = 0, Form form = Form::found);
  ~ByteStream();
  ByteStream(const ByteStream&) = delete;
  ByteStream& operator=(const ByteStream&) = delete;

  /// Fills `buffer` and returns how many bytes it got; fewer than asked for only at the end of the file. Gzip data that
  /// follow others are part of the stream; anything else behind them is passed over.
  ///
  /// @throws McException when reading fails, and for gzip data that are cut or whose checksum is wrong. The checksum is
  ///   looked at when a read goes beyond the last byte.
  std::size_t read(std::span<std::byte> buffer);

  /// Goes on by `count` bytes, or to the end of the file. Throws as read().
  void skip(std::int64_t count);

  /// Whether the bytes are stored as gzip or zlib data.
  bool isCompressed() const { return inflater_ != nullptr; }

private:
  struct Inflater;

  bool beginsAsGzip() const;
  std::size_t inflate(std::span<std::byte> buffer);
  bool fetch();
  void endMember();
  [[noreturn]] void refuse(const QString& what) const;

  QString file_;
  std::unique_ptr<hxvoxora::InputFile> input_;
  std::uint64_t position_;  ///< in the file, of the next byte to be taken from it
  std::unique_ptr<Inflater> inflater_;
};

}  // namespace quarn
