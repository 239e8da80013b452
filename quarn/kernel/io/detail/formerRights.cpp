#include "quarn/kernel/io/detail/formerRights.h"

#include <QFile>
#include <QFileInfo>
#include <mutex>
#include <sys/stat.h>

namespace quarn::detail {

namespace {

constexpr auto groupRights = QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ExeGroup;

/// What the mask leaves to those who do not own a new file. It can only be read by setting it: meanwhile files that
/// other threads make are private.
QFileDevice::Permissions masked() {
  static std::mutex one;
  const std::lock_guard lock(one);
  const mode_t mask = ::umask(0077);
  ::umask(mask);
  QFileDevice::Permissions rights;
  if (!(mask & S_IRGRP)) rights |= QFileDevice::ReadGroup;
  if (!(mask & S_IWGRP)) rights |= QFileDevice::WriteGroup;
  if (!(mask & S_IROTH)) rights |= QFileDevice::ReadOther;
  if (!(mask & S_IWOTH)) rights |= QFileDevice::WriteOther;
  return rights;
}

}  // namespace

hxvoxora::FileSystem::Access accessBeside(const QString& former) {
  using Access = hxvoxora::FileSystem::Access;
  return QFileInfo::exists(former) ? Access::ownerOnly : Access::byMask;
}

void takeRights(const QString& former, const QString& file) {
  const QFileInfo old(former);
  const QFileInfo present(file);
  if (!old.exists() || !present.exists()) return;
  auto others = old.permissions() & masked();
  // Another group has no more rights than anybody.
  if (present.groupId() != old.groupId() && !(others & QFileDevice::ReadOther)) others &= ~groupRights;
  if (others) QFile::setPermissions(file, QFileDevice::ReadOwner | QFileDevice::WriteOwner | others);
}

}  // namespace quarn::detail
