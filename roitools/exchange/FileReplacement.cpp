#include "roitools/exchange/FileReplacement.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/voxora/files/fileSetParts.h"

namespace roitools {

using hxvoxora::FileKind;
using hxvoxora::FileSystem;

namespace {

constexpr std::size_t markDigits = 16;
constexpr std::size_t maxNameBytes = 255 - markDigits - 1;

std::string nameOf(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

std::string prefixOf(const std::string& path) {
  return path.substr(0, path.size() - nameOf(path).size());
}

QFileInfo infoOf(const std::string& path) {
  return QFileInfo(QFile::decodeName(path.c_str()));
}

std::string markText(std::uint64_t mark) {
  return QStringLiteral("%1").arg(mark, static_cast<int>(markDigits), 16, QLatin1Char('0')).toStdString();
}

/// Those who could not read the file before do not get to read it now.
FileSystem::Access accessOf(const std::string& path) {
  const QFileInfo info = infoOf(path);
  constexpr auto others = QFileDevice::ReadGroup | QFileDevice::ReadOther;
  return info.exists() && !(info.permissions() & others) ? FileSystem::Access::ownerOnly : FileSystem::Access::byMask;
}

bool isNewNameOf(const std::string& name, const std::string& found) {
  const auto isDigit = [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); };
  return found.size() == name.size() + 1 + markDigits && found.starts_with(name + "~") &&
         std::all_of(found.end() - static_cast<std::ptrdiff_t>(markDigits), found.end(), isDigit);
}

}  // namespace

FileReplacement::FileReplacement(const QString& path)
    : files_(FileSystem::current()),
      path_(QFile::encodeName(path).toStdString()),
      folder_(prefixOf(path_).empty() ? "." : prefixOf(path_)) {
  requireReplaceable();
  removeAbandoned();
  newPath_ = path_ + "~" + markText(hxvoxora::drawGeneration());
  file_ = files_.createExclusively(newPath_, accessOf(path_));
  try {
    lock_ = files_.tryLock(newPath_);
  } catch (const McException&) {
    // Where files cannot be locked nobody removes any, either.
  }
}

FileReplacement::~FileReplacement() {
  file_.reset();
  if (newPath_.empty()) return;
  try {
    files_.remove(newPath_);
  } catch (const std::exception& failure) {
    HxMessage::printf("A temporary file was left: %s", failure.what());
  }
}

void FileReplacement::requireReplaceable() const {
  const std::string name = nameOf(path_);
  if (name.empty() || name == "." || name == "..") refuse("is not the name of a file");
  if (name.size() > maxNameBytes) refuse("its name has more than " + std::to_string(maxNameBytes) + " bytes");
  const FileKind kind = files_.kind(path_);
  if (kind != FileKind::missing && kind != FileKind::regular) refuse("exists and is not a regular file");
  if (infoOf(path_).exists() && !infoOf(path_).isWritable()) refuse("the file is write protected");
  if (!files_.isWritable(folder_)) refuse("its folder is not one in which files can be made");
}

void FileReplacement::removeAbandoned() {
  try {
    for (const std::string& found : files_.list(folder_)) {
      if (!isNewNameOf(nameOf(path_), found)) continue;
      const std::string left = prefixOf(path_) + found;
      if (const auto lock = files_.tryLock(left)) files_.remove(left);
    }
  } catch (const McException&) {
    // It takes room and does no other harm; the next one tries again.
  }
}

void FileReplacement::commit() {
  file_->sync();
  file_->close();
  file_.reset();
  files_.rename(newPath_, path_);
  newPath_.clear();
  try {
    files_.syncDirectory(folder_);
  } catch (const McException& failure) {
    refuse(std::string("was saved, but its folder cannot be brought to stable storage: ") + failure.what());
  }
}

void FileReplacement::refuse(const std::string& what) const {
  throw McException(McException::excerpt(path_) + ": " + what);
}

}  // namespace roitools
