#include "quarn/voxora/morphology/detail/growTable.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "quarn/voxora/morphology/detail/ChangingTiles.h"
#include "quarn/voxora/morphology/detail/TileGrower.h"
#include "quarn/voxora/morphology/detail/WorkMeter.h"
#include "quarn/voxora/morphology/detail/dealWork.h"
#include "quarn/voxora/morphology/detail/growthSteps.h"
#include "quarn/voxora/tiles/TileSnapshot.h"
#include "quarn/voxora/tiles/detail/TileTableEditor.h"
#include "quarn/voxora/tiles/detail/rangeValue.h"

namespace hxvoxora::detail {

namespace {

/// Results of so many tiles are held back before they go into the table.
constexpr std::size_t tilesAtOnce = std::size_t{1} << 16;

/// Whether so many iterations leave no voxel as far from the front as that takes, wherever the front is.
bool reachesEverywhere(const SbVec3i32& dimensions, std::uint64_t iterations, bool isErosion) {
  std::uint64_t least = ~std::uint64_t{0}, farthest = 0;
  for (int axis = 0; axis < 3; ++axis) {
    const auto voxels = static_cast<std::uint64_t>(dimensions[axis]);
    least = std::min(least, voxels);
    farthest += voxels - 1;
  }
  return isErosion ? iterations >= (least + 1) / 2 : iterations >= farthest;
}

/// One sweep over the tiles of a table.
class Sweep {
public:
  /// Results go into `result`, a copy of the table. `progress` is told where in the table the sweep is, from 0 to 1.
  Sweep(const TileTable& table, const Growth& growth, TileTableEditor& result, const WorkCallback& progress)
      : table_(table), growth_(growth), result_(result), progress_(progress) {}

  /// False when `progress` gave up.
  bool run() {
    const auto collect = [this](std::int64_t tile) {
      tiles_.push_back(tile);
      return tiles_.size() < tilesAtOnce || growCollected();
    };
    const auto mayGoOn = [this] { return progress_(fractionAt(lastGrown_)); };
    const bool isThrough = ChangingTiles(table_, growth_).forEach(collect, mayGoOn);
    return isThrough && growCollected();
  }

  bool hasChangedAny() const { return hasChangedAny_; }

private:
  /// Grows tiles for one thread.
  struct Worker {
    explicit Worker(Sweep& owner) : sweep(owner), grower(owner.table_, owner.growth_) {}

    void operator()(std::int64_t i) {
      const auto place = static_cast<std::size_t>(i);
      sweep.grown_[place] = grower.grow(sweep.tiles_[place]);
    }

    Sweep& sweep;
    TileGrower grower;
  };

  bool growCollected() {
    grown_.assign(tiles_.size(), TileSlot());
    const bool isDone = dealWork(
        static_cast<std::int64_t>(tiles_.size()), [this] { return std::make_unique<Worker>(*this); },
        [this](std::int64_t i) { return progress_(fractionAt(lastGrown_ = tiles_[static_cast<std::size_t>(i)])); });
    if (isDone) install();
    tiles_.clear();
    return isDone;
  }

  double fractionAt(std::int64_t tile) const {
    return static_cast<double>(tile) / static_cast<double>(table_.grid().tileCount());
  }

  void install() {
    for (std::size_t i = 0; i < tiles_.size(); ++i) {
      if (grown_[i] == table_.slot(tiles_[i])) continue;
      result_.set(tiles_[i], grown_[i]);
      hasChangedAny_ = true;
    }
  }

  const TileTable& table_;
  const Growth growth_;
  TileTableEditor& result_;
  const WorkCallback& progress_;
  std::vector<std::int64_t> tiles_;
  std::vector<TileSlot> grown_;
  std::int64_t lastGrown_ = 0;
  bool hasChangedAny_ = false;
};

/// Tiles of a file may have bits that are all clear.
bool hasSetVoxel(const Ref<const TileTable>& table) {
  return !TileSnapshot(table).computeBoundingBox(table->grid().box()).isEmpty();
}

Ref<const TileTable> filled(const TileTable& table, bool value) {
  TileTableEditor editor(table);
  editor.setRange(0, table.grid().tileCount(), TileSlot::constant(value));
  return editor.publish();
}

}  // namespace

Ref<const TileTable> growTable(Ref<const TileTable> table, std::uint64_t iterations, bool isErosion,
                               const WorkCallback& progress) {
  if (iterations == 0 || table->grid().isEmpty()) return table;
  const std::optional<bool> shared = rangeValue(*table, 0, table->grid().tileCount());
  if (shared && (!isErosion || !*shared)) return table;
  if (reachesEverywhere(table->grid().dimensions(), iterations, isErosion))
    return isErosion || hasSetVoxel(table) ? filled(*table, !isErosion) : table;

  WorkMeter meter(progress);
  const double total = static_cast<double>(iterations);
  for (std::uint64_t left = iterations; left > 0;) {
    const auto reach = static_cast<int>(std::min<std::uint64_t>(left, maximumReach));
    TileTableEditor result(*table);
    const WorkCallback ofSweep = [&](double fraction) {
      return meter.mayGoOn((total - static_cast<double>(left) + reach * fraction) / total);
    };
    Sweep sweep(*table, {isErosion, reach}, result, ofSweep);
    if (!sweep.run()) return nullptr;
    if (!sweep.hasChangedAny()) break;
    table = result.publish();
    left -= static_cast<std::uint64_t>(reach);
  }
  return table;
}

}  // namespace hxvoxora::detail
