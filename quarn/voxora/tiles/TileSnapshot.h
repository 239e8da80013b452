#pragma once

#include <cstdint>
#include <type_traits>

#include "quarn/voxora/export.h"
#include "quarn/voxora/nodes/SbTypes.h"
#include "quarn/voxora/tiles/Ref.h"
#include "quarn/voxora/tiles/TileGrid.h"
#include "quarn/voxora/tiles/TilePayload.h"

namespace hxvoxora {

namespace detail {
class TileTable;
}

/// The content of a one-bit volume at one moment. Later edits of the volume do not show in it. Taking and copying one
/// costs a reference; it keeps no volume node alive, but the tiles it shares and the files that back them.
///
/// All operations are safe from any thread. Those that need the bits of a tile may read it from its file, and throw
/// McException when the file is damaged.
class QUARN_VOXORA_API TileSnapshot {
public:
  enum class Kind {
    Zero,   ///< no voxel of the tile is set
    One,    ///< every voxel is set
    Mixed,  ///< the tile has bits
  };

  /// Numbers of tiles.
  struct TileCounts {
    std::uint64_t written = 0;  ///< see isWritten()
    std::uint64_t zero = 0;     ///< these three by kind()
    std::uint64_t one = 0;
    std::uint64_t mixed = 0;
  };

  /// The content of a volume without voxels.
  TileSnapshot();
  explicit TileSnapshot(Ref<const detail::TileTable> table);
  TileSnapshot(const TileSnapshot&);
  TileSnapshot(TileSnapshot&&) noexcept;
  TileSnapshot& operator=(TileSnapshot) noexcept;
  ~TileSnapshot();

  /// What the tiles are; for the library itself.
  const detail::TileTable& table() const { return *table_; }

  const TileGrid& grid() const;
  const SbVec3i32& dimensions() const { return grid().dimensions(); }
  const SbVec3i32& tileDimensions() const { return grid().tileDimensions(); }
  std::int64_t tileCount() const { return grid().tileCount(); }

  /// Voxels of a tile, cut at the volume's end.
  SbBox3i32 tileBox(std::int64_t tile) const { return grid().tileBox(tile); }

  /// What a tile is; tiles that were never written count as the default value.
  Kind kind(std::int64_t tile) const;

  /// True when a tile was filled, replaced or changed, or stands in the file as such.
  bool isWritten(std::int64_t tile) const;

  /// How many tiles are what. Takes time for what was edited, not for every tile of the grid.
  TileCounts countTiles() const;

  /// The bits of a mixed tile, laid out as grid().tileLayout(tile) tells; null for the other kinds.
  Ref<const TilePayload> payload(std::int64_t tile) const;

  /// Copies a box to `bits`: x fastest, most significant bit first, no padding between rows; the unused bits of the
  /// last byte become 0. An empty box is no work; a box that reaches outside the volume is refused with McException.
  void fetch(const SbBox3i32& box, void* bits) const;

  /// The smallest box around the set voxels inside `region`; SbBox3i32() when there are none. Parallel.
  SbBox3i32 computeBoundingBox(const SbBox3i32& region) const;

  /// The number of set voxels inside `region`. Parallel.
  std::uint64_t countSetVoxels(const SbBox3i32& region) const;

  /// Calls `visit(int y, int z, int x0, int x1)` for every run of set voxels x0 <= x < x1 inside `box`, as long as
  /// they can be, in ascending order of z, then y, then x. Sequential. `visit` may throw, which ends the walk.
  template <typename Visitor>
  void forEachRun(const SbBox3i32& box, Visitor&& visit) const {
    visitRuns(box, &visit, &callVisitor<std::remove_reference_t<Visitor>>);
  }

  /// The same for the voxels of one tile; runs end at the tile's faces. For callers that spread tiles over threads.
  template <typename Visitor>
  void forEachRunInTile(std::int64_t tile, const SbBox3i32& box, Visitor&& visit) const {
    visitRunsInTile(tile, box, &visit, &callVisitor<std::remove_reference_t<Visitor>>);
  }

private:
  using RunFunction = void (*)(void* visitor, int y, int z, int x0, int x1);

  template <typename Visitor>
  static void callVisitor(void* visitor, int y, int z, int x0, int x1) {
    (*static_cast<Visitor*>(visitor))(y, z, x0, x1);
  }

  void visitRuns(const SbBox3i32& box, void* visitor, RunFunction call) const;
  void visitRunsInTile(std::int64_t tile, const SbBox3i32& box, void* visitor, RunFunction call) const;

  Ref<const detail::TileTable> table_;
};

}  // namespace hxvoxora
