#pragma once

#include <boost/filesystem/path.hpp>
#include <cstddef>
#include <string>
#include <vector>

#include "hxroi/export.h"
#include "quarn/voxora/files/FileSystem.h"

class HxParamBundle;

namespace hxroi {

class UpgradeFolder;

/// Makes of a ROI set whose masks have files of the older layout one in the present layout (docs/format/roi-set.md,
/// "Upgrading"). Failures are McException and leave everything on disk as it was.
class HXROI_API SetUpgrade {
public:
  using path = boost::filesystem::path;

  /// The files of one mask, without extension.
  struct MaskFiles {
    path prefix;
    bool isLegacy;
  };

  /// The set `file` with its masks in `masksDir`, as they are now: when they change the upgrade fails.
  SetUpgrade(hxvoxora::FileSystem& files, path file, path masksDir, std::vector<MaskFiles> masks);

  /// Whether the masks are to be upgraded into the very file that is read.
  bool replaces(const path& output) const;
  /// The file that an upgrade to `output` writes: the set's own, also when `output` is another name of it.
  path targetOf(const path& output) const { return replaces(output) ? file_ : output; }

  /// McException when an upgrade to `output` is known to fail.
  void requirePossible(const path& output) const;

  /// Writes the upgraded set to targetOf(output), described by `parameters` as `file` is. When that is the file that is
  /// read, its former files are kept under other names; otherwise neither it nor its masks folder may exist yet.
  /// Returns false when the user interrupted it.
  bool run(const path& output, const HxParamBundle& parameters);

  /// Finishes the replacement of `file` that was interrupted when its masks were no longer in place, unless the file
  /// was changed since. True when there was one. Removes, when it can, what is left of upgrades to `file` that had put
  /// all in place.
  static bool finishReplacement(hxvoxora::FileSystem& files, const path& file, const path& masksDir);

private:
  UpgradeFolder folderFor(const path& target) const;
  bool canFinishEarlierOne(const UpgradeFolder& folder, const path& target) const;
  void requireFree(const path& target) const;
  void requireSpace(const path& target) const;
  void requireUnchanged() const;
  bool convert(const path& newMasks) const;
  bool convert(const MaskFiles& mask, const path& target, std::size_t done) const;
  void writeSetFile(UpgradeFolder& folder, const HxParamBundle& parameters) const;
  void install(UpgradeFolder& folder, const path& target) const;

  hxvoxora::FileSystem& files_;
  const path file_;
  const path masksDir_;
  std::vector<MaskFiles> masks_;  ///< each file once
  const std::string source_;      ///< what tells whether the files are still the same
};

}  // namespace hxroi
