#include <algorithm>
#include <cstdint>
#include <cstring>
#include <unordered_map>
#include <vector>

#include "quarn/voxora/bits/BitKernels.h"
#include "quarn/voxora/components/componentAt.h"
#include "quarn/voxora/components/findComponents.h"
#include "quarn/voxora/tiles/detail/TileTableEditor.h"
#include "quarn/voxora/tiles/detail/boxText.h"

namespace hxvoxora {

namespace {

struct Run {
  std::int32_t y, z, x0, x1;  // x1 exclusive
  std::size_t parent;

  bool isBefore(std::int32_t otherY, std::int32_t otherZ) const { return z < otherZ || (z == otherZ && y < otherY); }
};

/// The runs of a volume, joined: the root of each component is its first run.
class JoinedRuns {
public:
  explicit JoinedRuns(Neighbours neighbours) : reach_(neighbours == Neighbours::All ? 1 : 0) {}

  bool read(const TileSnapshot& volume, const WorkCallback& callback) {
    bool goesOn = true;
    const double last = volume.dimensions()[2];
    volume.forEachRun(volume.grid().box(), [&](int y, int z, int x0, int x1) {
      if (goesOn && callback && (runs_.size() & 0xffff) == 0) goesOn = callback(z / last);
      if (goesOn) runs_.push_back({y, z, x0, x1, runs_.size()});
    });
    if (goesOn) join();
    return goesOn;
  }

  std::size_t root(std::size_t i) {
    while (runs_[i].parent != i) i = runs_[i].parent = runs_[runs_[i].parent].parent;
    return i;
  }

  std::vector<Run>& runs() { return runs_; }

private:
  void join() {
    std::size_t offsets[4] = {0, 0, 0, 0};
    for (std::size_t i = 0; i < runs_.size(); ++i) {
      const std::int32_t y = runs_[i].y, z = runs_[i].z;
      joinRow(i, y - 1, z, offsets[0]);
      joinRow(i, y, z - 1, offsets[1]);
      if (reach_ == 0) continue;
      joinRow(i, y - 1, z - 1, offsets[2]);
      joinRow(i, y + 1, z - 1, offsets[3]);
    }
  }

  /// Joins a run with those of an earlier row; `from` moves on with the runs.
  void joinRow(std::size_t i, std::int32_t y, std::int32_t z, std::size_t& from) {
    const std::int32_t x0 = runs_[i].x0 - reach_, x1 = runs_[i].x1 + reach_;
    while (from < i &&
           (runs_[from].isBefore(y, z) || (runs_[from].y == y && runs_[from].z == z && runs_[from].x1 <= x0)))
      ++from;
    for (std::size_t k = from; k < i && runs_[k].y == y && runs_[k].z == z && runs_[k].x0 < x1; ++k) {
      const std::size_t a = root(i), b = root(k);
      runs_[std::max(a, b)].parent = std::min(a, b);
    }
  }

  const std::int32_t reach_;
  std::vector<Run> runs_;
};

}  // namespace

bool findComponents(const TileSnapshot& volume, Neighbours neighbours, const ComponentSink& sink,
                    const WorkCallback& callback) {
  JoinedRuns joined(neighbours);
  if (!joined.read(volume, callback)) return false;
  std::unordered_map<std::size_t, Component> components;
  for (std::size_t i = 0; i < joined.runs().size(); ++i) {
    const Run& run = joined.runs()[i];
    Component& component = components[joined.root(i)];
    if (component.voxelCount == 0) component.first.setValue(run.x0, run.y, run.z);
    component.voxelCount += static_cast<std::uint64_t>(run.x1 - run.x0);
    component.box.extendBy({{run.x0, run.y, run.z}, {run.x1 - 1, run.y, run.z}});
  }
  for (std::size_t i = 0; i < joined.runs().size(); ++i)
    if (joined.root(i) == i) sink(components[i]);
  return true;
}

std::optional<TileSnapshot> componentAt(const TileSnapshot& volume, Neighbours neighbours, const SbVec3i32& seed,
                                        const WorkCallback& callback) {
  detail::requireInside({seed, seed}, volume.grid());
  JoinedRuns joined(neighbours);
  if (!joined.read(volume, callback)) return std::nullopt;
  const TileGrid& grid = volume.grid();
  detail::TileTableEditor table({grid, false});
  std::size_t chosen = joined.runs().size();
  for (std::size_t i = 0; i < joined.runs().size(); ++i) {
    const Run& run = joined.runs()[i];
    if (run.y == seed[1] && run.z == seed[2] && run.x0 <= seed[0] && seed[0] < run.x1) chosen = joined.root(i);
  }
  std::unordered_map<std::int64_t, Ref<TilePayload>> drafts;
  for (std::size_t i = 0; i < joined.runs().size(); ++i) {
    if (joined.root(i) != chosen) continue;
    const Run& run = joined.runs()[i];
    const SbBox3i32 box({run.x0, run.y, run.z}, {run.x1 - 1, run.y, run.z});
    const TileGrid::Range tiles = grid.tilesOf(box);
    for (std::int64_t k = 0; k < tiles.size(); ++k) {
      if (volume.kind(tiles[k]) == TileSnapshot::Kind::One) {
        table.set(tiles[k], volume.table().content(tiles[k]));
        continue;
      }
      Ref<TilePayload>& draft = drafts[tiles[k]];
      if (!draft) {
        draft = TilePayload::make(grid.tileByteSize());
        std::memset(draft->bits(), 0, grid.tileByteSize());
      }
      fillRows(draft->bits(), grid.tileLayout(tiles[k]), box.intersection(grid.tileBox(tiles[k])), true);
    }
  }
  for (auto& [tile, draft] : drafts) {
    const SbBox3i32 box = grid.tileBox(tile);
    if (countRows(draft->bits(), grid.tileLayout(tile), box) == volume.countSetVoxels(box)) {
      table.set(tile, volume.table().content(tile));
    } else {
      table.set(tile,
                detail::TileSlot::cell(makeRef<const detail::TileCell>(Ref<const TilePayload>(std::move(draft)))));
    }
  }
  return TileSnapshot(table.publish());
}

}  // namespace hxvoxora
