#pragma once

#include <string>
#include <vector>

#include "hxroi/export.h"
#include "quarn/voxora/files/FileSystem.h"

namespace hxroi {

/// The masks folder of a ROI set, with what saves that ended in between may have left there (docs/format/roi-set.md,
/// "Saving"). Failures are McException.
///
/// A save collects all new files in a folder ".staged-..." of its own and renames that to ".committed": from this
/// moment on the set is the new one, and whoever comes first puts its files in their places.
class HXROI_API SetFolder {
public:
  /// `masksDir` is a path without slash at its end.
  SetFolder(hxvoxora::FileSystem& files, std::string masksDir);

  /// Where a committed save has its files.
  std::string committed() const { return masksDir_ + "/.committed"; }

  /// A path for the files of a new save; nobody else gets the same.
  std::string newStaging() const;

  /// Where, in the folder of a save, the set file stands.
  static std::string setFileFolder(const std::string& saveFolder) { return saveFolder + "/.set"; }

  /// Whether a committed save has to be finished.
  bool hasCommitted() const;

  /// Whether saves that were not committed left anything; while somebody saves that may be his.
  bool hasStaged() const;

  /// Finishes a committed save, if there is one: puts the files of its masks in their places, then the set file (but
  /// before them where there is none yet), and removes its folder. Under a lock for saving. After a failure, or the end
  /// of the process, it can be called again. Names that no save has made, links, and places that are taken by anything
  /// but files are refused.
  void rollForward();

  /// Removes what saves that were not committed left. Under a lock for saving.
  void removeStaged();

  /// Removes the folder of one save with its files. A folder that is not there is none.
  void removeSave(const std::string& saveFolder);

private:
  std::vector<std::string> stagedNames() const;
  std::string findSetFile() const;
  void moveMasks(const std::vector<std::string>& names);
  void moveIntoPlace(const std::string& name);
  void moveSetFile(const std::string& name);
  void move(const std::string& from, const std::string& to);

  hxvoxora::FileSystem& files_;
  const std::string masksDir_;
};

}  // namespace hxroi
