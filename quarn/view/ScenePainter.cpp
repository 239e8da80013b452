#include "quarn/view/ScenePainter.h"

#include <algorithm>

#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/view/FieldSampler.h"
#include "quarn/view/detail/paneMarks.h"

namespace quarn::view {

namespace {

/// Masks that share voxels are drawn so that one sees what they share.
constexpr float SEE_THROUGH = 0.32f;
constexpr float SHELL = 0.6f;
constexpr int PLANE_PIXELS = 512;

McColor meanColor(const MaskSetLook& set, const std::vector<bool>& takesPart) {
  McColor sum;
  float count = 0;
  for (std::size_t i = 0; i < set.masks.size(); ++i) {
    if (!takesPart[i]) continue;
    for (int channel = 0; channel < 3; ++channel) sum[channel] += set.masks[i].color[channel];
    ++count;
  }
  for (int channel = 0; channel < 3; ++channel) sum[channel] /= std::max(count, 1.0f);
  return sum;
}

/// The slice as it lies in space, without margins.
PlaneLook planeOf(const SceneContents& contents, const ImageLook& image, int axis) {
  SlicePlane plane = SlicePlane::across(contents.dimensions, contents.geometry, axis,
                                        contents.slices[static_cast<std::size_t>(axis)], PLANE_PIXELS, PLANE_PIXELS);
  const std::vector<ImageLook> images{image};
  const std::vector<MaskSetLook> none;
  SurfaceCache noBoxes;
  Complaints noComplaints;
  PlaneLook look;
  const ColorTransfer::Color empty = image.transfer(image.transfer.minimum());
  look.picture = SlicePane(images, none, McColor(empty.r, empty.g, empty.b)).paint(plane, noBoxes, noComplaints);
  const QRect used = detail::usedPart(plane, contents.dimensions, contents.geometry);
  look.picture = detail::withoutSurroundings(look.picture.copy(used), detail::colorOf(empty));
  look.origin = plane.at(used.left() - 0.5, used.top() - 0.5);
  for (std::size_t i = 0; i < 3; ++i) {
    look.right[i] = plane.right[i] * used.width();
    look.down[i] = plane.down[i] * used.height();
  }
  return look;
}

void insert(QImage& picture, const QImage& part, const QPoint& place) {
  for (int y = 0; y < part.height(); ++y)
    std::copy_n(reinterpret_cast<const QRgb*>(part.constScanLine(y)), part.width(),
                reinterpret_cast<QRgb*>(picture.scanLine(place.y() + y)) + place.x());
}

}  // namespace

QImage ScenePainter::paint(const SceneContents& contents, int width, int height, Complaints& complaints) {
  forgetHidden(contents);
  QImage picture(width, height, QImage::Format_RGB32);
  picture.fill(detail::gapColor(contents.background));
  for (const PlacedPane& pane : placePanes(contents.layout, width, height)) {
    const QRect& place = pane.place;
    QImage part = pane.pane == Pane::Space ? paintSpace(contents, place.width(), place.height(), complaints)
                                           : paintSlice(contents, pane.pane, place.width(), place.height(), complaints);
    insert(picture, part, place.topLeft());
  }
  return picture;
}

void ScenePainter::forgetHidden(const SceneContents& contents) {
  surfaces_.keepOnly(contents.sets);
  std::erase_if(overlaps_, [&](const auto& item) {
    const auto isOwner = [&](const MaskSetLook& set) { return set.owner == item.first; };
    return std::none_of(contents.sets.begin(), contents.sets.end(), isOwner);
  });
}

QImage ScenePainter::paintSlice(const SceneContents& contents, Pane pane, int width, int height,
                                Complaints& complaints) {
  const int axis = static_cast<int>(pane);
  const SlicePlane plane = SlicePlane::across(contents.dimensions, contents.geometry, axis,
                                              contents.slices[static_cast<std::size_t>(axis)], width, height);
  McColor background = contents.background;
  if (!contents.images.empty()) {
    // No seam between what the image has around its subject and what is around the image.
    const ColorTransfer& transfer = contents.images.front().transfer;
    const ColorTransfer::Color color = transfer(transfer.minimum());
    if (color.alpha > 0) background = McColor(color.r, color.g, color.b);
  }
  QImage picture = SlicePane(contents.images, contents.sets, background).paint(plane, surfaces_, complaints);
  if (contents.hasMarks) {
    detail::markOtherSlices(picture, plane, contents.geometry, contents.slices, axis);
    detail::markSides(picture, plane);
    detail::markSlice(picture, axis, contents.slices[static_cast<std::size_t>(axis)]);
  }
  return picture;
}

QImage ScenePainter::paintSpace(const SceneContents& contents, int width, int height, Complaints& complaints) {
  if (!space_) space_ = std::make_unique<ScenePane>();
  std::vector<SurfaceLook> looks;
  const double pixels = std::max(width, height) * std::max(1.0, contents.camera.zoom());
  for (const MaskSetLook& set : contents.sets) addMasks(set, levelFor(set.dimensions, pixels), looks, complaints);
  space_->setSurfaces(looks);
  pointColors_.removeUnused();
  setImages(contents);
  if (!bounds_) bounds_ = findBounds(contents, complaints);
  QImage picture = space_->render(contents.camera, {width, height, contents.background, *bounds_});
  if (contents.hasMarks) detail::markView(picture, contents.camera);
  return picture;
}

void ScenePainter::addMasks(const MaskSetLook& set, int level, std::vector<SurfaceLook>& looks,
                            Complaints& complaints) {
  surfaces_.prepare(set, level, complaints);
  const OverlapCache::Result none{nullptr, std::vector<bool>(set.masks.size(), false)};
  const OverlapCache::Result& overlap =
      set.overlapStyle ? overlaps_[set.owner].overlapOf(set, level, surfaces_, complaints) : none;
  const auto pointColors = [&](const SurfaceHandle& surface, const std::optional<ColorTransfer>& transfer) {
    return transfer ? pointColors_.colorsOf(surface, *transfer, set.image) : nullptr;
  };
  for (std::size_t i = 0; i < set.masks.size(); ++i) {
    const MaskLook& mask = set.masks[i];
    const SurfaceHandle surface = surfaces_.surfaceOf(mask);
    if (!surface) continue;
    looks.push_back({surface, mask.color, pointColors(surface, mask.transfer), overlap.takesPart[i] ? SEE_THROUGH : 1});
  }
  if (!overlap.surface) return;
  const bool isVolume = set.overlapStyle == HxISetOfVolumeMask::DRAW_VOLUME;
  looks.push_back({overlap.surface, set.overlapColor ? *set.overlapColor : meanColor(set, overlap.takesPart),
                   isVolume ? pointColors(overlap.surface, set.overlapTransfer) : nullptr, isVolume ? 1 : SHELL});
}

void ScenePainter::setImages(const SceneContents& contents) {
  std::vector<PlaneLook> planes;
  const ImageLook* rendered = nullptr;
  for (std::size_t i = 0; i < contents.images.size(); ++i) {
    if (contents.modes[i] == VolumeMode::Rendered) rendered = &contents.images[i];
    if (contents.modes[i] != VolumeMode::Planes) continue;
    for (int axis = 0; axis < 3; ++axis) planes.push_back(planeOf(contents, contents.images[i], axis));
  }
  space_->setPlanes(planes);
  const std::uint32_t time = rendered ? rendered->field->getTouchTime() : 0;
  const std::optional<ColorTransfer> colors = rendered ? std::optional(rendered->transfer) : std::nullopt;
  if (volumeTime_ == time && volumeColors_ == colors) return;
  space_->setVolume(rendered ? rendered->field.get() : nullptr, colors ? &*colors : nullptr);
  volumeColors_ = colors;
  volumeTime_ = time;
}

Bounds ScenePainter::findBounds(const SceneContents& contents, Complaints& complaints) {
  Bounds bounds;
  for (std::size_t i = 0; i < contents.images.size(); ++i) {
    if (contents.modes[i] == VolumeMode::Off) continue;
    const HxUniformScalarField3& field = *contents.images[i].field;
    const IndexBox content = contentBox(field, contents.images[i].range);
    bounds.add(LatticeMap(field.geometry()), content.low, content.high);
  }
  for (const MaskSetLook& set : contents.sets) {
    for (const MaskLook& mask : set.masks) {
      try {
        const SbBox3i32 box = surfaces_.boxOf(mask);
        if (box.isEmpty()) continue;
        const SbVec3i32 &low = box.getMin(), &high = box.getMax();
        bounds.add(LatticeMap(set.geometry), {low[0] - 0.5, low[1] - 0.5, low[2] - 0.5},
                   {high[0] + 0.5, high[1] + 0.5, high[2] + 0.5});
      } catch (const std::exception& failure) {
        complaints.tell(
            QStringLiteral("The mask \"%1\" is not drawn: %2").arg(mask.name, QString::fromUtf8(failure.what())));
      }
    }
  }
  return bounds;
}

}  // namespace quarn::view
