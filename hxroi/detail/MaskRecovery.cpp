#include "hxroi/detail/MaskRecovery.h"

#include <exception>

#include "hxroi/HxRois.h"
#include "hxroi/detail/RecoveredMasks.h"
#include "hxroi/details/Mask.h"
#include "quarn/kernel/objects/HxObjectPool.h"

namespace hxroi {

namespace {

HxLeftOver describe(const RecoveredMasks::Entry& entry) {
  HxLeftOver leftOver;
  leftOver.name = QString::fromStdString(entry.name);
  leftOver.bytes = entry.bytes;
  leftOver.lastWrite = QDateTime::fromMSecsSinceEpoch(entry.lastWriteNanos / 1'000'000, Qt::UTC);
  leftOver.problem = QString::fromStdString(entry.problem);
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
    for (const details::Mask* mask : rois.masks()) {
      try {
        rois.getMask(mask->name())->checkpoint();
      } catch (...) {
        if (!failure_) failure_ = std::current_exception();
      }
    }
  }
  void finish() const {
    if (failure_) std::rethrow_exception(failure_);
  }

private:
  std::exception_ptr failure_;
};

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
    if (entry.isLoaded) known_.insert(entry.files.stem);
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
  for (const McHandle<HxRois>& rois : setsOfPool()) checkpoint.write(*rois);
  checkpoint.finish();
}

/// Of a mask that cannot be written the last checkpoint stays.
void MaskRecovery::keepUnsaved() {
  Checkpoint checkpoint;
  for (const McHandle<HxRois>& rois : setsOfPool()) {
    if (!rois->isModified()) continue;
    checkpoint.write(*rois);
    for (const details::Mask* mask : rois->masks()) rois->getMask(mask->name())->keepFiles();
  }
  checkpoint.finish();
}

}  // namespace hxroi
