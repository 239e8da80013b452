#include "hxroi/detail/SetReading.h"

#include "hxroi/detail/SetFileLayout.h"
#include "quarn/base/McException.h"

namespace hxroi {

using hxvoxora::FileSystem;

SetReading::SetReading(FileSystem& files, const path& file, const path& masksDir)
    : files_(files), file_(file), masksDir_(masksDir.string()), folder_(files, masksDir_) {
  tidy();
  for (;;) {
    lock_ = SetLock::forReading(files_, masksDir_);
    // While somebody saves, his files stand there too; now there is nobody.
    if (!folder_.hasCommitted()) return;
    lock_.reset();
    finishSave();
  }
}

void SetReading::finishSave() {
  const auto refuse = [&](const std::string& reason) {
    throw McException(file_.string() +
                      ": a save was interrupted and must first be finished, by somebody who may write in " + masksDir_ +
                      ", by opening or saving the set" + reason);
  };
  if (!files_.isWritable(masksDir_) || !files_.isWritable(setfile::folderOf(file_).string())) refuse("");
  try {
    const auto lock = SetLock::forSaving(files_, masksDir_);
    folder_.rollForward();
  } catch (const McException& failure) {
    refuse(std::string(" (") + failure.what() + ")");
  }
}

/// What was left by saves that failed is in nobody's way, so that it may stay.
void SetReading::tidy() {
  try {
    if (!folder_.hasStaged() || !files_.isWritable(masksDir_)) return;
    if (const auto lock = SetLock::tryForSaving(files_, masksDir_)) folder_.removeStaged();
  } catch (const McException&) {
    // The next save tries again.
  }
}

void SetReading::end() const {
  if (lock_ || !SetLock::isPresent(files_, masksDir_)) return;
  throw McException(file_.string() + ": was saved while it was read; load it again");
}

}  // namespace hxroi
