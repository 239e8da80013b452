#include "quarn/voxora/labels/separateLabels.h"

#include <algorithm>
#include <array>
#include <optional>

#include "quarn/voxora/labels/detail/LabelTile.h"
#include "quarn/voxora/tiles/detail/TileTableEditor.h"
#include "quarn/voxora/tiles/detail/parallel.h"

namespace hxvoxora {

namespace {

/// The tables of all labels that have been met.
class LabelTables {
public:
  explicit LabelTables(const TileGrid& grid) : empty_(makeRef<const detail::TileTable>(grid, false)) {}

  void add(std::int64_t tile, const detail::LabelPart& part) {
    std::optional<Table>& table = tables_[part.label];
    if (!table) table.emplace(*empty_, part.firstVoxel);
    table->firstVoxel = std::min(table->firstVoxel, part.firstVoxel);
    table->editor.set(tile, part.slot);
  }

  std::vector<LabelContent> publish() {
    std::vector<LabelContent> contents;
    for (std::size_t label = 0; label < tables_.size(); ++label) {
      std::optional<Table>& table = tables_[label];
      if (!table) continue;
      contents.push_back({static_cast<std::uint8_t>(label), table->firstVoxel, TileSnapshot(table->editor.publish())});
    }
    std::ranges::sort(contents, {}, &LabelContent::firstVoxel);
    return contents;
  }

private:
  struct Table {
    Table(const detail::TileTable& empty, std::int64_t first) : editor(empty), firstVoxel(first) {}
    detail::TileTableEditor editor;
    std::int64_t firstVoxel;
  };

  Ref<const detail::TileTable> empty_;
  std::array<std::optional<Table>, 256> tables_;
};

/// Tiles between two looks at the clock: some milliseconds of work.
std::int64_t tilesAtOnce(const TileGrid& grid) {
  constexpr std::size_t bytesAtOnce = std::size_t{2} << 20;
  return static_cast<std::int64_t>(std::max<std::size_t>(bytesAtOnce / grid.tileByteSize(), 16));
}

}  // namespace

std::optional<std::vector<LabelContent>> separateLabels(const std::uint8_t* labels, const TileGrid& grid,
                                                        const WorkCallback& callback) {
  LabelTables tables(grid);
  const std::int64_t count = grid.tileCount(), step = tilesAtOnce(grid);
  std::vector<std::vector<detail::LabelPart>> parts(static_cast<std::size_t>(std::min(step, count)));
  for (std::int64_t first = 0; first < count; first += step) {
    if (callback && !callback(static_cast<double>(first) / static_cast<double>(count))) return std::nullopt;
    const std::int64_t size = std::min(step, count - first);
    detail::parallelFor(size, [&](std::int64_t i) {
      parts[static_cast<std::size_t>(i)] = detail::LabelTile(labels, grid, first + i).separate();
    });
    for (std::int64_t i = 0; i < size; ++i)
      for (const detail::LabelPart& part : parts[static_cast<std::size_t>(i)]) tables.add(first + i, part);
  }
  return tables.publish();
}

}  // namespace hxvoxora
