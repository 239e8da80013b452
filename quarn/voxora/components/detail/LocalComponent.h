#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "quarn/voxora/nodes/SbTypes.h"

namespace hxvoxora::detail {

/// A side of a block: its lower or its upper end along an axis.
struct BlockSide {
  std::size_t axis;
  bool upper;

  constexpr std::size_t index() const { return 2 * axis + (upper ? 1 : 0); }
  constexpr std::uint32_t bit() const { return 1u << index(); }
};
constexpr std::size_t sideCount = 6;

/// A box of voxels of one block, which grows by a single instruction: a byte each for the least x, y and z, and for 255
/// less the greatest ones.
class LocalBox {
public:
  LocalBox() = default;

  /// A part of a row.
  LocalBox(unsigned firstX, unsigned lastX, unsigned y, unsigned z)
      : bytes_(firstX | y << 8 | z << 16 | std::uint64_t{255 - lastX} << 24 | std::uint64_t{255 - y} << 32 |
               std::uint64_t{255 - z} << 40) {}

  unsigned min(std::size_t axis) const { return static_cast<unsigned>(bytes_ >> 8 * axis & 255); }
  unsigned max(std::size_t axis) const { return static_cast<unsigned>(255 - (bytes_ >> (24 + 8 * axis) & 255)); }

  void extendBy(const LocalBox& other) {
    using Bytes [[gnu::vector_size(8)]] = std::uint8_t;
    Bytes mine, theirs;
    std::memcpy(&mine, &bytes_, sizeof mine);
    std::memcpy(&theirs, &other.bytes_, sizeof theirs);
    mine = mine < theirs ? mine : theirs;
    std::memcpy(&bytes_, &mine, sizeof mine);
  }

private:
  std::uint64_t bytes_ = ~std::uint64_t{0};
};

/// A component inside one block, in voxels of that block.
struct LocalComponent {
  LocalBox box;
  std::uint32_t voxelCount = 0;
  std::uint8_t firstX = 0, firstY = 0;  ///< of its first voxel; the z is the least one

  /// The sides of a block of this size that it touches, one BlockSide::bit() for each.
  std::uint32_t sides(const SbVec3i32& blockSize) const {
    std::uint32_t touched = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const auto last = static_cast<unsigned>(blockSize[static_cast<int>(axis)] - 1);
      touched |= (box.min(axis) == 0 ? BlockSide{axis, false}.bit() : 0u) |
                 (box.max(axis) == last ? BlockSide{axis, true}.bit() : 0u);
    }
    return touched;
  }
};

}  // namespace hxvoxora::detail
