#include "hxroi/details/TemporaryFolder.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <array>
#include <cstdio>
#include <ctime>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxFileHelpers.h"
#include "quarn/kernel/app/HxMessage.h"

namespace hxroi::details::TemporaryFolder {

namespace {

QString translated(const char* text) {
  return QCoreApplication::translate("Mask", text);
}

std::string baseDirectory() {
  const QString directory = HxApplication::instance()->settings()->getPreferences()->getTemporaryDirectory();
  return QFile::encodeName(directory).toStdString();
}

bool isWritable(const std::string& path) {
  return HxFileHelpers::isWritable(QFile::decodeName(path.c_str()));
}

/// Makes the folder, or takes one that is there; a link, a folder of somebody else or one that others may write to is
/// not ours.
bool makePrivate(const std::string& path) {
  ::mkdir(path.c_str(), S_IRWXU);
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode) || info.st_uid != ::geteuid()) return false;
  if (info.st_mode & (S_IWGRP | S_IWOTH)) return false;
  return (info.st_mode & (S_IRWXG | S_IRWXO)) == 0 || ::chmod(path.c_str(), S_IRWXU) == 0;
}

}  // namespace

std::string prepare() {
  const std::string base = baseDirectory();
  if (!isWritable(base)) throw Refused(base);
  const std::string folder = base + "/tmp-masks";
  if (!makePrivate(folder) || !isWritable(folder)) throw Refused(folder);
  return folder;
}

std::string stem(int counter) {
  timeval now{};
  ::gettimeofday(&now, nullptr);
  std::tm utc{};
  ::gmtime_r(&now.tv_sec, &utc);
  std::array<char, 80> text{};
  std::snprintf(text.data(), text.size(), "%04d%02d%02dT%02d%02d%02d.%06ld-%d-%ld", utc.tm_year + 1900, utc.tm_mon + 1,
                utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, static_cast<long>(now.tv_usec), counter,
                static_cast<long>(::getpid()));
  return text.data();
}

void showAccessErrorAndQuit(const std::string& path) {
  HxSkin* skin = HxApplication::instance()->skin();
  const QString directory = QFileInfo(QFile::decodeName(path.c_str())).absolutePath();
  const QStringList lines{
      translated(QT_TRANSLATE_NOOP("Mask", "Can't access %1 directory.")).arg(directory),
      translated(QT_TRANSLATE_NOOP("Mask", "Application will be closed.")),
      translated(QT_TRANSLATE_NOOP("Mask", "Please, consider to start %1 with Administrator privileges."))
          .arg(skin->getApplicationName()),
      translated(QT_TRANSLATE_NOOP(
          "Mask", "In a next version, it will possible to specify a temporary directory where to store ROIs."))};
  HxMessage::critical(skin->getCaption(QStringLiteral("Main")) + translated(QT_TRANSLATE_NOOP("Mask", "- Critical")),
                      lines.join(QLatin1Char('\n')));
  QCoreApplication::exit(0);
}

}  // namespace hxroi::details::TemporaryFolder
