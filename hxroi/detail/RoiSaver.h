#pragma once

#include <boost/filesystem/path.hpp>
#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <vector>

class HxParamBundle;
class HxRois;
class McProgressInterface;

namespace hxroi {

namespace details {
class Group;
class Mask;
class Roi;
}  // namespace details

/// Shows the progress of a save in the display of the application while it lives: the part of the masks that is dealt
/// with. It cannot be interrupted.
class SavingProgress {
public:
  explicit SavingProgress(std::size_t masks);
  ~SavingProgress();
  SavingProgress(const SavingProgress&) = delete;
  SavingProgress& operator=(const SavingProgress&) = delete;

  void maskDone();

private:
  McProgressInterface& display_;
  std::size_t masks_;
  std::size_t done_ = 0;
};

/// Writes the ROIs of a set below one folder. A mask that fails is reported and leaves its former files as they were.
class RoiSaver {
public:
  using path = boost::filesystem::path;

  /// `progress` may be null and is not owned.
  explicit RoiSaver(path masksDir, SavingProgress* progress = nullptr);

  /// Write the files of one ROI and give its description for the set file.
  std::unique_ptr<HxParamBundle> saveMask(details::Mask& mask);
  std::unique_ptr<HxParamBundle> saveGroup(details::Group& group);

  /// Writes all ROIs and describes them in `bundles`, but for masks without good files, which would keep the others
  /// from being loaded.
  void saveAll(const HxRois& rois, HxParamBundle& bundles);

  /// Whether every mask was written.
  bool isComplete() const { return failures_.empty(); }

  /// Sums up the failures in one console entry. `file` is the set file.
  void reportFailures(const path& file) const;

private:
  void noteFailure(const details::Mask& mask, const char* reason);
  void removeLost(HxParamBundle& bundles, const details::Roi& mask) const;

  path masksDir_;
  SavingProgress* progress_;
  std::vector<std::string> failures_;
  std::set<std::string> lost_;  ///< names of the masks that failed and have no former files
};

}  // namespace hxroi
