#include "quarn/view/PointColorCache.h"

#include <algorithm>
#include <cmath>

#include "quarn/view/FieldSampler.h"

namespace quarn::view {

namespace {

std::uint8_t byte(float value) {
  return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0f, 1.0f) * 255));
}

PointColors makeColors(const Surface& surface, const ColorTransfer& transfer, const HxUniformScalarField3& image) {
  const FieldSampler sampler(image);
  const double middle = (transfer.minimum() + transfer.maximum()) / 2;
  auto colors = std::make_shared<std::vector<std::uint8_t>>();
  colors->reserve(surface.points.size());
  for (std::size_t i = 0; i < surface.points.size(); i += 3) {
    const float* point = surface.points.data() + i;
    const auto value = double{sampler.at({double{point[0]}, double{point[1]}, double{point[2]}})};
    const ColorTransfer::Color color = transfer(std::isnan(value) ? middle : value);
    for (const float part : {color.r, color.g, color.b}) colors->push_back(byte(part));
  }
  return colors;
}

}  // namespace

PointColors PointColorCache::colorsOf(const SurfaceHandle& surface, const ColorTransfer& transfer,
                                      const HxUniformScalarField3* image) {
  if (!surface || !image || image->voxelCount() == 0) return nullptr;
  Entry& entry = entries_[surface.get()];
  if (!entry.surface || entry.transfer != transfer || entry.image != image || entry.imageTime != image->getTouchTime())
    entry = Entry{surface, transfer, image->getTouchTime(), image, makeColors(*surface, transfer, *image)};
  return entry.colors;
}

void PointColorCache::removeUnused() {
  std::erase_if(entries_, [](const auto& entry) { return entry.second.surface.use_count() <= 1; });
}

}  // namespace quarn::view
