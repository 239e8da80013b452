#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "hxroi/export.h"
#include "quarn/voxora/files/FileSystem.h"

namespace hxroi {

/// Keeps the programs apart that save ROI sets into one masks folder and that read them from there: a lock on a file in
/// the folder, alone for a save, shared for reading (docs/format/roi-set.md). It ends with the object, or with the
/// process, however that ends.
///
/// Who meets a lock waits for a while, and then gets a McException that names the file and, when it is known, its
/// holder.
class HXROI_API SetLock {
public:
  /// For a save into `folder`, which exists. Makes the files that are missing.
  static std::unique_ptr<SetLock> forSaving(hxvoxora::FileSystem& files, const std::string& folder);

  /// As forSaving, but null when somebody has a lock now.
  static std::unique_ptr<SetLock> tryForSaving(hxvoxora::FileSystem& files, const std::string& folder);

  /// For reading. Null for a folder in which nothing was ever locked: nobody needs to be waited for, and no file is
  /// made.
  static std::unique_ptr<SetLock> forReading(hxvoxora::FileSystem& files, const std::string& folder);

  /// Whether there is a file to lock.
  static bool isPresent(hxvoxora::FileSystem& files, const std::string& folder);

  ~SetLock();
  SetLock(const SetLock&) = delete;
  SetLock& operator=(const SetLock&) = delete;

  /// Whether others still meet this lock; not when somebody removed its file.
  bool isInPlace() const { return lock_->isInPlace(); }

  /// Removes the files, for a folder that is to go. Others who wait for the lock notice.
  void removeFiles();

  /// How long locks are waited for from now on; at the start 5 seconds. Returns what it was.
  static std::chrono::milliseconds setPatience(std::chrono::milliseconds patience);

private:
  SetLock(hxvoxora::FileSystem& files, std::unique_ptr<hxvoxora::FileLock> turn,
          std::unique_ptr<hxvoxora::FileLock> lock);

  void writeHolder(const std::string& name) noexcept;

  hxvoxora::FileSystem& files_;
  std::unique_ptr<hxvoxora::FileLock> turn_;  ///< keeps readers from coming in ahead of a save that waits
  std::unique_ptr<hxvoxora::FileLock> lock_;
  const bool isAlone_;
};

}  // namespace hxroi
