#pragma once

#include <boost/filesystem/path.hpp>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "hxroi/export.h"
#include "quarn/voxora/files/FileLock.h"
#include "quarn/voxora/files/FileSystem.h"

namespace hxroi {

/// The folder beside an upgraded ROI set in which its new files wait until all of them are there, and the way from
/// there to their places (docs/format/roi-set.md, "Upgrading"). Failures are McException.
///
/// It holds a whole set: the set file, which is written last and so tells that the set is complete, its masks folder, a
/// note of what the set was made from, and in a replacement two copies of the former set file. Only its owner may look
/// into it.
class HXROI_API UpgradeFolder {
public:
  using path = boost::filesystem::path;

  enum class Kind {
    beside,  ///< a new set beside the old one
    instead  ///< the new set takes the place of the old one, whose files are kept under other names
  };

  /// For the set file `output`. Nothing is touched yet.
  UpgradeFolder(hxvoxora::FileSystem& files, const path& output, Kind kind);

  /// Removes the folder and all in it when it was taken, unless it holds an earlier upgrade that was not cleared, or a
  /// move that failed could not be undone. Never throws.
  ~UpgradeFolder();

  UpgradeFolder(const UpgradeFolder&) = delete;
  UpgradeFolder& operator=(const UpgradeFolder&) = delete;

  /// Whether an upgrade left the folder, or is at work in it: it is a folder, no link to one, and holds nothing else
  /// than an upgrade puts there.
  bool exists() const;

  /// Makes the folder, or takes the one that is there, and keeps others away from it. McException when somebody else is
  /// at work, and when something else has its name.
  void take();

  /// Where the new files are written.
  path setFile() const { return folder_ / output_.filename(); }
  path masks() const { return folder_ / newMasks_.filename(); }

  /// Removes everything that is in the folder, so that an upgrade can begin.
  void clear();

  /// Notes what the set is made from, to be compared by whoever finishes the upgrade.
  void noteSource(const std::string& state);
  /// What was noted; empty when there is nothing.
  std::string sourceNote() const;

  /// Keeps a copy of the set file that is replaced, and chooses the names under which it and its masks will be kept.
  void backUp(const path& former, const path& formerMasks);
  /// Whether a file is still the one that is replaced.
  bool isReplaced(const path& file) const;

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

  bool holds(const std::string& name) const;
  void makeOrTake();
  std::string freeEnding(const path& formerMasks) const;
  std::string endingOfBackup() const;
  Backups backupsWith(const path& formerMasks, const std::string& ending) const;
  std::string lockFile() const;
  path noteFile() const { return folder_ / ".source"; }
  path formerFile() const { return folder_ / ".former"; }
  hxvoxora::FileKind kindOf(const path& name) const;
  void write(const path& name, std::span<const std::byte> bytes);
  std::string contentOf(const path& name) const;
  void requireFree(const path& name) const;
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
