#include "hxroi/details/TemporaryFolder.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <algorithm>
#include <exception>
#include <memory>
#include <set>
#include <unistd.h>
#include <vector>

#include "hxroi/details/OwnerMark.h"
#include "hxroi/details/TemporaryNames.h"
#include "hxroi/details/logFailure.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/voxora/files/FileSystem.h"

namespace hxroi::details::TemporaryFolder {

namespace {

using hxvoxora::FileKind;
using hxvoxora::FileSystem;

QString translated(const char* text) {
  return QCoreApplication::translate("Mask", text);
}

std::string baseDirectory() {
  const QString directory = HxApplication::instance()->settings()->getPreferences()->getTemporaryDirectory();
  return QFile::encodeName(directory).toStdString();
}

/// The time in the file names of this process. It never goes below the first one, also when the clock is set back.
class Clock {
public:
  const std::string& first() const { return first_; }
  std::string now() const { return std::max(first_, TemporaryNames::timeNow()); }

private:
  const std::string first_ = TemporaryNames::timeNow();
};

/// Stays to the end of the process: work may be kept while it ends.
const Clock& processClock() {
  static const Clock& clock = *new Clock;
  return clock;
}

/// One for each folder in use; the preference may change while masks have files in the former folder. The list itself
/// stays to the end of the process, so that leave() may come late.
std::vector<std::unique_ptr<OwnerMark>>& marks() {
  static auto& instance = *new std::vector<std::unique_ptr<OwnerMark>>;
  return instance;
}

std::set<std::string>& keptStems() {
  static auto& instance = *new std::set<std::string>;
  return instance;
}

const OwnerMark& markIn(FileSystem& files, const std::string& folder) {
  auto& all = marks();
  const auto found = std::find_if(all.begin(), all.end(), [&](const auto& mark) { return mark->folder() == folder; });
  if (found != all.end() && (*found)->holds()) return **found;
  if (found != all.end()) all.erase(found);
  return *all.emplace_back(std::make_unique<OwnerMark>(files, folder, processClock().first()));
}

/// Cheap when nothing changed, as each new mask asks. That files can be made was tried out with the mark.
const OwnerMark& prepare(FileSystem& files) {
  const std::string base = baseDirectory();
  if (!files.isWritable(base)) throw Refused(base);
  const std::string folder = base + "/tmp-masks";
  try {
    files.makePrivateDirectory(folder);
    if (files.isWritable(folder)) return markIn(files, folder);
  } catch (const McException&) {
    // The reason does not matter to the user, who is told the folder.
  }
  throw Refused(folder);
}

bool isFree(FileSystem& files, const std::string& prefix) {
  try {
    return files.kind(prefix + ".ldm") == FileKind::missing;
  } catch (const McException&) {
    return true;  // It will show when the file is made.
  }
}

}  // namespace

std::string path() {
  return baseDirectory() + "/tmp-masks";
}

std::optional<std::string> prefix(int counter) {
  FileSystem& files = FileSystem::current();
  const OwnerMark& mark = prepare(files);
  const int ownCounter = mark.number() * TemporaryNames::kCountersPerProcess + counter;
  const std::string stem = TemporaryNames::stem(processClock().now(), ownCounter, ::getpid());
  const std::string prefix = mark.folder() + "/" + stem;
  return isFree(files, prefix) ? std::optional(prefix) : std::nullopt;
}

void keep(const std::string& prefix) {
  if (!prefix.empty()) keptStems().insert(prefix.substr(prefix.rfind('/') + 1));
}

void leave() noexcept {
  for (const auto& mark : marks()) {
    try {
      if (mark->holds()) mark->removeOwnFiles(keptStems());
    } catch (const std::exception& failure) {
      logFailure("Temporary files were left", failure.what());
    }
  }
  marks().clear();
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
