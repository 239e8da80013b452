#include "quarn/kernel/app/detail/privateFolder.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include "quarn/base/McException.h"

namespace quarn::detail {
namespace {

/// Makes the folder, or takes one that is this user's, and closes it to others.
bool isOwnFolder(const QByteArray& path) {
  if (mkdir(path.constData(), 0700) == 0) return true;
  struct stat status {};
  if (errno != EEXIST || lstat(path.constData(), &status) != 0) return false;
  if (!S_ISDIR(status.st_mode) || status.st_uid != geteuid()) return false;
  return (status.st_mode & 077) == 0 || chmod(path.constData(), 0700) == 0;
}

/// A folder that nobody else can have prepared. It stays: the next process may want to recover what is in it.
QString makeFreshFolder(const QString& stem) {
  QTemporaryDir folder(stem + QStringLiteral("-XXXXXX"));
  folder.setAutoRemove(false);
  if (!folder.isValid())
    throw McException(stem.toStdString() + ": cannot make a temporary folder: " + folder.errorString().toStdString());
  return folder.path();
}

}  // namespace

QString privateTemporaryFolder() {
  const QString stem = QDir::temp().filePath(QStringLiteral("quarn-%1").arg(geteuid()));
  if (isOwnFolder(QFile::encodeName(stem))) return stem;
  static const QString fresh = makeFreshFolder(stem);
  return fresh;
}

}  // namespace quarn::detail
