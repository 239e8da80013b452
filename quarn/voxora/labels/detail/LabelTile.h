#pragma once

#include <array>
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
  std::uint8_t label = 0;
  std::int64_t firstVoxel = 0;
  TileSlot slot;
};

/// Takes the labels of one tile apart.
class LabelTile {
public:
  /// As separateLabels() takes them.
  LabelTile(const std::uint8_t* labels, const TileGrid& grid, std::int64_t tile);

  /// The parts of all labels but 0, in the order of their first voxels. Once.
  std::vector<LabelPart> separate();

private:
  struct Draft {
    std::uint8_t label = 0;
    std::int64_t firstVoxel = 0;
    Ref<TilePayload> payload;
  };

  const std::uint8_t* row(int y, int z) const;
  bool isUniform() const;
  void separateRow(int y, int z);
  void separateWord(const std::uint8_t* word, std::int64_t firstVoxel, std::size_t offset);
  std::byte* bitsOf(std::uint8_t label, std::int64_t firstVoxel);

  const std::uint8_t* const labels_;
  const TileGrid& grid_;
  const SbBox3i32 box_;
  const std::size_t rowBytes_;   ///< of a row of bits
  const std::size_t wordBytes_;  ///< that are stored at once
  std::array<std::byte*, 256> bits_{};
  std::vector<Draft> drafts_;
};

}  // namespace hxvoxora::detail
