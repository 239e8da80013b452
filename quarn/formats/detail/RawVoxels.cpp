#include "quarn/formats/detail/RawVoxels.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

#include "quarn/formats/detail/fault.h"
#include "quarn/formats/detail/voxelBytes.h"
#include "quarn/voxora/files/FileSystem.h"

namespace quarn::formats::detail {

namespace {

using hxvoxora::FileKind;
using hxvoxora::FileSystem;

constexpr std::int64_t slabBytes = 4 * 1024 * 1024;  // a multiple of every size of a voxel

void reverseBytes(std::span<std::byte> voxels, std::size_t size) {
  for (std::size_t i = 0; i + size <= voxels.size(); i += size) {
    std::reverse(voxels.begin() + static_cast<std::ptrdiff_t>(i),
                 voxels.begin() + static_cast<std::ptrdiff_t>(i + size));
  }
}

/// One component, and nothing that a system might take for more.
bool isPlainName(const std::string& name) {
  if (name.empty() || name == "." || name == ".." || name.size() > 255) return false;
  return std::ranges::none_of(name, [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return c == '/' || c == '\\' || byte < 0x20 || byte == 0x7F;
  });
}

/// Where the next `wanted` bytes go when `done` of them are there.
using Room = std::function<std::span<std::byte>(std::int64_t done, std::int64_t wanted)>;

void readInto(const RawVoxels& raw, const Room& room, const RawVoxels::Take& take,
              const ImageVolume::Progress& progress) {
  const std::int64_t bytes = raw.bytes;
  ByteStream stream(raw.file, raw.offset, raw.form);
  stream.skip(raw.skip);
  for (std::int64_t done = 0; done < bytes;) {
    const std::int64_t wanted = std::min(slabBytes, bytes - done);
    const std::span<std::byte> slab = room(done, wanted);
    const std::size_t got = stream.read(slab);
    if (got < slab.size()) {
      refuse(raw.file, QStringLiteral("is cut: it holds %1 bytes of voxels, the header asks for %2")
                           .arg(done + static_cast<std::int64_t>(got))
                           .arg(bytes));
    }
    if (raw.isByteSwapped) reverseBytes(slab, bytesOf(raw.kind));
    take(slab, done);
    done += wanted;
    progress(static_cast<float>(done) / static_cast<float>(bytes));
  }
  std::byte behind;
  if (stream.isCompressed()) stream.read({&behind, 1});  // the checksum
}

}  // namespace

std::int64_t lengthOf(const QString& file) {
  const std::string path = QFile::encodeName(file).toStdString();
  FileSystem& files = FileSystem::current();
  switch (files.kind(path)) {
    case FileKind::missing:
      refuse(file, QStringLiteral("does not exist"));
    case FileKind::directory:
      refuse(file, QStringLiteral("is a folder"));
    case FileKind::other:
      refuse(file, QStringLiteral("is not a regular file"));
    case FileKind::regular:
    case FileKind::link:
      break;
  }
  return static_cast<std::int64_t>(files.openForReading(path, FileSystem::Links::follow)->identity().size);
}

QString fileBeside(const QString& headerFile, const char* element, const std::string& name) {
  const auto refuseName = [&](const char* why) {
    refuse(headerFile, QLatin1String(element) + QStringLiteral(": ") + detail::quoted(name) + QLatin1String(why));
  };
  const std::string bare = name.starts_with("./") ? name.substr(2) : name;
  if (!isPlainName(bare)) refuseName(" is not the plain name of a file in the same folder");
  const QString path = QFileInfo(headerFile).path() + QLatin1Char('/') + QFile::decodeName(bare.c_str());
  const FileKind kind = FileSystem::current().kind(QFile::encodeName(path).toStdString());
  if (kind == FileKind::missing) refuseName(" does not exist beside it");
  if (kind != FileKind::regular) refuseName(" is not a regular file");
  return path;
}

void RawVoxels::requireLength(const ImageVolume::Progress& progress) const {
  constexpr std::int64_t few = std::int64_t{64} << 20;
  const std::int64_t available = lengthOf(file);
  const auto start = static_cast<std::int64_t>(offset);
  if (form != ByteStream::Form::plain) {
    requireUnpackable(std::max<std::int64_t>(available - start, 0), bytes, deflateRatio, file);
    if (bytes > few) readPieces([](std::span<const std::byte>, std::int64_t) {}, progress);
    return;
  }
  std::int64_t needed = 0;
  const bool isCountable =
      !__builtin_add_overflow(start, bytes, &needed) && !__builtin_add_overflow(needed, skip, &needed);
  if (isCountable && available >= needed) return;
  refuse(file, QStringLiteral("is cut: it holds %1 bytes, the header asks for %2 behind the first %3")
                   .arg(available)
                   .arg(bytes)
                   .arg(offset + static_cast<std::uint64_t>(skip)));
}

void RawVoxels::read(void* voxels, const ImageVolume::Progress& progress) const {
  auto* const target = static_cast<std::byte*>(voxels);
  const auto room = [target](std::int64_t done, std::int64_t wanted) {
    return std::span(target + done, static_cast<std::size_t>(wanted));
  };
  const auto leave = [](std::span<const std::byte>, std::int64_t) {};
  readInto(*this, room, leave, progress);
}

void RawVoxels::readPieces(const Take& take, const ImageVolume::Progress& progress) const {
  std::vector<std::byte> piece(static_cast<std::size_t>(std::min(slabBytes, bytes)));
  const auto room = [&piece](std::int64_t, std::int64_t wanted) {
    return std::span(piece).first(static_cast<std::size_t>(wanted));
  };
  readInto(*this, room, take, progress);
}

}  // namespace quarn::formats::detail
