#pragma once

#include <memory>
#include <set>
#include <string>

#include "hxroi/export.h"
#include "quarn/voxora/files/FileSystem.h"

namespace hxroi::details {

/// The sign in a folder of temporary files that this process lives: a file that it keeps locked, in which stands since
/// when. The files of a process without a locked mark are left-overs. Removed with the object.
class HXROI_API OwnerMark {
public:
  /// Makes and locks a mark. `since` is not later than the time in any file name that the process uses in the folder.
  /// McException when no file can be made or locked there.
  OwnerMark(hxvoxora::FileSystem& files, const std::string& folder, const std::string& since);
  ~OwnerMark();
  OwnerMark(const OwnerMark&) = delete;
  OwnerMark& operator=(const OwnerMark&) = delete;

  const std::string& folder() const { return folder_; }

  /// Whether others see the mark, as one of this process: not after a fork, nor when somebody removed the file.
  bool holds() const;

  /// Tells this process apart from others that live under the same process id; mostly 0.
  int number() const { return number_; }

  /// Removes the files of masks of this process from the folder, except those of the stems `kept`. McException when
  /// some cannot be removed.
  void removeOwnFiles(const std::set<std::string>& kept = {});

  /// Since when the holder of a mark has been there; the empty text, before all times, when that is not known.
  static std::string sinceOf(hxvoxora::FileSystem& files, const std::string& path);

private:
  bool tryNumber(int number);

  hxvoxora::FileSystem& files_;
  const std::string folder_;
  const std::string since_;
  const long process_;
  int number_ = 0;
  std::unique_ptr<hxvoxora::FileLock> lock_;
};

}  // namespace hxroi::details
