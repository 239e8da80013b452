#include "quarn/voxora/files/fileSetParts.h"

#include <random>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/detail/FileSetSwap.h"
#include "quarn/voxora/files/detail/abandonedFiles.h"
#include "quarn/voxora/files/detail/filePrelude.h"
#include "quarn/voxora/files/fileNames.h"

namespace hxvoxora {

namespace {

std::unique_ptr<InputFile> openPart(FileSystem& fileSystem, const std::string& path, std::string_view magic,
                                    std::uint64_t generation) {
  const auto open = [&](const std::string& partPath) {
    std::unique_ptr<InputFile> file = fileSystem.openForReading(partPath, FileSystem::Links::refuse);
    const std::string objection = detail::preludeObjection(*file, magic, generation);
    if (!objection.empty()) throw McException(McException::excerpt(partPath) + ": " + objection);
    return file;
  };
  try {
    return open(path);
  } catch (const McException&) {
    const std::string aside = asideName(path, generation);
    const bool nameFits = bareName(aside).size() <= maxNameBytes;
    if (!nameFits || fileSystem.kind(aside) == FileKind::missing) throw;
    return open(aside);
  }
}

}  // namespace

std::string asideName(std::string_view name, std::uint64_t generation) {
  return std::string(name) + "~" + generationText(generation);
}

std::unique_ptr<InputFile> openDataFile(FileSystem& fileSystem, const std::string& ldmPath,
                                        const VolumeHeader& header) {
  return openPart(fileSystem, folderPrefix(ldmPath) + header.dataFile, detail::dataMagic, header.generation);
}

std::unique_ptr<InputFile> openIndexFile(FileSystem& fileSystem, const std::string& ldmPath,
                                         const VolumeHeader& header) {
  return openPart(fileSystem, folderPrefix(ldmPath) + header.indexFile, detail::indexMagic, header.generation);
}

std::uint64_t fileSetBytes(FileSystem& fileSystem, const std::string& ldmPath) {
  const std::string text = VolumeHeader::readText(fileSystem, ldmPath);
  const VolumeHeader header = VolumeHeader::parse(text, ldmPath);
  return text.size() + openDataFile(fileSystem, ldmPath, header)->identity().size +
         openIndexFile(fileSystem, ldmPath, header)->identity().size;
}

std::uint64_t drawGeneration() {
  std::random_device random;
  for (;;) {
    const std::uint64_t high = random();
    if (const std::uint64_t generation = high << 32 | random()) return generation;
  }
}

void putInPlace(FileSystem& fileSystem, const std::string& ldmPath, const VolumeHeader& header, std::uint64_t mark) {
  detail::FileSetSwap(fileSystem, ldmPath, header, mark).run();
}

void removeAbandonedFiles(FileSystem& fileSystem, const std::string& ldmPath, const VolumeHeader& header) noexcept {
  detail::removeAbandoned(fileSystem, ldmPath, header);
}

}  // namespace hxvoxora
