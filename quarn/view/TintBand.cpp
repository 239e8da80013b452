#include "quarn/view/detail/TintBand.h"

#include <algorithm>

namespace quarn::view::detail {

namespace {

constexpr float TINT = 0.5f;  ///< how much of a pixel is the colour of its mask
constexpr float TRANSFER_TINT = 0.85f;
constexpr float SHARED_TINT = 0.8f;
constexpr float OUTLINE = 0.95f;

void mix(float* pixel, float r, float g, float b, float part) {
  pixel[0] += (r - pixel[0]) * part;
  pixel[1] += (g - pixel[1]) * part;
  pixel[2] += (b - pixel[2]) * part;
}

}  // namespace

TintBand::TintBand(const MaskSetLook& set, int width, int y0, int y1, int halo)
    : set_(set), width_(width), y0_(y0), rows_(y1 - y0), halo_(halo) {
  marks_.resize(place(0, rows_ + 2 * halo_));
  counts_.resize(marks_.size());
  cells_.resize(place(0, rows_));
}

bool TintBand::markMask(const SliceMask& mask) {
  bool any = false;
  for (int row = 0; row < rows_ + 2 * halo_; ++row) {
    unsigned char* marks = marks_.data() + place(0, row);
    std::fill_n(marks, width_, static_cast<unsigned char>(0));
    const auto [x0, x1] = mask.reach(y0_ + row - halo_);
    if (x0 == x1) continue;
    mask.mark(y0_ + row - halo_, x0, x1, marks + x0);
    any = true;
  }
  return any;
}

/// Whether a pixel that is in has one nearby that is not; the picture's edge is no border.
template <class IsIn>
bool TintBand::isBorder(int x, int row, IsIn isIn) const {
  for (int step = 1; step <= halo_; ++step) {
    if (x >= step && !isIn(place(x - step, row))) return true;
    if (x + step < width_ && !isIn(place(x + step, row))) return true;
    if (!isIn(place(x, row - step)) || !isIn(place(x, row + step))) return true;
  }
  return false;
}

void TintBand::add(const SliceMask& mask, const float* values) {
  if (!markMask(mask)) return;
  for (std::size_t i = 0; i < marks_.size(); ++i) counts_[i] = static_cast<unsigned short>(counts_[i] + marks_[i]);
  for (int row = 0; row < rows_; ++row) {
    for (int x = 0; x < width_; ++x) {
      if (!marks_[place(x, row + halo_)]) continue;
      const bool onOutline = isBorder(x, row + halo_, [this](std::size_t i) { return marks_[i] != 0; });
      addPixel(cells_[place(x, row)], mask.look(), values ? values + place(x, row) : nullptr, onOutline);
    }
  }
}

void TintBand::addPixel(Cell& cell, const MaskLook& look, const float* value, bool onOutline) const {
  ColorTransfer::Color color{look.color.r, look.color.g, look.color.b, TINT};
  if (look.transfer && value) {
    color = (*look.transfer)(double{*value});
    color.alpha *= TRANSFER_TINT;
  }
  cell.r += color.r;
  cell.g += color.g;
  cell.b += color.b;
  cell.alpha += color.alpha;
  if (!onOutline) return;
  for (int channel = 0; channel < 3; ++channel) cell.outline[channel] += look.color[channel];
  ++cell.outlines;
}

void TintBand::mixInto(float* pixels, const float* values) const {
  for (int row = 0; row < rows_; ++row) {
    for (int x = 0; x < width_; ++x) {
      const int count = counts_[place(x, row + halo_)];
      if (count == 0) continue;
      const bool onSharedOutline =
          count > 1 && isBorder(x, row + halo_, [this](std::size_t i) { return counts_[i] > 1; });
      const std::size_t i = place(x, row);
      mixPixel(pixels + 3 * i, cells_[i], count, values ? values + i : nullptr, onSharedOutline);
    }
  }
}

void TintBand::mixPixel(float* pixel, const Cell& cell, int count, const float* value, bool onSharedOutline) const {
  const auto n = static_cast<float>(count);
  const bool isShared = count > 1;
  const bool fillsShared = isShared && set_.overlapStyle == HxISetOfVolumeMask::DRAW_VOLUME;
  if (fillsShared && set_.overlapTransfer && value) {
    const ColorTransfer::Color color = (*set_.overlapTransfer)(double{*value});
    mix(pixel, color.r, color.g, color.b, color.alpha * TRANSFER_TINT);
  } else if (fillsShared && set_.overlapColor) {
    mix(pixel, set_.overlapColor->r, set_.overlapColor->g, set_.overlapColor->b, SHARED_TINT);
  } else {
    mix(pixel, cell.r / n, cell.g / n, cell.b / n, cell.alpha / n);
  }
  if (cell.outlines > 0) {
    const auto outlines = static_cast<float>(cell.outlines);
    mix(pixel, cell.outline[0] / outlines, cell.outline[1] / outlines, cell.outline[2] / outlines, OUTLINE);
  }
  if (onSharedOutline && set_.overlapStyle == HxISetOfVolumeMask::DRAW_BOUNDARY && set_.overlapColor)
    mix(pixel, set_.overlapColor->r, set_.overlapColor->g, set_.overlapColor->b, 1);
}

}  // namespace quarn::view::detail
