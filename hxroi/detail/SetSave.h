#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hxroi/detail/MaskTarget.h"
#include "hxroi/detail/SetFolder.h"
#include "hxroi/detail/SetLock.h"
#include "hxroi/detail/SetStaging.h"
#include "hxroi/export.h"
#include "quarn/voxora/files/FileSystem.h"

class HxParamBundle;

namespace hxroi {

class SetOrigin;

/// One save of a ROI set: its masks are written, then finish() makes them and the set file the set in place, in one
/// step. Without it, and after any failure before that step, everything on disk is as it was.
class HXROI_API SetSave : public MaskTarget {
public:
  using path = boost::filesystem::path;

  /// Takes the place of `file` and of the masks in `masksDir`: makes that folder when it is missing, waits for others
  /// who save or read there, and finishes a save that was interrupted. McException when that fails, or when the folder
  /// lies on another file system than the file.
  SetSave(hxvoxora::FileSystem& files, const path& file, const path& masksDir);
  ~SetSave() override;

  /// Throws McException naming two masks whose files would be the same here, because letter case does not count.
  void requireDistinctFiles(const std::vector<std::string>& maskNames) const;

  /// Throws McException with both numbers when there is no room for so many bytes.
  void requireSpace(std::uint64_t bytes) const;

  bool write(details::Mask& mask, const hxvoxora::WorkCallback& goOn) override;

  /// Files of another mask are none. Where the set in place has this mask under another name, or in another folder, its
  /// files may be replaced by those of another mask or would be forgotten, and it would be lost: that stops the save.
  bool hasFormerFiles(const details::Mask& mask) override;

  /// Writes the set file, which holds `content` in the flavour of the text, and makes all that was written the set;
  /// `origin` tells of it as soon as it counts. Throws SaveStopped "unfinished" when the last part fails, after which
  /// the new set is the saved one, and McException when anything before does, and when another set file names masks
  /// that would be replaced.
  void finish(std::string_view setFileText, const HxParamBundle& content, std::shared_ptr<const SetOrigin>& origin);

private:
  /// A mask in the set in place.
  struct FormerMask {
    std::string name;
    path prefix;  ///< of its files
  };

  void makeFolder();
  void begin();
  void undo();
  bool ignoresCase() const;
  const std::map<std::string, FormerMask>& formerMasks();
  std::map<std::string, FormerMask> readFormerMasks() const;

  hxvoxora::FileSystem& files_;
  const path file_;
  const std::string masksDir_;
  SetFolder folder_;
  bool hasMadeFolder_ = false;
  std::unique_ptr<SetLock> lock_;
  std::unique_ptr<SetStaging> staging_;
  std::optional<std::map<std::string, FormerMask>> formerMasks_;  ///< by identifier; of the set in place
};

}  // namespace hxroi
