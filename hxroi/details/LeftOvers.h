#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "hxroi/export.h"
#include "quarn/voxora/files/FileSystem.h"

namespace hxroi::details {

/// The files that processes which ended early left in a folder of temporary files. Whether the owner of a file lives is
/// told by its mark (OwnerMark) alone; process ids are given out anew, and files of containers have those of others.
namespace LeftOvers {

/// The files of one mask.
struct FileSet {
  std::string stem;                ///< see TemporaryNames
  std::vector<std::string> names;  ///< without folder
};

/// All left-overs in the order of the time in their names. Empty when there is no such folder. Changes nothing. Spill
/// files are none: their content is known to their process only.
HXROI_API std::vector<FileSet> find(hxvoxora::FileSystem& files, const std::string& folder);

/// Removes a left-over; all of its files are tried before a failure is thrown as McException.
HXROI_API void remove(hxvoxora::FileSystem& files, const std::string& folder, const FileSet& leftOver);

/// Removes the marks and the spill files of dead processes. They tell nothing any more.
HXROI_API void removeRemains(hxvoxora::FileSystem& files, const std::string& folder);

/// Removes whatever this process itself has in the folder: under stems of the time `since` or later, with counters that
/// belong to the number of its mark. Files of the stems `kept` stay.
HXROI_API void removeOwn(hxvoxora::FileSystem& files, const std::string& folder, const std::string& since, int number,
                         const std::set<std::string>& kept = {});

/// The right to recover and to remove left-overs; one process has it at a time.
class HXROI_API Claim {
public:
  /// McException when another process has it.
  Claim(hxvoxora::FileSystem& files, const std::string& folder);
  ~Claim();
  Claim(const Claim&) = delete;
  Claim& operator=(const Claim&) = delete;

private:
  hxvoxora::FileSystem& files_;
  std::unique_ptr<hxvoxora::FileLock> lock_;
};

}  // namespace LeftOvers

}  // namespace hxroi::details
