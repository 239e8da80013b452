#pragma once

#include <vector>

#include "quarn/view/MaskSetLook.h"
#include "quarn/view/detail/SliceMask.h"

namespace quarn::view::detail {

/// Some rows of a slice picture, with what the masks of one set do to them.
class TintBand {
public:
  /// Rows y0 to before y1. `halo` is the width of outlines in pixels.
  TintBand(const MaskSetLook& set, int width, int y0, int y1, int halo);

  /// `values` has the image's value at each pixel of the band, or is null.
  void add(const SliceMask& mask, const float* values);
  /// Mixes all that was added into the pixels of the band, three numbers from 0 to 1 each.
  void mixInto(float* pixels, const float* values) const;

private:
  /// What the masks at one pixel add up to.
  struct Cell {
    float r = 0, g = 0, b = 0, alpha = 0;  ///< sums over the masks
    float outline[3] = {0, 0, 0};          ///< likewise, of those whose outline runs here
    unsigned short outlines = 0;
  };

  std::size_t place(int x, int row) const {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x);
  }
  bool markMask(const SliceMask& mask);
  template <class IsIn>
  bool isBorder(int x, int row, IsIn isIn) const;
  void addPixel(Cell& cell, const MaskLook& look, const float* value, bool onOutline) const;
  void mixPixel(float* pixel, const Cell& cell, int count, const float* value, bool onSharedOutline) const;

  const MaskSetLook& set_;
  const int width_, y0_, rows_, halo_;
  std::vector<unsigned char> marks_;    ///< of the mask at hand; `halo_` more rows above and below
  std::vector<unsigned short> counts_;  ///< masks at each pixel, likewise
  std::vector<Cell> cells_;
};

}  // namespace quarn::view::detail
