#include "hxroi/detail/readSetFile.h"

#include <QFile>
#include <cstddef>
#include <cstdint>
#include <span>

#include "quarn/base/McException.h"
#include "quarn/kernel/io/QuarnMesh.h"

namespace hxroi {

std::optional<std::string> readSetFile(hxvoxora::FileSystem& files, const std::string& file) {
  if (files.kind(file) == hxvoxora::FileKind::missing) return std::nullopt;
  const auto input = files.openForReading(file, hxvoxora::FileSystem::Links::refuse);
  const std::uint64_t size = input->identity().size;
  if (size > static_cast<std::uint64_t>(QuarnMesh::MAX_BYTES)) {
    throw McException(McException::excerpt(file) + ": is too long: more than " + std::to_string(QuarnMesh::MAX_BYTES) +
                      " bytes");
  }
  std::string text(static_cast<std::size_t>(size), '\0');
  input->readFully(0, std::as_writable_bytes(std::span(text)));
  return text;
}

std::unique_ptr<QuarnMesh> parseSetFile(hxvoxora::FileSystem& files, const boost::filesystem::path& file) {
  const std::optional<std::string> text = readSetFile(files, file.string());
  if (!text) return nullptr;
  try {
    return QuarnMesh::parse(QByteArray::fromStdString(*text), QFile::decodeName(file.c_str()));
  } catch (const McException&) {
    return nullptr;
  }
}

}  // namespace hxroi
