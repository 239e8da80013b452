#include "quarn/voxora/files/detail/FileSetSwap.h"

#include "quarn/base/McException.h"
#include "quarn/voxora/files/detail/filePrelude.h"
#include "quarn/voxora/files/fileNames.h"
#include "quarn/voxora/files/fileSetParts.h"

namespace hxvoxora::detail {

namespace {

/// The generation of the set at this path; a fresh one when there is no set, or none that anybody could read. A header
/// that only cannot be read now is an McException: its set would lose its files.
std::uint64_t generationAt(FileSystem& fileSystem, const std::string& ldmPath) {
  if (fileSystem.kind(ldmPath) == FileKind::missing) return drawGeneration();
  const std::string text = VolumeHeader::readText(fileSystem, ldmPath);
  try {
    return VolumeHeader::parse(text, ldmPath).generation;
  } catch (const McException&) {
    return drawGeneration();
  }
}

}  // namespace

FileSetSwap::FileSetSwap(FileSystem& fileSystem, const std::string& ldmPath, const VolumeHeader& header,
                         std::uint64_t mark)
    : fileSystem_(fileSystem),
      headerPath_(ldmPath),
      dataPath_(folderPrefix(ldmPath) + header.dataFile),
      indexPath_(folderPrefix(ldmPath) + header.indexFile),
      mark_(mark),
      oldGeneration_(generationAt(fileSystem, ldmPath)) {}

void FileSetSwap::run() {
  try {
    moveAside(dataPath_);
    moveAside(indexPath_);
    install(dataPath_);
    install(indexPath_);
    install(headerPath_);
  } catch (...) {
    undo();
    throw;
  }
  fileSystem_.syncDirectory(folderOf(headerPath_));
  for (const std::string& path : {dataPath_, indexPath_}) {
    try {
      fileSystem_.remove(asideName(path, oldGeneration_));
    } catch (const McException&) {
      // The new set is complete; a file too many does not make the save fail.
    }
  }
}

void FileSetSwap::moveAside(const std::string& path) {
  const std::string aside = asideName(path, oldGeneration_);
  if (fileSystem_.kind(path) == FileKind::missing) return;
  // After a save that was cut off the old set's file stands aside already, and this one belongs to nobody.
  if (fileSystem_.kind(aside) != FileKind::missing && !hasOldGeneration(path)) return;
  rename(path, aside);
}

void FileSetSwap::install(const std::string& path) {
  rename(asideName(path, mark_), path);
}

void FileSetSwap::rename(const std::string& from, const std::string& to) {
  fileSystem_.rename(from, to);
  renames_.emplace_back(from, to);
}

void FileSetSwap::undo() {
  for (; !renames_.empty(); renames_.pop_back()) {
    try {
      fileSystem_.rename(renames_.back().second, renames_.back().first);
    } catch (const McException&) {
      // The old set can be read all the same, through the files that stand aside.
    }
  }
}

bool FileSetSwap::hasOldGeneration(const std::string& path) const {
  try {
    const auto file = fileSystem_.openForReading(path, FileSystem::Links::refuse);
    return preludeObjection(*file, path == dataPath_ ? dataMagic : indexMagic, oldGeneration_).empty();
  } catch (const McException&) {
    return false;
  }
}

}  // namespace hxvoxora::detail
