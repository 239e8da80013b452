#pragma once

#include <boost/filesystem/path.hpp>
#include <memory>
#include <string>

#include "hxroi/detail/SetLock.h"
#include "hxroi/export.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/voxora/files/FileSystem.h"

namespace hxroi {

/// Keeps a ROI set on disk as it is while it is read. A save that was interrupted is finished before.
class HXROI_API SetReading {
public:
  using path = boost::filesystem::path;

  /// `parsed` was read from `file`, perhaps before another save; it outlives this object. McException when somebody
  /// saves for long, and when an interrupted save cannot be finished, because files in the masks folder cannot be
  /// changed for example. Where the parameters name no masks folder that may be followed nothing is touched.
  SetReading(hxvoxora::FileSystem& files, const QuarnMesh& parsed, const path& file);

  /// What the set file holds: the content that was parsed, unless the file changed since.
  const HxParamBundle& content() const { return mesh_->parameters; }

  /// To be called when everything is read. Where nothing can be locked a save may have begun meanwhile: McException.
  void end() const;

private:
  bool open(const path& masksDir);
  void lock(const std::string& masksDir);
  void finishSave(const std::string& masksDir) const;

  hxvoxora::FileSystem& files_;
  const path file_;
  const QuarnMesh* mesh_;
  std::unique_ptr<QuarnMesh> newer_;
  std::string masksDir_;           ///< empty when there is none to be followed
  std::unique_ptr<SetLock> lock_;  ///< null when nobody has ever saved there
};

}  // namespace hxroi
