#include "roitools/exchange/NewFolder.h"

#include <QFile>
#include <QFileInfo>
#include <exception>
#include <span>
#include <string>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/voxora/files/fileNames.h"
#include "quarn/voxora/files/fileSetParts.h"

namespace roitools {

using hxvoxora::FileKind;
using hxvoxora::FileSystem;

namespace {

constexpr const char* lockName = "/.lock";

std::string encoded(const QString& path) {
  return QFile::encodeName(path).toStdString();
}

QString newName(const QString& folder) {
  return folder + QLatin1Char('~') + QString::fromStdString(hxvoxora::generationText(hxvoxora::drawGeneration()));
}

/// The lock comes last, so that what is left when this ends half way is found again.
void removeFolder(FileSystem& files, const std::string& folder) {
  for (const std::string& name : files.list(folder))
    if ("/" + name != lockName) files.remove(folder + "/" + name);
  files.remove(folder + lockName);
  files.removeDirectory(folder);
}

}  // namespace

NewFolder::NewFolder(const QString& folder)
    : files_(FileSystem::current()), path_(folder), parent_(QFileInfo(folder).path()), newPath_(newName(folder)) {
  const FileKind kind = files_.kind(encoded(path_));
  if (kind != FileKind::missing && (kind != FileKind::directory || !files_.list(encoded(path_)).empty()))
    throw McException(McException::excerpt(path_.toStdString()) +
                      ": exists and is not an empty folder; remove it first, or take another name");
  removeAbandoned(folder);
  files_.createDirectory(encoded(newPath_), FileSystem::Access::byMask);
  isMade_ = true;
  lock();
}

void NewFolder::lock() {
  const std::string path = encoded(newPath_) + lockName;
  try {
    files_.createExclusively(path, FileSystem::Access::byMask)->close();
    lock_ = files_.tryLock(path);
  } catch (const McException&) {
    // Where files cannot be locked nobody removes any, either.
  }
}

NewFolder::~NewFolder() {
  if (!isMade_) return;
  try {
    removeFolder(files_, encoded(newPath_));
  } catch (const std::exception& failure) {
    HxMessage::printf("A temporary folder was left: %s", failure.what());
  }
}

QString NewFolder::file(const QString& name) const {
  return newPath_ + QLatin1Char('/') + name;
}

void NewFolder::write(const QString& name, const QByteArray& content) const {
  const auto file = files_.createExclusively(encoded(this->file(name)), FileSystem::Access::byMask);
  file->append(std::as_bytes(std::span(content.constData(), static_cast<std::size_t>(content.size()))));
  file->sync();
  file->close();
}

/// The lock goes last: who is killed before leaves a file that does no harm.
void NewFolder::commit() {
  files_.syncDirectory(encoded(newPath_));
  files_.rename(encoded(newPath_), encoded(path_));
  isMade_ = false;
  files_.remove(encoded(path_) + lockName);
  files_.syncDirectory(encoded(path_));
  files_.syncDirectory(encoded(parent_));
}

void NewFolder::removeAbandoned(const QString& folder) {
  FileSystem& files = FileSystem::current();
  const std::string parent = encoded(QFileInfo(folder).path());
  const std::string start = encoded(QFileInfo(folder).fileName()) + "~";
  try {
    for (const std::string& name : files.list(parent)) {
      if (!name.starts_with(start) || !hxvoxora::parseGeneration(name.substr(start.size()))) continue;
      const std::string path = parent + "/" + name;
      if (files.kind(path) != FileKind::directory || files.kind(path + lockName) != FileKind::regular) continue;
      if (const auto lock = files.tryLock(path + lockName)) removeFolder(files, path);
    }
  } catch (const McException&) {
    // It takes room and does no other harm; the next export tries again.
  }
}

}  // namespace roitools
