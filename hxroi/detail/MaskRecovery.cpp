#include "hxroi/detail/MaskRecovery.h"

#include <algorithm>
#include <exception>
#include <string_view>
#include <utility>

#include "hxroi/HxRois.h"
#include "hxroi/detail/RecoveredMasks.h"
#include "hxroi/detail/SetRecord.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/TemporaryFolder.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/voxora/files/FileSystem.h"

namespace hxroi {

namespace {

HxLeftOver describe(const RecoveredMasks::Entry& entry) {
  HxLeftOver leftOver;
  leftOver.name = QString::fromStdString(entry.name);
  leftOver.bytes = entry.bytes;
  leftOver.lastWrite = QDateTime::fromMSecsSinceEpoch(entry.lastWriteNanos / 1'000'000, Qt::UTC);
  leftOver.problem = QString::fromStdString(entry.problem);
  if (entry.isSet) {
    leftOver.description = QStringLiteral("ROI set, %1 masks").arg(entry.masks);
    return leftOver;
  }
  if (entry.dimensions.x > 0) {
    leftOver.description = QStringLiteral("mask, %1 x %2 x %3 voxels")
                               .arg(entry.dimensions.x)
                               .arg(entry.dimensions.y)
                               .arg(entry.dimensions.z);
  }
  if (entry.problem.empty()) leftOver.description += QStringLiteral(", %1 set").arg(entry.setVoxels);
  return leftOver;
}

/// A mask that fails does not keep the others from being written.
class Checkpoint {
public:
  void write(const HxRois& rois) {
    for (details::Mask* mask : rois.editableMasks()) run([mask] { mask->checkpoint(); });
  }
  template <class Step>
  void run(Step step) {
    try {
      step();
    } catch (...) {
      if (!failure_) failure_ = std::current_exception();
    }
  }
  void finish() const {
    if (failure_) std::rethrow_exception(failure_);
  }

private:
  std::exception_ptr failure_;
};

std::string withoutExtension(const std::string& file) {
  return file.substr(0, file.size() - std::string_view(SetRecord::kExtension).size());
}

std::vector<McHandle<HxRois>> setsOfPool() {
  std::vector<McHandle<HxRois>> sets;
  for (const McHandle<HxObject>& object : HxObjectPool::instance().objects()) {
    if (auto* rois = dynamic_cast<HxRois*>(object.get())) sets.emplace_back(rois);
  }
  return sets;
}

}  // namespace

MaskRecovery::MaskRecovery() {
  HxRecovery::instance().addProvider(this);
}

MaskRecovery::~MaskRecovery() {
  HxRecovery::instance().removeProvider(this);
}

bool MaskRecovery::hasAny() {
  return RecoveredMasks::any();
}

std::vector<HxLeftOver> MaskRecovery::list() {
  std::vector<HxLeftOver> all;
  for (RecoveredMasks::Entry& entry : RecoveredMasks::examine()) {
    const auto problem = problems_.find(entry.files.stem);
    if (entry.problem.empty() && problem != problems_.end()) entry.problem = problem->second;
    all.push_back(describe(entry));
  }
  return all;
}

std::vector<McHandle<HxData>> MaskRecovery::load() {
  loaded_.reset();
  auto recovered = std::make_unique<RecoveredMasks>();
  std::vector<McHandle<HxData>> objects;
  for (const McHandle<HxRois>& rois : recovered->load(known_)) objects.emplace_back(rois.get());
  remember(*recovered);
  loaded_ = std::move(recovered);
  return objects;
}

void MaskRecovery::remember(const RecoveredMasks& recovered) {
  problems_.clear();
  for (const RecoveredMasks::Entry& entry : recovered.entries()) {
    if (entry.isLoaded || entry.isUsed) known_.insert(entry.files.stem);
    if (!entry.problem.empty()) problems_[entry.files.stem] = entry.problem;
  }
}

int MaskRecovery::discardLoaded() {
  const auto loaded = std::move(loaded_);
  return loaded ? loaded->removeLoaded() : 0;
}

void MaskRecovery::keepLoaded() {
  loaded_.reset();
}

int MaskRecovery::discardAll() {
  loaded_.reset();
  return RecoveredMasks().removeAll();
}

void MaskRecovery::checkpoint() {
  Checkpoint checkpoint;
  const auto sets = setsOfPool();
  for (const McHandle<HxRois>& rois : sets) {
    checkpoint.write(*rois);
    checkpoint.run([&] { writeRecord(*rois); });
  }
  checkpoint.run([&] { removeRecordsOfTheGone(sets); });
  checkpoint.finish();
}

/// Of a mask that cannot be written the last checkpoint stays.
void MaskRecovery::keepUnsaved() {
  Checkpoint checkpoint;
  for (const McHandle<HxRois>& rois : setsOfPool()) {
    if (!rois->isModified()) continue;
    checkpoint.write(*rois);
    for (details::Mask* mask : rois->editableMasks()) mask->keepFiles();
    checkpoint.run([&] {
      writeRecord(*rois);
      details::TemporaryFolder::keep(withoutExtension(records_[rois].file));
    });
  }
  checkpoint.finish();
}

/// Writes what has changed. A set without ROIs has nothing to recover.
void MaskRecovery::writeRecord(const HxRois& rois) {
  Record& record = records_[&rois];
  // The user may choose another temporary directory meanwhile.
  const bool isElsewhere = !record.file.empty() && !record.file.starts_with(details::TemporaryFolder::path() + "/");
  if (isElsewhere) hxvoxora::FileSystem::current().remove(std::exchange(record, {}).file);
  if (rois.getNumberOfRois() == 0 && record.file.empty()) return;
  if (record.file.empty()) {
    const std::string prefix = details::Mask::getTemporaryPrefix();
    if (prefix.empty()) return;
    record.file = prefix + SetRecord::kExtension;
  }
  const std::string text = SetRecord::of(rois).toText(true, false).toStdString();
  if (text == record.text) return;
  SetRecord::write(rois, record.file);
  record.text = text;
}

void MaskRecovery::removeRecordsOfTheGone(const std::vector<McHandle<HxRois>>& present) {
  std::erase_if(records_, [&](const auto& entry) {
    const bool isGone =
        std::none_of(present.begin(), present.end(), [&](const auto& rois) { return rois == entry.first; });
    if (isGone && !entry.second.file.empty()) hxvoxora::FileSystem::current().remove(entry.second.file);
    return isGone;
  });
}

}  // namespace hxroi
