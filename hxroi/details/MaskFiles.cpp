#include "hxroi/details/MaskFiles.h"

#include <boost/filesystem/path.hpp>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <span>
#include <vector>

#include "hxroi/details/MaskHeader.h"
#include "hxroi/details/StagedFile.h"
#include "hxroi/details/logFailure.h"
#include "quarn/base/McException.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/VolumeHeader.h"
#include "quarn/voxora/files/fileSetParts.h"

namespace hxroi::details::MaskFiles {

namespace {

using hxvoxora::FileKind;
using hxvoxora::FileSystem;
using hxvoxora::VolumeHeader;

void requirePrefix(const std::string& prefix, const char* role) {
  if (prefix.empty()) {
    throw McException(std::string("The files of a mask cannot be copied: the ") + role +
                      " has no path, since there is no usable temporary directory");
  }
}

std::string folderOf(const std::string& path) {
  return path.substr(0, path.rfind('/') + 1);
}

std::string bareName(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

MaskHeader::FileNames namesFor(const std::string& prefix) {
  return {bareName(prefix) + ".dat", bareName(prefix) + ".fcp"};
}

bool isSameFile(FileSystem& files, const std::string& a, const std::string& b) {
  if (a == b) return true;
  if (files.kind(b) == FileKind::missing) return false;
  const auto first = files.openForReading(a, FileSystem::Links::follow);
  const auto second = files.openForReading(b, FileSystem::Links::follow);
  return first->identity().sameFile(second->identity());
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

/// The files of the set that is replaced, kept under other names until the new header stands.
class FormerSet {
public:
  FormerSet(FileSystem& files, const std::string& prefix, const VolumeHeader& newHeader) : files_(files) {
    const std::optional<VolumeHeader> former = readFormer(prefix + ".ldm");
    if (!former) return;
    hasSameData_ = former->generation == newHeader.generation;
    if (hasSameData_) return;
    const std::string folder = folderOf(prefix);
    for (const std::string& name : {former->dataFile, former->indexFile}) {
      entries_.push_back({folder + name, hxvoxora::asideName(folder + name, former->generation)});
    }
  }

  /// Both sets are copies of one save; only their headers may differ.
  bool hasSameData() const { return hasSameData_; }

  /// A file that is aside already is the right one: an earlier replacement was cut off.
  void moveAside() {
    for (Entry& entry : entries_) {
      if (files_.kind(entry.aside) != FileKind::missing || files_.kind(entry.path) != FileKind::regular) continue;
      files_.rename(entry.path, entry.aside);
      entry.isMoved = true;
    }
  }

  void moveBack() noexcept {
    for (const Entry& entry : entries_) {
      try {
        if (entry.isMoved) files_.rename(entry.aside, entry.path);
      } catch (const std::exception& failure) {
        logFailure("A file of a mask was left under another name", failure.what());
      }
    }
  }

  void remove() noexcept {
    for (const Entry& entry : entries_) {
      try {
        files_.remove(entry.aside);
      } catch (const std::exception& failure) {
        logFailure("A file of a replaced mask was left", failure.what());
      }
    }
  }

private:
  struct Entry {
    std::string path;
    std::string aside;
    bool isMoved = false;
  };

  /// Nothing when there is no set that anybody could read. A header that only cannot be read now is an error: its set
  /// would lose its files.
  std::optional<VolumeHeader> readFormer(const std::string& ldmPath) const {
    if (files_.kind(ldmPath) != FileKind::regular) return std::nullopt;
    const std::string text = VolumeHeader::readText(files_, ldmPath);
    try {
      return VolumeHeader::parse(text, ldmPath);
    } catch (const McException&) {
      return std::nullopt;
    }
  }

  FileSystem& files_;
  std::vector<Entry> entries_;
  bool hasSameData_ = false;
};

}  // namespace

void copy(FileSystem& files, const std::string& sourcePrefix, const std::string& targetPrefix, Access access) {
  requirePrefix(sourcePrefix, "source");
  requirePrefix(targetPrefix, "target");
  const std::string sourceHeader = sourcePrefix + ".ldm";
  if (isSameFile(files, sourceHeader, targetPrefix + ".ldm")) return;

  const std::string text = readHeader(files, sourceHeader);
  const VolumeHeader header = VolumeHeader::parse(text, sourceHeader);

  StagedFile data(files, targetPrefix + ".dat", access);
  data.copyFrom(*hxvoxora::openDataFile(files, sourceHeader, header));
  data.complete();
  StagedFile index(files, targetPrefix + ".fcp", access);
  index.copyFrom(*hxvoxora::openIndexFile(files, sourceHeader, header));
  index.complete();
  StagedFile newHeader(files, targetPrefix + ".ldm", access);
  newHeader.write(renamedHeader(text, sourcePrefix, targetPrefix));
  newHeader.complete();

  FormerSet former(files, targetPrefix, header);
  try {
    former.moveAside();
    data.moveIntoPlace();
    index.moveIntoPlace();
    newHeader.moveIntoPlace();
  } catch (...) {
    if (!former.hasSameData()) {
      data.takeBack();
      index.takeBack();
    }
    former.moveBack();
    throw;
  }
  files.syncDirectory(folderOf(targetPrefix));
  former.remove();
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
  StagedFile file(files, ldmPath, access);
  file.write(text);
  file.complete();
  file.moveIntoPlace();
  files.syncDirectory(folderOf(ldmPath));
}

}  // namespace hxroi::details::MaskFiles
