#include "quarn/formats/detail/ByteStream.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <zlib.h>

#include "quarn/formats/detail/fault.h"

namespace quarn::formats::detail {

ByteStream::ByteStream(const QString& file) : file_(file) {
  const QFileInfo info(file);
  if (!info.exists()) refuse(file, QStringLiteral("does not exist"));
  if (info.isDir()) refuse(file, QStringLiteral("is a folder"));
  if (!info.isFile()) refuse(file, QStringLiteral("is not a regular file"));
  stream_ = gzopen(QFile::encodeName(file).constData(), "rbe");
  if (!stream_) refuse(file, QStringLiteral("cannot be read: ") + QString::fromLocal8Bit(std::strerror(errno)));
  gzbuffer(stream_, 256 * 1024);
}

ByteStream::~ByteStream() {
  gzclose_r(stream_);
}

std::size_t ByteStream::read(std::span<std::byte> buffer) {
  const int got = gzread(stream_, buffer.data(), static_cast<unsigned>(buffer.size()));
  int status = Z_OK;
  const char* const text = gzerror(stream_, &status);
  if (status == Z_BUF_ERROR) refuse(file_, QStringLiteral("is cut: its compressed data have no end"));
  if (status == Z_ERRNO) refuse(file_, QStringLiteral("cannot be read: ") + QString::fromLocal8Bit(text));
  if (got < 0) refuse(file_, QStringLiteral("is damaged: ") + QString::fromLocal8Bit(text));
  return static_cast<std::size_t>(got);
}

void ByteStream::skip(std::int64_t count) {
  std::array<std::byte, 4096> ignored;
  while (count > 0) {
    const std::size_t step = std::min(ignored.size(), static_cast<std::size_t>(count));
    if (read(std::span(ignored).first(step)) < step) return;
    count -= static_cast<std::int64_t>(step);
  }
}

bool ByteStream::isCompressed() const {
  return gzdirect(stream_) == 0;
}

}  // namespace quarn::formats::detail
