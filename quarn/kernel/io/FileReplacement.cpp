#include "quarn/kernel/io/FileReplacement.h"

#include <QFile>
#include <QFileInfo>
#include <exception>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/io/detail/formerRights.h"
#include "quarn/voxora/files/fileNames.h"
#include "quarn/voxora/files/fileSetParts.h"

namespace quarn {

namespace {

using hxvoxora::FileKind;
using hxvoxora::FileSystem;

constexpr std::size_t longestName = 230;

std::string encoded(const QString& path) {
  return QFile::encodeName(path).toStdString();
}

std::string newName(const std::string& name) {
  return name + "~" + hxvoxora::generationText(hxvoxora::drawGeneration());
}

bool isNewNameOf(const std::string& name, const std::string& candidate) {
  return candidate.starts_with(name + "~") && hxvoxora::parseGeneration(candidate.substr(name.size() + 1));
}

}  // namespace

FileReplacement::FileReplacement(const QString& file)
    : file_(file),
      files_(FileSystem::current()),
      folder_(encoded(QFileInfo(file).absolutePath())),
      name_(encoded(QFileInfo(file).fileName())),
      path_(folder_ + "/" + name_),
      newPath_(folder_ + "/" + newName(name_)) {
  requireReplaceable();
  removeAbandoned();
  output_ = files_.createExclusively(newPath_, detail::accessBeside(file));
  isMade_ = true;
  detail::takeRights(file, QFile::decodeName(newPath_.c_str()));
  try {
    lock_ = files_.tryLock(newPath_);
  } catch (const McException&) {
    // Where files cannot be locked nobody removes any, either.
  }
}

FileReplacement::~FileReplacement() {
  output_.reset();
  if (!isMade_) return;
  try {
    files_.remove(newPath_);
  } catch (const std::exception& failure) {
    HxMessage::printf("A temporary file was left: %s", failure.what());
  }
}

void FileReplacement::requireReplaceable() const {
  if (name_.empty()) refuse(QStringLiteral("is not the name of a file"));
  if (name_.size() > longestName) refuse(QStringLiteral("its name has more than %1 bytes").arg(longestName));
  const FileKind kind = files_.kind(path_);
  if (kind == FileKind::directory) refuse(QStringLiteral("is a folder"));
  if (kind != FileKind::missing && kind != FileKind::regular)
    refuse(QStringLiteral("is not a regular file, it is not replaced"));
  const QFileInfo info(file_);
  if (info.exists() && !info.isWritable()) refuse(QStringLiteral("the file is write protected"));
  if (!files_.isWritable(folder_)) refuse(QStringLiteral("its folder is not one in which files can be made"));
}

void FileReplacement::removeAbandoned() {
  try {
    for (const std::string& name : files_.list(folder_)) {
      if (!isNewNameOf(name_, name)) continue;
      const std::string path = folder_ + "/" + name;
      if (files_.kind(path) == FileKind::regular && files_.tryLock(path)) files_.remove(path);
    }
  } catch (const McException&) {
    // It takes room and does no other harm; the next save tries again.
  }
}

void FileReplacement::commit() {
  output_->sync();
  output_->close();
  output_.reset();
  files_.rename(newPath_, path_);
  isMade_ = false;
  try {
    files_.syncDirectory(folder_);
  } catch (const McException& failure) {
    refuse(QStringLiteral("was saved, but its folder cannot be brought to stable storage: ") +
           QString::fromUtf8(failure.what()));
  }
}

void FileReplacement::refuse(const QString& what) const {
  throw McException(McException::excerpt(file_.toStdString()) + ": " + what.toStdString());
}

}  // namespace quarn
