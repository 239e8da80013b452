#include "quarn/view/SurfaceCache.h"

#include <algorithm>
#include <atomic>
#include <tbb/parallel_for_each.h>
#include <tbb/task_arena.h>
#include <thread>

#include "quarn/base/McException.h"
#include "quarn/base/McProgressInterface.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxInterrupt.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace quarn::view {

namespace {

/// More voxels than this along an axis make no better picture and no quicker one.
constexpr double FINEST = 1024;
/// Below one voxel a pixel surfaces look like steps.
constexpr double VOXELS_PER_PIXEL = 1.5;

/// One surface to be made.
struct Job {
  const MaskLook* mask;
  SbBox3i32 box;  ///< at level 0
  SurfaceHandle surface;
  std::string fault;
};

SbBox3i32 atLevel(const SbBox3i32& box, int level) {
  const auto shifted = [level](const SbVec3i32& v) { return SbVec3i32(v[0] >> level, v[1] >> level, v[2] >> level); };
  return {shifted(box.getMin()), shifted(box.getMax())};
}

/// Makes the surfaces of many masks and tells the user how far it is.
class Workshop {
public:
  Workshop(int level, const HxGeometry3& geometry) : level_(level), map_(geometry) {}

  /// False when the user gave up.
  bool make(std::vector<Job>& jobs) {
    McProgressInterface& progress = *HxApplication::progress();
    progress.start("Making surfaces");
    // The largest first: it shall not be what all the others are waited for.
    std::sort(jobs.begin(), jobs.end(), [](const Job& a, const Job& b) { return sizeOf(a) > sizeOf(b); });
    tbb::this_task_arena::isolate([&] {
      tbb::parallel_for_each(jobs, [&](Job& job) {
        if (isCancelled()) return;
        makeOne(job);
        ++done_;
        if (std::this_thread::get_id() == caller_)
          progress.setValue(static_cast<float>(done_) / static_cast<float>(jobs.size()));
      });
    });
    progress.stop();
    return !isCancelled();
  }

private:
  static double sizeOf(const Job& job) {
    return static_cast<double>(job.box.size(0)) * static_cast<double>(job.box.size(1)) *
           static_cast<double>(job.box.size(2));
  }

  bool isCancelled() {
    const bool asked =
        std::this_thread::get_id() == caller_ ? HxApplication::progress()->isInterrupted() : HxInterrupt::isRequested();
    if (asked) cancelled_ = true;
    return cancelled_;
  }

  void makeOne(Job& job) {
    try {
      const MaskBits bits(job.mask->node->snapshot(level_), atLevel(job.box, level_));
      job.surface = makeSurface(bits, level_, map_, [this] { return isCancelled(); });
    } catch (const std::exception& failure) {
      job.fault = failure.what();
    }
  }

  const int level_;
  const LatticeMap map_;
  const std::thread::id caller_ = std::this_thread::get_id();
  std::atomic<bool> cancelled_{false};
  std::atomic<int> done_{0};
};

}  // namespace

int levelFor(const McDim3l& dimensions, double pixels) {
  const double wanted = std::clamp(pixels * VOXELS_PER_PIXEL, 96.0, FINEST);
  const auto longest = static_cast<double>(std::max({dimensions.nx, dimensions.ny, dimensions.nz}));
  int level = 0;
  for (double size = longest; size > wanted; size /= 2) ++level;
  return level;
}

SurfaceCache::Entry& SurfaceCache::entryOf(const MaskLook& mask) {
  Entry& entry = entries_[mask.data];
  if (&entry.content.table() != &mask.content.table()) entry = Entry{mask.content, {}, {}, mask.owner, false, 0, {}};
  return entry;
}

SbBox3i32 SurfaceCache::boxOf(const MaskLook& mask) {
  Entry& entry = entryOf(mask);
  if (!entry.box) entry.box = mask.content.computeBoundingBox(mask.content.grid().box());
  return *entry.box;
}

void SurfaceCache::prepare(const MaskSetLook& set, int level, Complaints& complaints) {
  std::vector<Job> jobs;
  const auto complain = [&](const MaskLook& mask, const std::string& fault) {
    complaints.tell(QStringLiteral("The mask \"%1\" is not drawn: %2").arg(mask.name, QString::fromStdString(fault)));
  };
  for (const MaskLook& mask : set.masks) {
    Entry& entry = entryOf(mask);
    if (entry.isMade && entry.level <= level && entry.geometry == set.geometry) continue;
    try {
      const SbBox3i32 box = boxOf(mask);
      if (!box.isEmpty()) jobs.push_back({&mask, box, nullptr, {}});
    } catch (const std::exception& failure) {
      complain(mask, failure.what());
    }
  }
  if (jobs.empty()) return;
  const bool isWhole = Workshop(level, set.geometry).make(jobs);
  for (Job& job : jobs) {
    if (!job.fault.empty()) complain(*job.mask, job.fault);
    if (!job.surface) continue;
    Entry& entry = entryOf(*job.mask);
    entry.surface = std::move(job.surface);
    entry.isMade = true;
    entry.level = level;
    entry.geometry = set.geometry;
    ++made_;
  }
  if (!isWhole) throw McException("The picture was not finished: interrupted");
}

SurfaceHandle SurfaceCache::surfaceOf(const MaskLook& mask) const {
  const auto found = entries_.find(mask.data);
  return found == entries_.end() ? nullptr : found->second.surface;
}

void SurfaceCache::keepOnly(const std::vector<MaskSetLook>& sets) {
  std::erase_if(entries_, [&](const auto& item) {
    const auto isOwner = [&](const MaskSetLook& set) { return set.owner == item.second.owner; };
    return !item.first->getVolumeNode() || std::none_of(sets.begin(), sets.end(), isOwner);
  });
}

}  // namespace quarn::view
