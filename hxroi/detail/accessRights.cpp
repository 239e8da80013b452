#include "hxroi/detail/accessRights.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>

#include "quarn/base/McException.h"

namespace hxroi::accessRights {

namespace {

constexpr auto kOwners = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
constexpr auto kGroups = QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ExeGroup;

QString toQt(const path& name) {
  return QFile::decodeName(name.c_str());
}

bool isPrivate(const QFileInfo& file) {
  return file.isFile() && !(file.permissions() & QFileDevice::ReadOther);
}

}  // namespace

void limit(const path& file, const path& former) {
  const QFileInfo info(toQt(former));
  if (!info.exists()) return;
  const QFileInfo present(toQt(file));
  auto rights = kOwners | (present.permissions() & info.permissions());
  // Another group has no more rights than anybody.
  if (present.groupId() != info.groupId() && !(rights & QFileDevice::ReadOther)) rights &= ~kGroups;
  // Where files have no rights of their own nothing can be set, and need not be.
  if (rights == present.permissions() || QFile::setPermissions(present.filePath(), rights)) return;
  throw McException(file.string() + ": cannot be kept from those who may not read " + former.string());
}

bool isAnyPrivate(const path& file, const path& folder) {
  if (isPrivate(QFileInfo(toQt(file)))) return true;
  const QFileInfoList entries = QDir(toQt(folder)).entryInfoList({"*.ldm", "*.dat", "*.fcp"}, QDir::Files);
  return std::any_of(entries.begin(), entries.end(), isPrivate);
}

void copy(const path& from, const path& to) {
  QFile::setPermissions(toQt(to), QFile::permissions(toQt(from)));
}

}  // namespace hxroi::accessRights
