#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "hxroi/export.h"
#include "quarn/voxora/files/FileSystem.h"

class HxParamBundle;

namespace hxroi {

/// What a ROI set on disk was when it was loaded or saved: the set file, and of which save the files of each mask are.
/// It tells whether somebody else has saved there since. A set that was saved under other names too knows all of its
/// files. Never changes once made.
class HXROI_API SetOrigin {
public:
  using path = boost::filesystem::path;

  /// The set in place, whose parameters are `content`. Null when its file is missing or cannot be read.
  static std::shared_ptr<const SetOrigin> read(hxvoxora::FileSystem& files, const path& file,
                                               const HxParamBundle& content);

  /// The set that is there as soon as the files in the folder `staged` are in their places: `text` is that of its file
  /// and holds `content`; masks without a header in that folder are those in place. `former`, which may be null, tells
  /// where the same set was before.
  SetOrigin(hxvoxora::FileSystem& files, const path& file, std::string_view text, const HxParamBundle& content,
            const std::string& staged = {}, const SetOrigin* former = nullptr);

  /// Throws McException when `file` is a file of this set, and holds another one now or its masks have been saved anew.
  /// What was removed or can no longer be read is no other set.
  void requireUnchanged(hxvoxora::FileSystem& files, const path& file) const;

private:
  /// A set file with its masks.
  struct Place {
    std::string file;  ///< absolute
    std::string masksDir;
    std::string digest;                                ///< of all bytes of the file
    std::map<std::string, std::uint64_t> generations;  ///< by prefix in the masks folder; 0 when that is not known
  };

  static void requireUnchanged(hxvoxora::FileSystem& files, const Place& place);

  std::vector<Place> places_;
};

}  // namespace hxroi
