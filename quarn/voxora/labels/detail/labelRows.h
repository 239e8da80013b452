#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace hxvoxora::detail {

/// What one mask has in a row of voxels: bits, the most significant one of a byte first, that begin at a byte. Whole
/// bytes of them may be read.
struct RowLayer {
  const std::uint8_t* bits = nullptr;  ///< of some earlier row; null: all voxels are set
  std::uint8_t label = 0;
};

/// Where labels come from and what becomes of those that are there.
struct RowLayers {
  std::span<const RowLayer> layers;
  std::uint8_t overlap = 0;
  bool replaces = false;  ///< what is in the row does not count, as if it were 0
};

/// Set voxels get the label of their layer where the label is 0, and the overlap where it is not; others stay. `offset`
/// is the number of bytes from the bits of each layer to those of this row. True when one was not 0.
bool writeLabels(std::uint8_t* row, std::size_t count, const RowLayers& source, std::size_t offset);

}  // namespace hxvoxora::detail
