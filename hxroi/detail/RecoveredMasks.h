#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "hxroi/details/LeftOvers.h"
#include "hxroi/export.h"
#include "quarn/base/McHandle.h"
#include "quarn/base/McVec3i.h"

class HxRois;

namespace hxroi {

namespace details {
class Mask;
}

/// The masks, and the records of the sets they belonged to, that processes which ended early left in the temporary
/// storage. While the object lives no other process
/// recovers any. Failures are McException.
class HXROI_API RecoveredMasks {
public:
  /// One left-over: a mask, or the record of a set.
  struct Entry {
    details::LeftOvers::FileSet files;
    std::string name;                 ///< of mask or set; empty when it is not known
    bool isSet = false;               ///< a record; then the sizes in voxels mean nothing
    int masks = 0;                    ///< masks of the set
    McVec3i dimensions{0, 0, 0};      ///< voxels along x, y, z
    McVec3i tileDimensions{0, 0, 0};  ///< those of a tile
    std::uint64_t setVoxels = 0;      ///< number of set voxels
    std::uint64_t bytes = 0;          ///< of all files
    std::int64_t lastWriteNanos = 0;  ///< since the epoch
    std::string problem;              ///< why it cannot be recovered; empty when it can
    bool isLoaded = false;            ///< everything of it is in a new set
    bool isUsed = false;              ///< it is in a new set that is not whole, so that it has to stay
  };

  /// Whether there are any. Reads none. McException for a folder that belongs to somebody else or that others may
  /// write to, here and below.
  static bool any();

  /// All of them, the oldest first. Each is read to its end: header, index and voxels have to be of one save, whole and
  /// sound; others have a problem.
  static std::vector<Entry> examine();

  /// McException when another process is recovering.
  RecoveredMasks();
  ~RecoveredMasks();

  /// New ROI sets with copies of all sound masks in the temporary storage of this process: the sets that have a record,
  /// and the masks that none of them names by their grid and tile size, as many in one set as it can hold. Masks of the
  /// stems `known` are left out. One that cannot be loaded gets a problem and does not keep the others from it.
  std::vector<McHandle<HxRois>> load(const std::set<std::string>& known = {});

  const std::vector<Entry>& entries() const { return entries_; }

  /// Removes the files of the masks that were loaded, or of all. Returns the number of masks that went. All are tried
  /// before a failure is thrown.
  int removeLoaded();
  int removeAll();

private:
  template <class Condition>
  int removeIf(Condition condition);
  void loadInto(HxRois& rois, Entry& entry) const;
  McHandle<HxRois> loadRecorded(Entry& record, const std::set<std::string>& known);
  Entry* findMask(const std::string& stem);
  McHandle<details::Mask> loadMask(const Entry& entry, const std::string& name) const;

  const std::string folder_;
  std::unique_ptr<details::LeftOvers::Claim> claim_;
  std::vector<Entry> entries_;
};

}  // namespace hxroi
