#pragma once

#include <algorithm>
#include <cstdint>

namespace roitools {

/// Cuts the rows of a volume into pieces that follow each other in a file: whole slices, or rows of one slice when a
/// slice is too long.
class Slabs {
public:
  struct Slab {
    std::int64_t y = 0, z = 0;          ///< the first row
    std::int64_t rows = 0, slices = 0;  ///< rows of each slice
    std::int64_t bytes = 0;

    explicit operator bool() const { return slices > 0; }
  };

  /// `rowBytes` is at least 1; a piece is no longer than `mostBytes`, or one row.
  Slabs(std::int64_t rowBytes, std::int64_t rows, std::int64_t slices, std::int64_t mostBytes)
      : rowBytes_(rowBytes),
        rows_(rows),
        slices_(slices),
        rowsAtOnce_(std::max<std::int64_t>(1, mostBytes / rowBytes)) {}

  /// The next piece; none behind the last.
  Slab next() {
    Slab slab{y_, z_, 0, 0, 0};
    if (z_ >= slices_) return slab;
    if (y_ == 0 && rowsAtOnce_ >= rows_) {
      slab.rows = rows_;
      slab.slices = std::min(rowsAtOnce_ / rows_, slices_ - z_);
      z_ += slab.slices;
    } else {
      slab.rows = std::min(rowsAtOnce_, rows_ - y_);
      slab.slices = 1;
      y_ += slab.rows;
      if (y_ == rows_) {
        y_ = 0;
        ++z_;
      }
    }
    slab.bytes = slab.rows * slab.slices * rowBytes_;
    return slab;
  }

private:
  const std::int64_t rowBytes_, rows_, slices_, rowsAtOnce_;
  std::int64_t y_ = 0, z_ = 0;
};

}  // namespace roitools
