#include "quarn/kernel/app/HxFileHelpers.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QTemporaryFile>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "quarn/base/McException.h"

namespace {

[[noreturn]] void fail(const QString& path, const char* what, const std::string& why) {
  throw McException(McException::excerpt(path.toStdString()) + ": " + what + (why.empty() ? "" : ": " + why));
}

[[noreturn]] void failWithErrno(const QString& path, const char* what) {
  fail(path, what, std::strerror(errno));
}

/// A descriptor that closes itself.
class Descriptor {
public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }

private:
  const int fd_;
};

/// Opens without waiting for anybody, so that a FIFO cannot hold the process up.
int openToRead(const QString& path) {
  return open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
}

qint64 regularSize(const QString& path, int fd) {
  if (fd < 0) failWithErrno(path, "cannot be opened");
  struct stat status {};
  if (fstat(fd, &status) != 0) failWithErrno(path, "cannot be examined");
  if (S_ISDIR(status.st_mode)) fail(path, "is a directory", "");
  if (!S_ISREG(status.st_mode)) fail(path, "is not a regular file", "");
  return status.st_size;
}

/// Renaming a new file over a device or a pipe would take it away from everybody who uses it.
void requireReplaceable(const QString& path) {
  struct stat status {};
  if (stat(QFile::encodeName(path).constData(), &status) != 0 || S_ISREG(status.st_mode)) return;
  if (S_ISDIR(status.st_mode)) fail(path, "is a directory", "");
  fail(path, "is not a regular file, it is not replaced", "");
}

/// Makes a finished renaming survive a power cut. Some file systems cannot sync folders and say so; and a folder that
/// may not be read cannot be synced by anybody who may only write in it.
void syncFolderOf(const QString& path) {
  const Descriptor folder(open(QFile::encodeName(QFileInfo(path).absolutePath()).constData(), O_RDONLY | O_CLOEXEC));
  if (folder.get() < 0 && errno == EACCES) return;
  if (folder.get() < 0 || (fsync(folder.get()) != 0 && errno != EINVAL))
    failWithErrno(path, "is written, but may not outlast the end of the computer");
}

}  // namespace

bool HxFileHelpers::isWritable(const QString& path) {
  if (!QFileInfo(path).isDir() || access(QFile::encodeName(path).constData(), W_OK | X_OK) != 0) return false;
  // For the superuser the permissions say nothing: only making a file shows whether one can be made.
  return QTemporaryFile(QDir(path).filePath(QStringLiteral(".quarn-XXXXXX"))).open();
}

void HxFileHelpers::replaceFile(const QString& path, const QByteArray& content) {
  requireReplaceable(path);
  QSaveFile file(path);
  if (!file.open(QIODevice::WriteOnly)) fail(path, "cannot be written", file.errorString().toStdString());
  errno = 0;
  const bool written = file.write(content) == content.size() && file.flush() && fsync(file.handle()) == 0;
  if (!written) {
    // The file has no text for some errors of the system.
    const int reason = errno;
    const std::string why = reason != 0 ? std::strerror(reason) : file.errorString().toStdString();
    file.cancelWriting();
    fail(path, "cannot be written", why);
  }
  if (!file.commit()) fail(path, "cannot be written", file.errorString().toStdString());
  syncFolderOf(path);
}

QByteArray HxFileHelpers::readFile(const QString& path, qint64 limit) {
  const Descriptor descriptor(openToRead(path));
  const qint64 size = regularSize(path, descriptor.get());
  const auto refuseLonger = [&] { fail(path, "is too long", "more than " + std::to_string(limit) + " bytes"); };
  if (size > limit) refuseLonger();
  QFile file;
  if (!file.open(descriptor.get(), QIODevice::ReadOnly | QIODevice::Unbuffered, QFile::DontCloseHandle))
    fail(path, "cannot be opened", file.errorString().toStdString());
  QByteArray content = file.read(limit + 1);
  if (file.error() != QFileDevice::NoError) fail(path, "cannot be read", file.errorString().toStdString());
  if (content.size() > limit) refuseLonger();
  return content;
}

void HxFileHelpers::requireReadable(const QString& path) {
  const Descriptor descriptor(openToRead(path));
  regularSize(path, descriptor.get());
}
