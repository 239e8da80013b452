#pragma once

#include <cstdint>
#include <functional>

#include "quarn/voxora/tiles/Counted.h"
#include "quarn/voxora/tiles/TileGrid.h"
#include "quarn/voxora/tiles/detail/TileSlot.h"

namespace hxvoxora::detail {

/// What every tile of a volume is, at one moment; it never changes and is shared by everybody who reads.
///
/// The table is a tree of pages of 64 places: one level for up to 64 tiles, two for up to 4,096, and so on. A mark
/// without bits in place of a page stands for all tiles below it, so that an empty volume of any size has no page at
/// all, and a changed copy costs only the pages on the way to what was changed.
class TileTable final : public Counted {
public:
  /// A table in which no tile was written.
  TileTable(const TileGrid& grid, bool defaultValue) : TileTable(grid, defaultValue, TileSlot()) {}
  TileTable(const TileGrid& grid, bool defaultValue, TileSlot root);

  const TileGrid& grid() const { return grid_; }
  bool defaultValue() const { return defaultValue_; }
  const TileSlot& root() const { return root_; }

  /// Levels of pages of a table of so many tiles; at least 1.
  static int levelsFor(std::int64_t tileCount);
  int levels() const { return levels_; }

  /// The place of a tile: unwritten, constant or cell.
  const TileSlot& slot(std::int64_t tile) const { return find(root_, levels_, tile); }

  /// The same with the default value in place of "unwritten".
  TileSlot content(std::int64_t tile) const { return resolved(slot(tile), defaultValue_); }

  static TileSlot resolved(const TileSlot& slot, bool defaultValue) {
    return slot.isUnwritten() ? TileSlot::constant(defaultValue) : slot;
  }

  /// The place of a tile below `root`, which stands `levels` levels above the tiles.
  static const TileSlot& find(const TileSlot& root, int levels, std::int64_t tile);

  /// Calls visit(first, count, slot) for all tiles in ascending order; tiles without bits come in runs, cells alone.
  using RunVisitor = std::function<void(std::int64_t first, std::int64_t count, const TileSlot&)>;
  void forEachRun(const RunVisitor& visit) const { forEachRunIn(0, grid_.tileCount(), visit); }

  /// The same for the tiles first <= tile < first + count; runs end with them.
  void forEachRunIn(std::int64_t first, std::int64_t count, const RunVisitor& visit) const;

private:
  TileGrid grid_;
  int levels_;
  bool defaultValue_;
  TileSlot root_;
};

}  // namespace hxvoxora::detail
