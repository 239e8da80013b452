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
  for (const RecoveredMasks::Entry& entry : RecoveredMasks::examine()) all.push_back(describe(entry));
  return all;
}

std::vector<McHandle<HxData>> MaskRecovery::load() {
  loaded_.reset();
  auto recovered = std::make_unique<RecoveredMasks>();
  std::vector<McHandle<HxData>> objects;
  for (const McHandle<HxRois>& rois : recovered->load()) objects.emplace_back(rois.get());
  loaded_ = std::move(recovered);
  return objects;
}

void MaskRecovery::discardLoaded() {
  if (const auto loaded = std::move(loaded_)) loaded->removeLoaded();
}

int MaskRecovery::discardAll() {
  loaded_.reset();
  return RecoveredMasks().removeAll();
}

/// A mask that fails does not keep the others from being written.
void MaskRecovery::checkpoint() {
  std::exception_ptr failure;
  for (const McHandle<HxObject>& object : HxObjectPool::instance().objects()) {
    const auto* rois = dynamic_cast<const HxRois*>(object.get());
    if (!rois) continue;
    for (const details::Mask* mask : rois->masks()) {
      try {
        mask->flush(0);
      } catch (...) {
        if (!failure) failure = std::current_exception();
      }
    }
  }
  if (failure) std::rethrow_exception(failure);
}

}  // namespace hxroi
