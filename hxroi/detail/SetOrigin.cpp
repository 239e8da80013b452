#include "hxroi/detail/SetOrigin.h"

#include <QByteArray>
#include <QCryptographicHash>
#include <boost/filesystem/operations.hpp>
#include <optional>
#include <utility>

#include "hxroi/detail/SetFileLayout.h"
#include "hxroi/detail/readSetFile.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/voxora/files/VolumeHeader.h"

namespace hxroi {

using hxvoxora::FileKind;
using hxvoxora::FileSystem;
using path = SetOrigin::path;

namespace {

std::string digestOf(std::string_view text) {
  const QByteArrayView bytes(text.data(), static_cast<qsizetype>(text.size()));
  return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toStdString();
}

/// The save that the files of a mask are of; 0 when they are missing or cannot be read.
std::uint64_t generationOf(FileSystem& files, const std::string& header) {
  try {
    if (files.kind(header) == FileKind::missing) return 0;
    return hxvoxora::VolumeHeader::read(files, header).generation;
  } catch (const McException&) {
    return 0;
  }
}

bool mayExist(FileSystem& files, const std::string& path) {
  try {
    return files.kind(path) != FileKind::missing;
  } catch (const McException&) {
    return true;
  }
}

/// Whether both name one file, be it by another path to its folder.
bool isSamePlace(const path& a, const path& b) {
  boost::system::error_code unknown;
  const bool isOneFolder = boost::filesystem::equivalent(setfile::folderOf(a), setfile::folderOf(b), unknown);
  return a.filename() == b.filename() && isOneFolder && !unknown;
}

}  // namespace

std::shared_ptr<const SetOrigin> SetOrigin::read(FileSystem& files, const path& file, const HxParamBundle& content) {
  try {
    const std::optional<std::string> text = readSetFile(files, file.string());
    return text ? std::make_shared<const SetOrigin>(files, file, *text, content) : nullptr;
  } catch (const McException&) {
    return nullptr;
  }
}

SetOrigin::SetOrigin(FileSystem& files, const path& file, std::string_view text, const HxParamBundle& content,
                     const std::string& staged, const SetOrigin* former) {
  Place place;
  place.file = boost::filesystem::absolute(file).string();
  place.masksDir = setfile::masksDirectory(content, place.file).string();
  place.digest = digestOf(text);
  for (const setfile::MaskEntry& mask : setfile::masksOf(content)) {
    const std::string header = mask.file + ".ldm";
    // One that cannot be looked at now must not be taken for the one that it replaces.
    const bool isStaged = !staged.empty() && mayExist(files, staged + "/" + header);
    place.generations[mask.file] = generationOf(files, (isStaged ? staged : place.masksDir) + "/" + header);
  }
  if (former) places_ = former->places_;
  std::erase_if(places_, [&](const Place& other) { return isSamePlace(other.file, place.file); });
  places_.push_back(std::move(place));
}

void SetOrigin::requireUnchanged(FileSystem& files, const path& file) const {
  for (const Place& place : places_) {
    if (isSamePlace(place.file, file)) requireUnchanged(files, place);
  }
}

void SetOrigin::requireUnchanged(FileSystem& files, const Place& place) {
  const std::optional<std::string> text = readSetFile(files, place.file);
  if (!text) return;
  const auto refuse = [&](const std::string& what) {
    throw McException(
        what + ": was changed by somebody else since this set was loaded or saved there, so that nothing " +
        "is saved; save the set under another name, or remove " + place.file + " first to have this set in its place");
  };
  if (digestOf(*text) != place.digest) refuse(place.file);
  for (const auto& [name, generation] : place.generations) {
    if (generation == 0) continue;
    const std::string header = place.masksDir + "/" + name + ".ldm";
    const std::uint64_t present = generationOf(files, header);
    if (present != 0 && present != generation) refuse(header);
  }
}

}  // namespace hxroi
