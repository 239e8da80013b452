#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "quarn/voxora/bits/detail/BitWriter.h"
#include "quarn/voxora/bits/detail/Stretch.h"

/// Rows that are put together from the rows of several arrays side by side, as a box is from tiles.
namespace hxvoxora::detail {

/// Units of one array above each other: the one of a row lies at bytes[offset of the row & mask].
struct UnitColumn {
  /// All rows are the same: the column repeats `sameBytes` zeros or ones.
  static constexpr std::size_t sameBytes = 32;

  const std::uint8_t* bytes;
  std::size_t mask;  ///< all bits; 0 for rows that are all the same
};

/// The rows of columns side by side, cut at both ends. There are as many columns as the cut rows reach.
struct CutRows {
  std::span<const UnitColumn> columns;
  unsigned skipped;       ///< bits of the first unit before a row begins, less than a unit has
  std::int64_t width;     ///< bits of a row
  std::size_t rowStride;  ///< bytes
};

/// Appends `rowCount` rows, the first one at `offset`.
template <typename Unit>
void appendRows(BitWriter& target, const CutRows& rows, std::size_t offset, std::int64_t rowCount) {
  constexpr unsigned unitBits = 8 * sizeof(Unit);
  const auto unit = [&](const UnitColumn& column) {
    return Word{loadOrdered<Unit>(column.bytes + (offset & column.mask))} << (64 - unitBits);
  };
  const std::size_t last = rows.columns.size() - 1;
  const auto inFirst = static_cast<unsigned>(std::min<std::int64_t>(unitBits - rows.skipped, rows.width));
  const auto inLast = static_cast<unsigned>(rows.skipped + rows.width - unitBits * static_cast<std::int64_t>(last));
  BitWriter out = target;
  for (std::int64_t y = 0; y < rowCount; ++y, offset += rows.rowStride) {
    out.append(unit(rows.columns[0]) << rows.skipped & topBits(inFirst), inFirst);
    if (last == 0) continue;
    for (std::size_t i = 1; i < last; ++i) out.append(unit(rows.columns[i]), unitBits);
    out.append(unit(rows.columns[last]) & topBits(inLast), inLast);
  }
  target = out;
}

}  // namespace hxvoxora::detail
