#include "quarn/kernel/io/NrrdHeader.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <span>

#include "quarn/base/McException.h"
#include "quarn/kernel/io/detail/NrrdParser.h"
#include "quarn/kernel/io/detail/nrrdWords.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/fileNames.h"

namespace quarn {

NrrdHeader NrrdHeader::parse(std::string_view bytes, const QString& file) {
  return detail::NrrdParser(bytes, file).parse();
}

NrrdHeader NrrdHeader::read(const QString& file) {
  using hxvoxora::FileSystem;
  const auto input =
      FileSystem::current().openForReading(QFile::encodeName(file).toStdString(), FileSystem::Links::follow);
  std::string bytes(static_cast<std::size_t>(std::min<std::uint64_t>(input->identity().size, maxBytes)), '\0');
  bytes.resize(input->readAt(0, std::as_writable_bytes(std::span(bytes))));
  return parse(bytes, file);
}

std::int64_t NrrdHeader::elementCount() const {
  std::int64_t count = 1;
  for (const std::int64_t size : sizes) count *= size;
  return count;
}

std::int64_t NrrdHeader::bytesOf(Type type) {
  return detail::nrrd::types[static_cast<std::size_t>(type)].bytes;
}

const char* NrrdHeader::nameOf(Type type) {
  return detail::nrrd::types[static_cast<std::size_t>(type)].name;
}

const std::string* NrrdHeader::find(std::string_view key) const {
  for (auto pair = keyValues.rbegin(); pair != keyValues.rend(); ++pair)
    if (pair->first == key) return &pair->second;
  return nullptr;
}

QString NrrdHeader::dataPath(const QString& file) const {
  if (dataFile.empty()) return file;
  const std::string name = dataFile.starts_with("./") ? dataFile.substr(2) : dataFile;
  if (!hxvoxora::isPlainName(name))
    throw McException(McException::excerpt(file.toStdString()) + ": field \"data file\": the plain name of a file in " +
                      "the same folder is expected, got \"" + McException::excerpt(dataFile) + "\"");
  const QString folder = file.left(file.lastIndexOf(QLatin1Char('/')) + 1);
  return folder + QString::fromStdString(name);
}

}  // namespace quarn
