#include "quarn/formats/detail/NiftiFile.h"

#include <QFile>
#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "quarn/formats/detail/RawVoxels.h"
#include "quarn/formats/detail/fault.h"
#include "quarn/kernel/io/ByteStream.h"
#include "quarn/voxora/files/FileSystem.h"

namespace quarn::formats::detail {

namespace {

constexpr std::int64_t blockSize = 1024 * 1024;

/// Bytes after the last voxel that are looked at before the check ends; some writers pad their files.
constexpr std::int64_t longestTail = blockSize;

bool isNamedCompressed(const QString& file) {
  return file.endsWith(QStringLiteral(".gz"), Qt::CaseInsensitive);
}

bool isThere(const QString& file) {
  using hxvoxora::FileSystem;
  return FileSystem::current().kind(QFile::encodeName(file).toStdString()) != hxvoxora::FileKind::missing;
}

/// The half with this ending (".hdr" or ".img") of the pair that `file` is half of: the file itself, or the one beside
/// it, in the same compression when both are there.
QString halfOfPair(const QString& file, const QString& ending) {
  QString stem = file;
  if (isNamedCompressed(file)) stem.chop(3);
  if (stem.endsWith(ending, Qt::CaseInsensitive)) return file;
  stem.chop(4);
  const QString plain = stem + ending;
  const QString compressed = plain + QStringLiteral(".gz");
  const bool isCompressed = isThere(compressed) && (isNamedCompressed(file) || !isThere(plain));
  return isCompressed ? compressed : plain;
}

bool isHalfOfPair(const QString& file) {
  static const QStringList endings = {QStringLiteral(".hdr"), QStringLiteral(".img"), QStringLiteral(".hdr.gz"),
                                      QStringLiteral(".img.gz")};
  return std::any_of(endings.begin(), endings.end(),
                     [&file](const QString& ending) { return file.endsWith(ending, Qt::CaseInsensitive); });
}

void checkNameFitsContent(const ByteStream& stream, const QString& file) {
  if (stream.isCompressed() && !isNamedCompressed(file)) {
    refuse(file, QStringLiteral("is gzip-compressed, but its name does not end in \".gz\""));
  }
}

NiftiHeader readHeader(const QString& file) {
  ByteStream stream(file);
  std::array<std::byte, NiftiHeader::size> bytes;
  const std::size_t got = stream.read(bytes);
  checkNameFitsContent(stream, file);
  if (got < bytes.size()) {
    refuse(
        file,
        QStringLiteral("is not a NIfTI image: it has %1 bytes, its header alone needs %2").arg(got).arg(bytes.size()));
  }
  return NiftiHeader::parse(bytes, file);
}

[[noreturn]] void refuseCut(const NiftiFile& image, std::int64_t available) {
  const std::int64_t needed = image.header.dataOffset + image.header.dataBytes();
  refuse(image.dataFile,
         QStringLiteral("is cut: it holds %1 bytes, the header asks for %2").arg(available).arg(needed));
}

/// Goes through a compressed data file up to its checksum.
void checkStream(const NiftiFile& image, ByteStream& stream, const NiftiFile::Progress& progress) {
  const std::int64_t needed = image.header.dataOffset + image.header.dataBytes();
  std::vector<std::byte> block(blockSize);
  std::int64_t seen = 0;
  for (std::size_t got = block.size(); got == block.size() && seen <= needed + longestTail;) {
    got = stream.read(block);
    seen += static_cast<std::int64_t>(got);
    progress(std::min(1.0F, static_cast<float>(seen) / static_cast<float>(needed)));
  }
  if (seen < needed) refuseCut(image, seen);
}

void checkData(const NiftiFile& image, const NiftiFile::Progress& progress) {
  ByteStream stream(image.dataFile, 0, image.dataForm);
  std::byte first{};
  stream.read({&first, 1});
  checkNameFitsContent(stream, image.dataFile);
  if (stream.isCompressed()) {
    ByteStream wholeStream(image.dataFile);
    checkStream(image, wholeStream, progress);
    return;
  }
  const std::int64_t available = lengthOf(image.dataFile);
  if (available < image.header.dataOffset + image.header.dataBytes()) refuseCut(image, available);
}

}  // namespace

NiftiFile NiftiFile::open(const QString& file, const Progress& progress) {
  const bool isPair = isHalfOfPair(file);
  NiftiFile image;
  image.headerFile = isPair ? halfOfPair(file, QStringLiteral(".hdr")) : file;
  image.header = readHeader(image.headerFile);
  if (image.header.hasOwnDataFile != isPair) {
    refuse(image.headerFile, isPair ? QStringLiteral("is half of a pair, but its header says that it is one file")
                                    : QStringLiteral("is one file, but its header says that it is half of a pair"));
  }
  image.dataFile = isPair ? halfOfPair(file, QStringLiteral(".img")) : file;
  // Voxels of their own may begin with any bytes.
  if (isPair && !isNamedCompressed(image.dataFile)) image.dataForm = ByteStream::Form::plain;
  checkData(image, progress);
  return image;
}

}  // namespace quarn::formats::detail
