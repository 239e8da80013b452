#include "hxroi/detail/SetStaging.h"

#include <boost/filesystem/path.hpp>
#include <exception>
#include <optional>
#include <span>

#include "hxroi/detail/SaveStopped.h"
#include "hxroi/detail/SetFileLayout.h"
#include "hxroi/detail/accessRights.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/MaskFiles.h"
#include "hxroi/details/MaskHeader.h"
#include "hxroi/details/logFailure.h"
#include "quarn/base/McException.h"
#include "quarn/voxora/files/FileError.h"
#include "quarn/voxora/files/VolumeHeader.h"
#include "quarn/voxora/files/fileNames.h"

namespace hxroi {

using details::Mask;
using hxvoxora::FileKind;
using hxvoxora::FileSystem;
namespace MaskFiles = details::MaskFiles;
namespace MaskHeader = details::MaskHeader;

namespace {

using Access = FileSystem::Access;

constexpr auto kExtensions = {".ldm", ".dat", ".fcp"};

void requirePlainPlaces(FileSystem& files, const std::string& prefix) {
  for (const char* extension : kExtensions) {
    const FileKind kind = files.kind(prefix + extension);
    if (kind == FileKind::missing || kind == FileKind::regular) continue;
    throw McException(McException::excerpt(prefix + extension) + ": is not a regular file and is not replaced");
  }
}

bool tells(const hxvoxora::VolumeHeader& header, const char* tag, const std::optional<McBox3i>& box) {
  return header.findTag(tag) == (box ? std::optional(MaskHeader::boxText(*box)) : std::nullopt);
}

}  // namespace

SetStaging::SetStaging(FileSystem& files, const std::string& masksDir, const std::string& setFile)
    : files_(files),
      masksDir_(masksDir),
      setFile_(setFile),
      hasPrivateFiles_(accessRights::isAnyPrivate(setFile, masksDir)),
      folder_(files, masksDir),
      path_(folder_.newStaging()) {
  // Nobody looks at the new files before they have the rights of the former ones.
  files_.createDirectory(path_, hasPrivateFiles_ ? Access::ownerOnly : Access::byMask);
}

SetStaging::~SetStaging() {
  if (isCommitted_) return;
  try {
    folder_.removeSave(path_);
  } catch (const std::exception& failure) {
    details::logFailure("Files of a save that did not succeed were left", failure.what());
  }
}

bool SetStaging::write(Mask& mask, const hxvoxora::WorkCallback& goOn) {
  const std::string name = setfile::maskFileName(mask.name());
  const std::string place = masksDir_ + "/" + name;
  requirePlainPlaces(files_, place);
  if (mask.readsUnchanged(place)) {
    return whole(mask, [&] {
      writeHeader(mask, place);
      return true;
    });
  }
  return whole(mask, [&] {
    if (!mask.writeToFile(path_ + "/" + name, goOn)) return false;
    for (const char* extension : kExtensions) limitAccess(name + extension);
    return true;
  });
}

/// A mask that is new is no more public than the set.
void SetStaging::limitAccess(const std::string& name) const {
  const std::string place = masksDir_ + "/" + name;
  const bool isNew = files_.kind(place) == FileKind::missing;
  accessRights::limit(path_ + "/" + name, isNew ? setFile_ : place);
}

/// A mask that failed must not be taken for one that is complete.
bool SetStaging::whole(const Mask& mask, const std::function<bool()>& work) {
  const auto stop = [&](const std::exception& failure) {
    throw SaveStopped(SaveStopped::Reason::failure, "Mask " + mask.name() + ": " + failure.what());
  };
  try {
    return work();
  } catch (const std::exception& failure) {
    const auto* error = dynamic_cast<const hxvoxora::FileError*>(&failure);
    if (error && error->isDiskFull()) stop(failure);
    try {
      MaskFiles::remove(files_, path_ + "/" + setfile::maskFileName(mask.name()));
    } catch (const std::exception& second) {
      stop(second);
    }
    throw;
  }
}

/// The boxes of a mask may have become known since it was loaded.
void SetStaging::writeHeader(const Mask& mask, const std::string& place) {
  const auto exact = mask.cachedBoundingBox();
  const auto approximated = mask.cachedApproximatedBoundingBox();
  if (!exact && !approximated) return;
  const std::string text = MaskFiles::readHeader(files_, place + ".ldm");
  const auto header = hxvoxora::VolumeHeader::parse(text, place + ".ldm");
  if (tells(header, MaskHeader::kBoundingBox, exact) &&
      tells(header, MaskHeader::kApproximatedBoundingBox, approximated)) {
    return;
  }
  const auto edited = MaskHeader::withBoxes(text, exact, approximated);
  if (edited) writeFile(path_ + "/" + hxvoxora::bareName(place) + ".ldm", *edited, place + ".ldm");
}

void SetStaging::writeSetFile(std::string_view content) {
  const std::string inner = SetFolder::setFileFolder(path_);
  files_.createDirectory(inner, Access::byMask);
  writeFile(inner + "/" + boost::filesystem::path(setFile_).filename().string(), content, setFile_);
  files_.syncDirectory(inner);
}

void SetStaging::writeFile(const std::string& path, std::string_view content, const std::string& place) {
  const auto file = files_.createExclusively(path, Access::byMask);
  accessRights::limit(path, place);
  file->append(std::as_bytes(std::span(content)));
  file->sync();
  file->close();
}

std::set<std::string> SetStaging::replacedMasks() const {
  constexpr std::string_view suffix = ".dat";
  std::set<std::string> names;
  for (const std::string& name : files_.list(path_)) {
    if (!name.ends_with(suffix) || files_.kind(masksDir_ + "/" + name) == FileKind::missing) continue;
    names.insert(name.substr(0, name.size() - suffix.size()));
  }
  return names;
}

void SetStaging::commit() {
  // Others may have to finish the save.
  if (hasPrivateFiles_) accessRights::copy(masksDir_, path_);
  files_.syncDirectory(path_);
  files_.rename(path_, folder_.committed());
  isCommitted_ = true;
}

}  // namespace hxroi
