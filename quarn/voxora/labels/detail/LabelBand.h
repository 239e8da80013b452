#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "quarn/voxora/labels/detail/labelRows.h"
#include "quarn/voxora/labels/joinLabels.h"
#include "quarn/voxora/tiles/TileGrid.h"
#include "quarn/voxora/tiles/TilePayload.h"

namespace hxvoxora::detail {

/// How the tiles of a grid are cut into bands: neighbours in x, whose rows follow each other in memory, so that labels
/// are written in long runs.
class LabelBands {
public:
  explicit LabelBands(const TileGrid& grid);

  std::int64_t count() const { return count_; }
  /// Voxels of a band that is not cut.
  std::int64_t voxels() const;
  /// The first tile of a band, and how many there are.
  std::int64_t firstTile(std::int64_t band) const;
  std::int64_t tiles(std::int64_t band) const;

private:
  const TileGrid& grid_;
  std::int64_t tilesAlongX_;
  std::int64_t tilesPerBand_;
  std::int64_t bandsAlongX_;
  std::int64_t count_;
};

/// Writes the labels of one band.
class LabelBand {
public:
  LabelBand(const TileGrid& grid, std::int64_t firstTile, std::int64_t tiles, std::uint8_t* labels);

  /// As joinLabels(); true when masks share voxels. The bits that are held at once have a bound, whatever the number of
  /// masks.
  bool write(std::span<const LabelledMask> masks, std::uint8_t overlap);

private:
  struct Tile {
    std::int64_t number = 0;
    SbBox3i32 box;
    std::vector<RowLayer> layers;  ///< the bits of its first row
  };
  /// Part of all rows: of one tile with layers, or of several that get one label everywhere.
  struct Segment {
    int x = 0;
    std::size_t count = 0;
    const std::vector<RowLayer>* layers = nullptr;  ///< null: `label` everywhere
    std::uint8_t label = 0;
  };

  std::size_t collect(std::span<const LabelledMask> masks);
  std::size_t addLayer(Tile& tile, const LabelledMask& mask);
  void makeSegments();
  void addFilled(const Tile& tile, std::uint8_t label);
  bool writeRows(std::uint8_t overlap) const;

  const TileGrid& grid_;
  std::uint8_t* const labels_;
  std::vector<Tile> tiles_;
  std::vector<Ref<const TilePayload>> held_;  ///< what the layers look at
  std::vector<Segment> segments_;
  bool isFresh_ = true;  ///< nothing was written yet
};

}  // namespace hxvoxora::detail
