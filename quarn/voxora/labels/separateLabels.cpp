#include "quarn/voxora/labels/separateLabels.h"

#include <algorithm>
#include <array>
#include <optional>

#include "quarn/voxora/labels/detail/LabelTiles.h"
#include "quarn/voxora/labels/detail/TileRows.h"
#include "quarn/voxora/tiles/detail/TileTableEditor.h"
#include "quarn/voxora/tiles/detail/parallel.h"

namespace hxvoxora {

namespace {

/// The tables of all labels that have been met.
class LabelTables {
public:
  explicit LabelTables(const TileGrid& grid) : empty_(makeRef<const detail::TileTable>(grid, false)) {}

  void add(const detail::LabelPart& part) {
    std::optional<Table>& table = tables_[part.label];
    if (!table) table.emplace(*empty_, part.firstVoxel);
    table->firstVoxel = std::min(table->firstVoxel, part.firstVoxel);
    table->editor.set(part.tile, part.slot);
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

/// Pieces between two looks at the clock: some milliseconds of work, and enough for all workers.
std::int64_t piecesAtOnce(const TileGrid& grid, const detail::TileRows& rows) {
  constexpr std::int64_t labelsAtOnce = std::int64_t{16} << 20;
  const auto labels = static_cast<std::int64_t>(8 * grid.tileByteSize()) * rows.mostTiles();
  return std::max<std::int64_t>(labelsAtOnce / labels, 4 * tbb::this_task_arena::max_concurrency());
}

}  // namespace

std::optional<std::vector<LabelContent>> separateLabels(const std::uint8_t* labels, const TileGrid& grid,
                                                        const WorkCallback& callback) {
  LabelTables tables(grid);
  const detail::TileRows rows(grid);
  const std::int64_t count = rows.count(), step = piecesAtOnce(grid, rows);
  std::vector<std::vector<detail::LabelPart>> parts(static_cast<std::size_t>(std::min(step, count)));
  for (std::int64_t first = 0; first < count; first += step) {
    if (callback && !callback(static_cast<double>(first) / static_cast<double>(count))) return std::nullopt;
    const std::int64_t size = std::min(step, count - first);
    detail::parallelFor(size, [&](std::int64_t i) {
      const detail::TileRows::Piece piece = rows[first + i];
      parts[static_cast<std::size_t>(i)] = detail::LabelTiles(labels, grid, piece.firstTile, piece.tiles).separate();
    });
    for (std::int64_t i = 0; i < size; ++i)
      for (const detail::LabelPart& part : parts[static_cast<std::size_t>(i)]) tables.add(part);
  }
  return tables.publish();
}

}  // namespace hxvoxora
