#include "hxroi/details/MaskFiles.h"

#include <boost/filesystem/path.hpp>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <span>

#include "hxroi/details/MaskHeader.h"
#include "hxroi/details/StagedFile.h"
#include "quarn/base/McException.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/TiledFileReader.h"
#include "quarn/voxora/files/VolumeHeader.h"
#include "quarn/voxora/files/fileNames.h"
#include "quarn/voxora/files/fileSetParts.h"

namespace hxroi::details::MaskFiles {

namespace {

using hxvoxora::bareName;
using hxvoxora::FileKind;
using hxvoxora::FileSystem;
using hxvoxora::VolumeHeader;

void requirePrefix(const std::string& prefix, const char* role) {
  if (prefix.empty()) {
    throw McException(std::string("The files of a mask cannot be copied: the ") + role +
                      " has no path, since there is no usable temporary directory");
  }
}

MaskHeader::FileNames namesFor(const std::string& prefix) {
  return {bareName(prefix) + ".dat", bareName(prefix) + ".fcp"};
}

/// The header of the copy. The names are exchanged in the text; where that did not do it, because a name also stands
/// elsewhere or is not the one that the prefix suggests, in the elements.
std::string renamedHeader(const std::string& text, const std::string& sourcePrefix, const std::string& targetPrefix) {
  const MaskHeader::FileNames names = namesFor(targetPrefix);
  const std::string path = targetPrefix + ".ldm";
  const auto isRight = [&](const std::string& candidate) {
    const VolumeHeader header = VolumeHeader::parse(candidate, path);
    return header.dataFile == names.data && header.indexFile == names.index;
  };
  const std::string replaced = MaskHeader::withReplacedNames(text, namesFor(sourcePrefix), names);
  try {
    if (isRight(replaced)) return replaced;
  } catch (const McException&) {
    // The replacement hit something else; the elements are edited instead.
  }
  const std::optional<std::string> edited = MaskHeader::withNames(text, names);
  if (edited && isRight(*edited)) return *edited;
  throw McException(McException::excerpt(sourcePrefix) + ".ldm: the names of its files cannot be exchanged");
}

/// Refuses a copy, still under its aside names, that would not read back: what the source holds may be damaged.
void checkCopy(FileSystem& files, const std::string& ldmPath, VolumeHeader header, std::uint64_t mark,
               const std::string& sourceData) {
  header.dataFile = hxvoxora::asideName(header.dataFile, mark);
  header.indexFile = hxvoxora::asideName(header.indexFile, mark);
  try {
    hxvoxora::TiledFileReader::open(files, ldmPath, header)->checkStoredTiles();
  } catch (const McException& failure) {
    throw McException(McException::excerpt(sourceData) + ": is not copied: " + failure.what());
  }
}

/// Keeps saves that begin now from taking the new header for one that was left behind. As a precaution only: the file
/// may be missing, or locked by somebody else.
std::unique_ptr<hxvoxora::FileLock> tryLockData(FileSystem& files, const std::string& ldmPath) {
  try {
    return files.tryLock(prefixOf(ldmPath) + ".dat");
  } catch (const McException&) {
    return nullptr;
  }
}

}  // namespace

bool isSameFile(FileSystem& files, const std::string& a, const std::string& b) {
  if (a == b) return true;
  if (files.kind(b) == FileKind::missing) return false;
  const auto first = files.openForReading(a, FileSystem::Links::follow);
  const auto second = files.openForReading(b, FileSystem::Links::follow);
  return first->identity().sameFile(second->identity());
}

bool copy(FileSystem& files, const std::string& sourcePrefix, const std::string& targetPrefix, Access access,
          const hxvoxora::WorkCallback& goOn) {
  requirePrefix(sourcePrefix, "source");
  requirePrefix(targetPrefix, "target");
  const std::string sourceHeader = sourcePrefix + ".ldm";
  if (isSameFile(files, sourceHeader, targetPrefix + ".ldm")) return true;

  const std::string text = readHeader(files, sourceHeader);
  const VolumeHeader header = VolumeHeader::parse(text, sourceHeader);

  const std::string targetHeader = targetPrefix + ".ldm";
  const std::string newText = renamedHeader(text, sourcePrefix, targetPrefix);
  const VolumeHeader newHeader = VolumeHeader::parse(newText, targetHeader);
  hxvoxora::removeAbandonedFiles(files, targetHeader, newHeader);

  // Not the generation, which the set in place may have too, as another copy of the same save.
  const std::uint64_t mark = hxvoxora::drawGeneration();
  StagedFile data(files, targetPrefix + ".dat", mark, access);
  const auto lock = data.lock();
  const auto sourceData = hxvoxora::openDataFile(files, sourceHeader, header);
  if (!data.copyFrom(*sourceData, goOn)) return false;
  data.complete();
  StagedFile index(files, targetPrefix + ".fcp", mark, access);
  index.copyFrom(*hxvoxora::openIndexFile(files, sourceHeader, header));
  index.complete();
  StagedFile headerFile(files, targetHeader, mark, access);
  headerFile.write(newText);
  headerFile.complete();

  checkCopy(files, targetHeader, newHeader, mark, sourceData->path());
  hxvoxora::putInPlace(files, targetHeader, newHeader, mark);
  for (StagedFile* file : {&data, &index, &headerFile}) file->setInPlace();
  return true;
}

void remove(FileSystem& files, const std::string& prefix) {
  if (prefix.empty()) return;
  std::exception_ptr failure;
  for (const char* extension : {".ldm", ".dat", ".fcp"}) {
    try {
      files.remove(prefix + extension);
    } catch (...) {
      if (!failure) failure = std::current_exception();
    }
  }
  if (failure) std::rethrow_exception(failure);
}

std::string prefixOf(const std::string& ldmPath) {
  return boost::filesystem::path(ldmPath).replace_extension().string();
}

std::string readHeader(FileSystem& files, const std::string& ldmPath) {
  const auto file = files.openForReading(ldmPath, FileSystem::Links::follow);
  const std::uint64_t size = file->identity().size;
  if (size > VolumeHeader::maxTextBytes) {
    throw McException(McException::excerpt(ldmPath) + ": the header has " + std::to_string(size) +
                      " bytes, more than " + std::to_string(VolumeHeader::maxTextBytes));
  }
  std::string text(static_cast<std::size_t>(size), '\0');
  file->readFully(0, std::as_writable_bytes(std::span(text)));
  return text;
}

void writeHeader(FileSystem& files, const std::string& ldmPath, const std::string& text, Access access) {
  const auto lock = tryLockData(files, ldmPath);
  StagedFile file(files, ldmPath, hxvoxora::drawGeneration(), access);
  file.write(text);
  file.complete();
  file.moveIntoPlace();
  files.syncDirectory(hxvoxora::folderOf(ldmPath));
}

}  // namespace hxroi::details::MaskFiles
