#include "hxroi/detail/SetReading.h"

#include <QFileInfo>
#include <utility>

#include "hxroi/detail/SetFileLayout.h"
#include "hxroi/detail/SetFolder.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"

namespace hxroi {

using hxvoxora::FileSystem;

namespace {

/// What was left by saves that failed is in nobody's way, so that it may stay.
void removeRemains(FileSystem& files, const std::string& masksDir) {
  SetFolder folder(files, masksDir);
  try {
    if (!folder.hasStaged() || !files.isWritable(masksDir)) return;
    if (const auto lock = SetLock::tryForSaving(files, masksDir)) folder.removeStaged();
  } catch (const McException&) {
    // The next save tries again.
  }
}

/// What is in the set file now, when `mesh` was read from it before it changed; null otherwise.
std::unique_ptr<QuarnMesh> changedContent(const QuarnMesh& mesh, const boost::filesystem::path& file) {
  const bool isFromFile = QFileInfo(mesh.sourceFile()).absoluteFilePath() == setfile::absoluteName(file);
  return isFromFile ? mesh.readAgainIfChanged() : nullptr;
}

}  // namespace

SetReading::SetReading(FileSystem& files, const QuarnMesh& parsed, const path& file)
    : files_(files), file_(file), mesh_(&parsed) {
  // A newer file may name another folder.
  while (!setfile::problemOfMasksDirectory(content(), file_)) {
    if (open(setfile::masksDirectory(content(), file_))) return;
  }
}

/// False when the set file names another folder now.
bool SetReading::open(const path& masksDir) {
  masksDir_ = masksDir.string();
  removeRemains(files_, masksDir_);
  lock(masksDir_);
  if (auto newer = changedContent(*mesh_, file_)) {
    newer_ = std::move(newer);
    mesh_ = newer_.get();
  }
  if (setfile::masksDirectory(content(), file_) == masksDir) return true;
  masksDir_.clear();
  lock_.reset();
  return false;
}

void SetReading::lock(const std::string& masksDir) {
  const SetFolder folder(files_, masksDir);
  for (;;) {
    lock_ = SetLock::forReading(files_, masksDir);
    // While somebody saves, his files stand there too; now there is nobody.
    if (!folder.hasCommitted()) return;
    lock_.reset();
    finishSave(masksDir);
  }
}

void SetReading::finishSave(const std::string& masksDir) const {
  const auto refuse = [&](const std::string& reason) {
    throw McException(file_.string() +
                      ": a save was interrupted and must first be finished, by somebody who may write in " + masksDir +
                      ", by opening or saving the set" + reason);
  };
  if (!files_.isWritable(masksDir) || !files_.isWritable(setfile::folderOf(file_).string())) refuse("");
  try {
    const auto lock = SetLock::forSaving(files_, masksDir);
    SetFolder folder(files_, masksDir);
    // Somebody else may have been faster.
    if (!folder.hasCommitted()) return;
    folder.rollForward();
  } catch (const McException& failure) {
    refuse(std::string(" (") + failure.what() + ")");
  }
  HxMessage::printf("%s: a save that was interrupted is finished", file_.c_str());
}

void SetReading::end() const {
  if (lock_ || masksDir_.empty() || !SetLock::isPresent(files_, masksDir_)) return;
  throw McException(file_.string() + ": was saved while it was read; read it again");
}

}  // namespace hxroi
