#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "quarn/voxora/tiles/Ref.h"
#include "quarn/voxora/tiles/TileGrid.h"
#include "quarn/voxora/tiles/TilePayload.h"
#include "quarn/voxora/tiles/detail/TileSlot.h"

namespace hxvoxora::detail {

/// What one label has in a tile.
struct LabelPart {
  std::int64_t tile = 0;
  std::uint8_t label = 0;
  std::int64_t firstVoxel = 0;
  TileSlot slot;
};

/// Takes the labels of tiles apart that follow each other along x. Rows of one tile alone would be short pieces that
/// lie far apart, of which much is fetched twice.
class LabelTiles {
public:
  /// Bits that are drafted at once, which nothing but this limits; what is done with counts in the memory budget.
  static constexpr std::size_t mostDraftBytes = std::size_t{64} << 20;

  /// Labels and grid as separateLabels() takes them; `count` tiles from `firstTile` on, in one row of tiles.
  LabelTiles(const std::uint8_t* labels, const TileGrid& grid, std::int64_t firstTile, std::int64_t count);

  /// The parts of all labels but 0. Once. All voxels are read once and, when a tile has so many labels that their bits
  /// are too many for one draft, again for the others.
  std::vector<LabelPart> separate();

private:
  struct Draft {
    std::uint8_t label = 0;
    std::int64_t firstVoxel = 0;
    Ref<TilePayload> payload;
  };

  struct Tile {
    std::int64_t number = 0;
    int x = 0;                 ///< of its first voxel
    std::size_t count = 0;     ///< voxels of a row
    bool isUniform = true;     ///< so far all voxels are `uniform`
    bool isUnfinished = true;  ///< the next pass has something to do here
    std::uint8_t uniform = 0;
    std::array<std::byte*, 256> bits{};
    std::bitset<256> done;  ///< labels of former passes
    std::vector<Draft> drafts;
  };

  void pass();
  void separateRow(Tile& tile, int y, int z);
  void separateWord(Tile& tile, const std::uint8_t* word, std::int64_t firstVoxel, std::size_t offset);
  void leaveUniform(Tile& tile, int y, int z);
  std::byte* startDraft(Tile& tile, std::uint8_t label, std::int64_t firstVoxel);
  void takeDrafts(std::vector<LabelPart>& parts);
  const std::uint8_t* row(const Tile& tile, int y, int z) const;
  std::size_t offsetOf(int y, int z) const;

  const std::uint8_t* const labels_;
  const TileGrid& grid_;
  SbVec3i32 low_, high_;         ///< of the tiles, along y and z
  const std::size_t rowBytes_;   ///< of a row of bits
  const std::size_t wordBytes_;  ///< that are stored at once
  const std::size_t mostDrafts_;
  std::size_t drafts_ = 0;
  std::vector<Tile> tiles_;
};

}  // namespace hxvoxora::detail
