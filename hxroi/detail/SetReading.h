#pragma once

#include <boost/filesystem/path.hpp>
#include <memory>
#include <string>

#include "hxroi/detail/SetFolder.h"
#include "hxroi/detail/SetLock.h"
#include "hxroi/export.h"
#include "quarn/voxora/files/FileSystem.h"

namespace hxroi {

/// Keeps a ROI set on disk as it is while it is read. A save that was interrupted is finished before.
class HXROI_API SetReading {
public:
  using path = boost::filesystem::path;

  /// `masksDir` may be missing. McException when somebody saves there for long, and when an interrupted save cannot be
  /// finished, because files in the folder cannot be changed for example.
  SetReading(hxvoxora::FileSystem& files, const path& file, const path& masksDir);

  /// To be called when everything is read. Where nothing can be locked a save may have begun meanwhile: McException.
  void end() const;

private:
  void finishSave();
  void tidy();

  hxvoxora::FileSystem& files_;
  const path file_;
  const std::string masksDir_;
  SetFolder folder_;
  std::unique_ptr<SetLock> lock_;  ///< null when nobody has ever saved there
};

}  // namespace hxroi
