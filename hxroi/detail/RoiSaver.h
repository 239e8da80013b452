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

class MaskTarget;

/// Shows the progress of a save in the display of the application while it lives: the part of the masks that is dealt
/// with.
class SavingProgress {
public:
  explicit SavingProgress(std::size_t masks);
  ~SavingProgress();
  SavingProgress(const SavingProgress&) = delete;
  SavingProgress& operator=(const SavingProgress&) = delete;

  void maskDone();

  /// Whether the user wants the save to end.
  bool isInterrupted();

private:
  McProgressInterface& display_;
  std::size_t masks_;
  std::size_t done_ = 0;
};

/// Writes the ROIs of a set. A mask that fails is reported, and the others are written. What stops the target, and an
/// interruption by the user, is a SaveStopped.
class RoiSaver {
public:
  using path = boost::filesystem::path;

  /// Neither is owned; `progress` may be null.
  explicit RoiSaver(MaskTarget& target, SavingProgress* progress = nullptr);

  /// Write the files of one ROI and give its description for the set file.
  std::unique_ptr<HxParamBundle> saveMask(details::Mask& mask);
  std::unique_ptr<HxParamBundle> saveGroup(details::Group& group);

  /// Describes all ROIs in `bundles`; nothing is written.
  static void describeAll(const HxRois& rois, HxParamBundle& bundles);

  /// Writes all masks. The descriptions of those that failed and have no former files are taken out of `bundles`: they
  /// would keep the others from being loaded.
  void writeAll(const HxRois& rois, HxParamBundle& bundles);

  /// Whether every mask was written.
  bool isComplete() const { return failures_.empty(); }

  /// Sums up the failures in one console entry. `file` is the set file.
  void reportFailures(const path& file) const;

private:
  void writeMask(details::Mask& mask);
  void noteFailure(const details::Mask& mask, const char* reason);
  void removeLost(HxParamBundle& bundles, const details::Roi& mask) const;

  MaskTarget& target_;
  SavingProgress* progress_;
  std::vector<std::string> failures_;
  std::set<std::string> lost_;  ///< names of the masks that failed and have no former files
};

}  // namespace hxroi
