#include "hxroi/detail/readSetFile.h"

#include <QFile>
#include <cstdint>

#include "quarn/base/McException.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/voxora/files/readWhole.h"

namespace hxroi {

std::optional<std::string> readSetFile(hxvoxora::FileSystem& files, const std::string& file) {
  if (files.kind(file) == hxvoxora::FileKind::missing) return std::nullopt;
  return hxvoxora::readWhole(files, file, std::uint64_t{QuarnMesh::MAX_BYTES}, hxvoxora::FileSystem::Links::refuse);
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
