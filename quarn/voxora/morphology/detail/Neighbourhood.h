#pragma once

#include <array>
#include <cstdint>

#include "quarn/voxora/morphology/detail/ColumnKernels.h"
#include "quarn/voxora/tiles/TilePayload.h"
#include "quarn/voxora/tiles/detail/TileNumbers.h"
#include "quarn/voxora/tiles/detail/TileTable.h"

namespace hxvoxora::detail {

/// A tile and the 26 around it, with their bits pinned. Tiles are named by steps of -1, 0 or 1 along the axes; those
/// outside of the volume are clear.
class Neighbourhood {
public:
  /// The table must outlive this object.
  explicit Neighbourhood(const TileTable& table);

  /// Goes to a tile. Of those around it only the ones with voxels at most `reach` steps to face neighbours away are
  /// looked up; what the others are does not matter. McException when a tile cannot be read from its file.
  void visit(std::int64_t tile, int reach);

  /// The value of a constant tile.
  bool value(int dx, int dy, int dz) const { return at(dx, dy, dz).value; }

  /// Whether all tiles of a layer that matter are constants of one value.
  bool isConstantLayer(int dz) const;

  /// Words along x from a row of a tile on: 64 bits, or 32 where tiles are that narrow.
  WordsOfRows words(int dx, int dy, int dz, int word, int y, int z) const;

private:
  /// A tile with bits, or a constant where these are null.
  struct Tile {
    Ref<const TilePayload> payload;
    const std::uint8_t* bits = nullptr;
    bool value = false;
  };

  static constexpr int index(int dx, int dy, int dz) { return 13 + dx + 3 * dy + 9 * dz; }
  const Tile& at(int dx, int dy, int dz) const { return tiles_[static_cast<std::size_t>(index(dx, dy, dz))]; }
  void look(Tile& tile, std::int64_t x, std::int64_t y, std::int64_t z);

  const TileTable& table_;
  const TileNumbers numbers_;
  const std::size_t wordBytes_, rowBytes_, sliceBytes_;
  std::array<Tile, 27> tiles_;
};

}  // namespace hxvoxora::detail
