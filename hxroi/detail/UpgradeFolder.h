#pragma once

#include <boost/filesystem/path.hpp>
#include <memory>
#include <string>
#include <vector>

#include "hxroi/export.h"
#include "quarn/voxora/files/FileLock.h"
#include "quarn/voxora/files/FileSystem.h"

namespace hxroi {

/// The folder beside an upgraded ROI set in which its new files wait until all of them are there, and the way from
/// there to their places (docs/format/roi-set.md, "Upgrading"). Failures are McException.
///
/// It holds a whole set: the set file, which is written last and so tells that the set is complete, its masks folder,
/// and in a replacement a copy of the former set file.
class HXROI_API UpgradeFolder {
public:
  using path = boost::filesystem::path;

  enum class Kind {
    beside,  ///< a new set beside the old one
    instead  ///< the new set takes the place of the old one, whose files are kept under other names
  };

  /// For the set file `output`. Nothing is touched yet.
  UpgradeFolder(hxvoxora::FileSystem& files, const path& output, Kind kind);

  /// Removes the folder and all in it when it was taken, unless a move that failed could not be undone. Never throws.
  ~UpgradeFolder();

  UpgradeFolder(const UpgradeFolder&) = delete;
  UpgradeFolder& operator=(const UpgradeFolder&) = delete;

  /// Whether an upgrade left the folder, or is at work in it.
  bool exists() const;

  /// Makes the folder, or takes the one that is there, and keeps others away from it. McException when somebody else is
  /// at work.
  void take();

  /// Says that an earlier upgrade is being finished: its files stay unless they can be put in their places.
  void keep() { mustStay_ = true; }

  /// Where the new files are written.
  path setFile() const { return folder_ / output_.filename(); }
  path masks() const { return folder_ / newMasks_.filename(); }

  /// Removes everything, so that the upgrade can begin.
  void clear();

  /// Keeps a copy of the set file that is replaced.
  void backUp(const path& former);

  /// Whether all files of the new set are there, apart from the masks that may be in their place already.
  bool isComplete() const;
  /// Whether the masks are still to be moved.
  bool hasMasks() const;

  /// Names under which the former files are kept.
  struct Backups {
    path masks;
    path file;
  };

  /// Puts everything in its place. In a replacement the former files, as far as they are there, are given the first
  /// pair of names that is free: "-legacy" behind the former name, then "-legacy2" and so on. A failure leaves
  /// everything where it was.
  Backups install(const path& formerMasks);

private:
  struct Move {
    std::string from;
    std::string to;
  };

  Backups freeBackups(const path& formerMasks) const;
  std::string lockFile() const;
  path backup() const { return folder_ / (output_.filename().string() + "-legacy"); }
  hxvoxora::FileKind kindOf(const path& name) const { return files_.kind(name.string()); }
  void move(const path& from, const path& to);
  void undoMoves() noexcept;
  void removeContent(const std::string& folder);
  void sync(const std::string& path);

  hxvoxora::FileSystem& files_;
  const path output_;
  const path newMasks_;
  const Kind kind_;
  const path folder_;
  std::unique_ptr<hxvoxora::FileLock> lock_;
  std::vector<Move> moves_;
  bool mustStay_ = false;
};

}  // namespace hxroi
