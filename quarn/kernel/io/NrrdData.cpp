#include "quarn/kernel/io/NrrdData.h"

#include <QFile>
#include <algorithm>
#include <bit>
#include <string>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/FileSystem.h"

namespace quarn {

namespace {

using hxvoxora::FileKind;
using hxvoxora::FileSystem;

[[noreturn]] void refuseField(const QString& file, const char* name, const std::string& what) {
  throw McException(McException::excerpt(file.toStdString()) + ": field \"" + name + "\" " + what);
}

ByteStream::Form formOf(const NrrdHeader& header, const QString& file) {
  const char* name = "bzip2";
  switch (header.encoding) {
    case NrrdHeader::Encoding::raw:
      return ByteStream::Form::plain;
    case NrrdHeader::Encoding::gzip:
      return ByteStream::Form::gzip;
    case NrrdHeader::Encoding::text:
      name = "text";
      break;
    case NrrdHeader::Encoding::hex:
      name = "hex";
      break;
    case NrrdHeader::Encoding::bzip2:
      break;
  }
  refuseField(file, "encoding", std::string("is \"") + name + "\"; \"raw\" and \"gzip\" are read");
}

QString dataFile(const NrrdHeader& header, const QString& file) {
  const QString path = header.dataPath(file);
  if (header.dataFile.empty()) return path;
  const FileKind kind = FileSystem::current().kind(QFile::encodeName(path).toStdString());
  const std::string name = "is \"" + McException::excerpt(header.dataFile) + "\", which ";
  if (kind == FileKind::missing) refuseField(file, "data file", name + "does not exist beside it");
  if (kind != FileKind::regular) refuseField(file, "data file", name + "is not a regular file");
  return path;
}

std::uint64_t bytesOf(const QString& file) {
  const std::string path = QFile::encodeName(file).toStdString();
  return FileSystem::current().openForReading(path, FileSystem::Links::follow)->identity().size;
}

}  // namespace

NrrdData NrrdData::find(const NrrdHeader& header, const QString& file) {
  NrrdData data;
  data.form = formOf(header, file);
  if (header.lineSkip != 0)
    refuseField(file, "line skip",
                "is " + std::to_string(header.lineSkip) + "; only voxels without lines in front of them are read");
  data.file = dataFile(header, file);
  data.offset = header.dataOffset;
  data.skip = std::max<std::int64_t>(header.byteSkip, 0);
  const bool isBigEndian = header.endian == NrrdHeader::Endian::big;
  data.isByteSwapped =
      header.endian != NrrdHeader::Endian::unstated && isBigEndian != (std::endian::native == std::endian::big);
  if (header.byteSkip >= 0) return data;

  // The data, which are not packed, are the end of the file.
  const std::uint64_t available = bytesOf(data.file);
  const auto needed = static_cast<std::uint64_t>(header.dataBytes());
  data.offset = std::max(data.offset, available - std::min(available, needed));
  return data;
}

}  // namespace quarn
