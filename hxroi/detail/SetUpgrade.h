#pragma once

#include <boost/filesystem/path.hpp>
#include <cstddef>
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

  /// The set `file` with its masks in `masksDir`.
  SetUpgrade(hxvoxora::FileSystem& files, path file, path masksDir, std::vector<MaskFiles> masks);

  /// Whether the masks are to be upgraded into the very file that is read.
  bool replaces(const path& output) const;

  /// Writes the upgraded set to `output`, described by `parameters` as `file` is. When that is the file that is read,
  /// its former files are kept under other names; otherwise neither `output` nor its masks folder may exist yet.
  /// Returns false when the user interrupted it.
  bool run(const path& output, const HxParamBundle& parameters);

  /// Finishes the replacement of `file` that was interrupted when its masks were no longer in place. True when there
  /// was one. Removes, when it can, what is left of upgrades to `file` that had put all in place.
  static bool finishReplacement(hxvoxora::FileSystem& files, const path& file, const path& masksDir);

private:
  bool finishEarlierOne(UpgradeFolder& folder, const path& output) const;
  void requireFree(const path& output) const;
  void requireSpace(const path& output) const;
  bool convert(const path& newMasks) const;
  bool convert(const MaskFiles& mask, const path& target, std::size_t done) const;
  void writeSetFile(UpgradeFolder& folder, const HxParamBundle& parameters) const;

  hxvoxora::FileSystem& files_;
  const path file_;
  const path masksDir_;
  std::vector<MaskFiles> masks_;  ///< each file once
};

}  // namespace hxroi
