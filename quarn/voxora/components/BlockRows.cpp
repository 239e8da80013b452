#include "quarn/voxora/components/detail/BlockRows.h"

namespace hxvoxora::detail {

namespace {

/// Calls visit(row, place of its first byte) for the rows of a block in the bits of its tile.
template <typename Visit>
void forEachRow(const BlockRows& rows, const BlockGrid& blocks, std::size_t first, Visit visit) {
  const SbVec3i32& tile = blocks.grid().tileDimensions();
  const auto rowBytes = static_cast<std::size_t>(tile[0]) / 8;
  const std::size_t sliceBytes = rowBytes * static_cast<std::size_t>(tile[1]);
  std::size_t row = 0;
  for (std::size_t z = 0; z < rows.depth(); ++z)
    for (std::size_t y = 0; y < rows.height(); ++y) visit(row++, first + z * sliceBytes + y * rowBytes);
}

}  // namespace

void BlockRows::read(const BlockGrid& blocks, const BlockPlace& place, const std::byte* tileBits) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(tileBits);
  const std::size_t first = blocks.byteOffset(place);
  if (width_ == 64) {
    forEachRow(*this, blocks, first, [&](std::size_t row, std::size_t at) { rows_[row] = loadWord(bytes + at); });
  } else {
    forEachRow(*this, blocks, first, [&](std::size_t row, std::size_t at) {
      rows_[row] = Word{loadOrdered<std::uint32_t>(bytes + at)} << 32;
    });
  }
}

void BlockRows::write(const BlockGrid& blocks, const BlockPlace& place, std::byte* tileBits) const {
  auto* bytes = reinterpret_cast<std::uint8_t*>(tileBits);
  forEachRow(*this, blocks, blocks.byteOffset(place), [&](std::size_t row, std::size_t at) {
    if (width_ == 64) {
      storeWord(bytes + at, rows_[row]);
    } else {
      storeOrdered(bytes + at, static_cast<std::uint32_t>(rows_[row] >> 32));
    }
  });
}

}  // namespace hxvoxora::detail
