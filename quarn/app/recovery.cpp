#include "quarn/app/recovery.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>

#include "quarn/app/report.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/io/HxRecovery.h"
#include "quarn/kernel/objects/HxObjectPool.h"

namespace quarn::app {
namespace {

[[noreturn]] void refuse(const QString& path, const char* why) {
  throw McException("--recover: " + McException::excerpt(path.toStdString()) + ": " + why);
}

/// A new or empty folder; one that was made goes again unless it is kept.
class TargetFolder {
public:
  explicit TargetFolder(const QString& path) : path_(path), made_(!QFileInfo::exists(path)) {
    if (made_ && !QDir().mkdir(path)) refuse(path, "the folder cannot be made");
    if (!QFileInfo(path).isDir()) refuse(path, "is not a folder");
    if (!QDir(path).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot))
      refuse(path, "the folder is not empty");
  }
  /// Only an empty folder can be removed.
  ~TargetFolder() {
    if (made_ && !kept_) QDir().rmdir(path_);
  }
  TargetFolder(const TargetFolder&) = delete;
  TargetFolder& operator=(const TargetFolder&) = delete;
  void keep() { kept_ = true; }

private:
  const QString path_;
  const bool made_;
  bool kept_ = false;
};

void saveInto(const QString& folder, HxData& data, int number) {
  const std::vector<HxSaverEntry> savers = HxFileTypes::instance().saversFor(data);
  if (savers.empty()) refuse(data.getName(), "such objects cannot be saved");
  const QString stem = number == 1 ? QStringLiteral("recovered") : QStringLiteral("recovered-%1").arg(number);
  const QString file = QDir(folder).filePath(stem + savers.front().suffix);
  HxFileTypes::instance().save(&data, savers.front().format, file);
  printOut(file);
}

void show(const std::vector<HxLeftOver>& leftOvers) {
  printOut(QStringLiteral("%1 left by runs that were cut off:").arg(leftOvers.size()));
  for (const HxLeftOver& leftOver : leftOvers) printOut(QStringLiteral("  ") + leftOver.toText());
  printOut(QStringLiteral("To save them: quarn --recover FOLDER\nTo remove them: quarn --recover --discard"));
}

/// Returns the number of pieces.
int saveAll(const QString& folder) {
  TargetFolder target(folder);
  int number = 0;
  for (const QString& name : HxRecovery::instance().load())
    saveInto(folder, dynamic_cast<HxData&>(*HxObjectPool::instance().find(name)), ++number);
  if (number > 0) target.keep();
  return HxRecovery::instance().discardLoaded();
}

/// Returns their number.
int tellOfDamaged(const std::vector<HxLeftOver>& leftOvers) {
  int count = 0;
  for (const HxLeftOver& leftOver : leftOvers) {
    if (leftOver.problem.isEmpty()) continue;
    printError(leftOver.toText());
    ++count;
  }
  return count;
}

int saveAndTell(const QString& folder) {
  const int saved = saveAll(folder);
  const int lost = tellOfDamaged(HxRecovery::instance().list());
  printOut(QStringLiteral("%1 of %2 saved").arg(saved).arg(saved + lost));
  return lost == 0 ? 0 : 1;
}

}  // namespace

int recoverWork(const QString& folder, bool discard) {
  HxRecovery& recovery = HxRecovery::instance();
  if (discard) {
    printOut(QStringLiteral("%1 removed").arg(recovery.discardAll()));
    return 0;
  }
  const std::vector<HxLeftOver> leftOvers = recovery.list();
  if (leftOvers.empty()) {
    printOut(QStringLiteral("nothing to recover"));
  } else if (folder.isEmpty()) {
    show(leftOvers);
  } else {
    return saveAndTell(folder);
  }
  return 0;
}

void tellOfLostWork() {
  if (HxRecovery::instance().hasAny())
    printError(QStringLiteral("quarn: an earlier run was cut off; quarn --recover shows what can be recovered"));
}

}  // namespace quarn::app
