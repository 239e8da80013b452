#include "quarn/kernel/io/ByteStream.h"

#include <QFile>
#include <algorithm>
#include <array>
#include <new>
#include <vector>
#include <zlib.h>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/FileSystem.h"

namespace quarn {

namespace {

constexpr std::size_t packedAtOnce = 256 * 1024;
constexpr std::size_t mostPerCall = std::size_t{1} << 30;  // zlib counts in 32 bits

constexpr bool isGzipMagic(const std::byte* bytes) {
  return bytes[0] == std::byte{0x1F} && bytes[1] == std::byte{0x8B};
}

}  // namespace

struct ByteStream::Inflater {
  explicit Inflater(Form form) {
    constexpr int gzipOnly = 16 + MAX_WBITS;
    constexpr int gzipOrZlib = 32 + MAX_WBITS;
    if (inflateInit2(&stream, form == Form::zlib ? gzipOrZlib : gzipOnly) != Z_OK) throw std::bad_alloc();
  }
  ~Inflater() { inflateEnd(&stream); }
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;

  const std::byte* next() const { return reinterpret_cast<const std::byte*>(stream.next_in); }

  z_stream stream{};
  std::vector<std::byte> packed = std::vector<std::byte>(packedAtOnce);
  bool isAtEnd = false;
};

ByteStream::ByteStream(const QString& file, std::uint64_t offset, Form form) : file_(file), position_(offset) {
  using hxvoxora::FileKind;
  using hxvoxora::FileSystem;
  FileSystem& files = FileSystem::current();
  const std::string path = QFile::encodeName(file).toStdString();
  const FileKind kind = files.kind(path);
  if (kind == FileKind::missing) refuse(QStringLiteral("does not exist"));
  if (kind == FileKind::directory) refuse(QStringLiteral("is a folder"));
  if (kind == FileKind::other) refuse(QStringLiteral("is not a regular file"));
  input_ = files.openForReading(path, FileSystem::Links::follow);
  const bool isPacked = form == Form::found ? beginsAsGzip() : form != Form::plain;
  if (isPacked) inflater_ = std::make_unique<Inflater>(form);
}

ByteStream::~ByteStream() = default;

bool ByteStream::beginsAsGzip() const {
  std::array<std::byte, 2> magic{};
  return input_->readAt(position_, magic) == magic.size() && isGzipMagic(magic.data());
}

std::size_t ByteStream::read(std::span<std::byte> buffer) {
  if (inflater_) return inflate(buffer);
  const std::size_t got = input_->readAt(position_, buffer);
  position_ += got;
  return got;
}

std::size_t ByteStream::inflate(std::span<std::byte> buffer) {
  z_stream& stream = inflater_->stream;
  std::size_t done = 0;
  while (done < buffer.size() && !inflater_->isAtEnd) {
    const bool hasMore = stream.avail_in > 0 || fetch();
    const std::size_t step = std::min(buffer.size() - done, mostPerCall);
    stream.next_out = reinterpret_cast<Bytef*>(buffer.data() + done);
    stream.avail_out = static_cast<uInt>(step);
    const int status = ::inflate(&stream, Z_NO_FLUSH);
    done += step - stream.avail_out;
    if (status == Z_STREAM_END) {
      endMember();
    } else if (status == Z_BUF_ERROR && !hasMore) {
      refuse(QStringLiteral("is cut: its compressed data have no end"));
    } else if (status == Z_MEM_ERROR) {
      throw std::bad_alloc();
    } else if (status != Z_OK && status != Z_BUF_ERROR) {
      refuse(QStringLiteral("is damaged: ") + QString::fromLatin1(stream.msg ? stream.msg : "no gzip data"));
    }
  }
  return done;
}

/// More packed bytes behind those that are left; false when the file has none.
bool ByteStream::fetch() {
  z_stream& stream = inflater_->stream;
  std::vector<std::byte>& packed = inflater_->packed;
  const std::size_t left = stream.avail_in;
  std::copy_n(inflater_->next(), left, packed.data());
  const std::size_t got = input_->readAt(position_, std::span(packed).subspan(left));
  position_ += got;
  stream.next_in = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_in = static_cast<uInt>(left + got);
  return got > 0;
}

void ByteStream::endMember() {
  z_stream& stream = inflater_->stream;
  if (stream.avail_in < 2) fetch();
  if (stream.avail_in >= 2 && isGzipMagic(inflater_->next())) {
    inflateReset(&stream);
  } else {
    inflater_->isAtEnd = true;
  }
}

void ByteStream::skip(std::int64_t count) {
  if (!inflater_) {
    position_ += static_cast<std::uint64_t>(count);
    return;
  }
  std::array<std::byte, 4096> ignored;
  while (count > 0) {
    const std::size_t step = std::min(ignored.size(), static_cast<std::size_t>(count));
    if (read(std::span(ignored).first(step)) < step) return;
    count -= static_cast<std::int64_t>(step);
  }
}

void ByteStream::refuse(const QString& what) const {
  throw McException(McException::excerpt(file_.toStdString()) + ": " + what.toStdString());
}

}  // namespace quarn
