#include "quarn/view/SlicePane.h"

#include <algorithm>
#include <cmath>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/view/FieldSampler.h"
#include "quarn/view/detail/TintBand.h"

namespace quarn::view {

namespace {

constexpr int ROWS_OF_BAND = 32;
/// One more pixel of outline for each so many pixels of the picture.
constexpr int PIXELS_PER_OUTLINE = 900;

/// The masks of one set as a slice needs them.
struct SlicedSet {
  const MaskSetLook* look;
  std::vector<detail::SliceMask> masks;
  std::optional<FieldSampler> image;

  bool needsValues() const {
    if (!image) return false;
    return look->overlapTransfer || std::any_of(masks.begin(), masks.end(), [](const detail::SliceMask& mask) {
             return mask.look().transfer.has_value();
           });
  }
};

SlicedSet slice(const MaskSetLook& look, const SlicePlane& plane, SurfaceCache& boxes, Complaints& complaints) {
  SlicedSet set{&look, {}, std::nullopt};
  if (look.image && look.image->voxelCount() > 0) set.image.emplace(*look.image);
  const LatticeMap map(look.geometry);
  for (const MaskLook& mask : look.masks) {
    try {
      set.masks.emplace_back(mask, boxes.boxOf(mask), map, plane);
    } catch (const std::exception& failure) {
      complaints.tell(
          QStringLiteral("The mask \"%1\" is not drawn: %2").arg(mask.name, QString::fromUtf8(failure.what())));
    }
  }
  return set;
}

/// Paints some rows of the picture.
class BandPainter {
public:
  BandPainter(const SlicePlane& plane, int y0, int y1) : plane_(plane), y0_(y0), y1_(y1) {
    pixels_.resize(3 * count());
  }

  void fill(const McColor& color) {
    for (std::size_t i = 0; i < count(); ++i)
      for (std::size_t channel = 0; channel < 3; ++channel) pixels_[3 * i + channel] = color[static_cast<int>(channel)];
  }

  void addImage(const FieldSampler& sampler, const ColorTransfer& transfer) {
    const std::vector<float> values = sample(sampler);
    for (std::size_t i = 0; i < count(); ++i) {
      if (std::isnan(values[i])) continue;
      const ColorTransfer::Color color = transfer(double{values[i]});
      const float shade[3] = {color.r, color.g, color.b};
      for (std::size_t channel = 0; channel < 3; ++channel)
        pixels_[3 * i + channel] += (shade[channel] - pixels_[3 * i + channel]) * color.alpha;
    }
  }

  void addSet(const SlicedSet& set) {
    const int outline = 1 + std::min(plane_.width, plane_.height) / PIXELS_PER_OUTLINE;
    const std::vector<float> values = set.needsValues() ? sample(*set.image) : std::vector<float>();
    const float* first = values.empty() ? nullptr : values.data();
    detail::TintBand band(*set.look, plane_.width, y0_, y1_, outline);
    for (const detail::SliceMask& mask : set.masks) band.add(mask, first);
    band.mixInto(pixels_.data(), first);
  }

  void writeTo(const QImage& picture, unsigned char* bits) const {
    for (int y = y0_; y < y1_; ++y) {
      auto* line = reinterpret_cast<QRgb*>(bits + qsizetype{y} * picture.bytesPerLine());
      const float* pixel =
          pixels_.data() + 3 * static_cast<std::size_t>(y - y0_) * static_cast<std::size_t>(plane_.width);
      for (int x = 0; x < plane_.width; ++x, pixel += 3) line[x] = qRgb(byte(pixel[0]), byte(pixel[1]), byte(pixel[2]));
    }
  }

private:
  static int byte(float value) { return static_cast<int>(std::lround(std::clamp(value, 0.0f, 1.0f) * 255)); }
  std::size_t count() const { return static_cast<std::size_t>(plane_.width) * static_cast<std::size_t>(y1_ - y0_); }

  std::vector<float> sample(const FieldSampler& sampler) const {
    std::vector<float> values(count());
    for (int y = y0_; y < y1_; ++y)
      sampler.sampleLine(plane_.at(0, y), plane_.right, plane_.width,
                         values.data() + static_cast<std::size_t>(y - y0_) * static_cast<std::size_t>(plane_.width));
    return values;
  }

  const SlicePlane& plane_;
  const int y0_, y1_;
  std::vector<float> pixels_;
};

}  // namespace

QImage SlicePane::paint(const SlicePlane& plane, SurfaceCache& boxes, Complaints& complaints) const {
  std::vector<FieldSampler> samplers;
  for (const ImageLook& image : images_) samplers.emplace_back(*image.field);
  std::vector<SlicedSet> sets;
  for (const MaskSetLook& look : sets_) sets.push_back(slice(look, plane, boxes, complaints));

  QImage picture(plane.width, plane.height, QImage::Format_RGB32);
  unsigned char* bits = picture.bits();
  const int bands = (plane.height + ROWS_OF_BAND - 1) / ROWS_OF_BAND;
  tbb::this_task_arena::isolate([&] {
    tbb::parallel_for(0, bands, [&](int band) {
      const int y0 = band * ROWS_OF_BAND, y1 = std::min(plane.height, y0 + ROWS_OF_BAND);
      BandPainter painter(plane, y0, y1);
      painter.fill(background_);
      for (std::size_t i = 0; i < images_.size(); ++i) painter.addImage(samplers[i], images_[i].transfer);
      for (const SlicedSet& set : sets) painter.addSet(set);
      painter.writeTo(picture, bits);
    });
  });
  return picture;
}

}  // namespace quarn::view
