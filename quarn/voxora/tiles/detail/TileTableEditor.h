#pragma once

#include <cstdint>

#include "quarn/voxora/tiles/detail/TileTable.h"

namespace hxvoxora::detail {

class TileNode;

/// A changing copy of a table. Pages are copied when they are first changed; those of the table stay as they are.
/// Reading is safe from several threads as long as nobody changes it.
class TileTableEditor {
public:
  explicit TileTableEditor(const TileTable& table);

  const TileGrid& grid() const { return grid_; }
  void setDefaultValue(bool value) { defaultValue_ = value; }

  const TileSlot& slot(std::int64_t tile) const { return TileTable::find(root_, levels_, tile); }
  TileSlot content(std::int64_t tile) const { return TileTable::resolved(slot(tile), defaultValue_); }

  void set(std::int64_t tile, const TileSlot& slot) { setRange(tile, 1, slot); }

  /// Gives all tiles of a range the same place, which is cheap for marks without bits.
  void setRange(std::int64_t first, std::int64_t count, const TileSlot& slot);

  /// The table as it stands now. The editor may go on afterwards.
  Ref<const TileTable> publish();

private:
  friend class TableCombination;

  /// The part of setRange() below one place, which stands `levels` above the tiles and begins with the tile `base`.
  void assign(TileSlot& place, int levels, std::int64_t base, std::int64_t first, std::int64_t end,
              const TileSlot& slot);
  TileNode& ownPage(TileSlot& place);
  bool isUniform(const TileNode& page, int levels, std::int64_t base) const;

  TileGrid grid_;
  int levels_;
  bool defaultValue_;
  TileSlot root_;
  std::uint64_t editor_;
};

}  // namespace hxvoxora::detail
