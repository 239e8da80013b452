#pragma once

#include <functional>
#include <set>
#include <string>
#include <string_view>

#include "hxroi/detail/SetFolder.h"
#include "hxroi/export.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/tiles/WorkCallback.h"

namespace hxroi {

namespace details {
class Mask;
}

/// The new files of one save, in a folder of their own inside the masks folder until all are there. Under a lock for
/// saving. Failures are McException; nothing of the set in place changes before commit().
class HXROI_API SetStaging {
public:
  /// Makes the folder. `setFile` is the place of the set file.
  SetStaging(hxvoxora::FileSystem& files, const std::string& masksDir, const std::string& setFile);

  /// Removes the folder with its files, unless they were committed.
  ~SetStaging();

  SetStaging(const SetStaging&) = delete;
  SetStaging& operator=(const SetStaging&) = delete;

  /// Writes the files of a mask. One that reads, unchanged, the files in its place needs none, or only a header when
  /// more is known about its boxes. False when `goOn` gave up. Throws SaveStopped when the disk is full, or when what
  /// it has written of a mask that failed cannot be taken back.
  bool write(details::Mask& mask, const hxvoxora::WorkCallback& goOn);

  /// Writes the set file.
  void writeSetFile(std::string_view content);

  /// Where the new files stand.
  const std::string& folder() const { return path_; }

  /// Names of the masks whose voxels in place are to be replaced.
  std::set<std::string> replacedMasks() const;

  /// Makes this the set, in one step. What is in place does not show it before SetFolder::rollForward().
  void commit();

private:
  bool whole(const details::Mask& mask, const std::function<bool()>& work);
  void writeHeader(const details::Mask& mask, const std::string& place);
  void writeFile(const std::string& path, std::string_view content, const std::string& place);
  void limitAccess(const std::string& name) const;

  hxvoxora::FileSystem& files_;
  const std::string masksDir_;
  const std::string setFile_;
  const bool hasPrivateFiles_;  ///< some that are in place may not be read by everybody
  SetFolder folder_;
  const std::string path_;
  bool isCommitted_ = false;
};

}  // namespace hxroi
