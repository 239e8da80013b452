#pragma once

#include <algorithm>
#include <cstdint>

#include "quarn/voxora/tiles/TileGrid.h"

namespace hxvoxora::detail {

/// The tiles of a grid in pieces that follow each other along x, so that the rows of voxels of a piece are long. Pieces
/// are numbered from 0, in the order of their tiles.
class TileRows {
public:
  explicit TileRows(const TileGrid& grid)
      : tiles_(grid.tilesOf(grid.box()).count(0)),
        most_(std::max(std::int64_t{rowVoxels} / grid.tileDimensions()[0], std::int64_t{1})),
        pieces_((tiles_ + most_ - 1) / most_),
        count_(grid.tileCount() / std::max(tiles_, std::int64_t{1}) * pieces_) {}

  std::int64_t count() const { return count_; }
  /// Tiles of the largest piece.
  std::int64_t mostTiles() const { return std::min(most_, tiles_); }

  struct Piece {
    std::int64_t firstTile = 0, tiles = 0;
  };
  Piece operator[](std::int64_t i) const {
    const std::int64_t first = i % pieces_ * most_;
    return {i / pieces_ * tiles_ + first, std::min(most_, tiles_ - first)};
  }

private:
  static constexpr int rowVoxels = 1024;

  std::int64_t tiles_, most_, pieces_, count_;
};

}  // namespace hxvoxora::detail
