#pragma once

#include <functional>
#include <map>
#include <vector>

#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/fields/HxISetOfVolumeData.h"
#include "quarn/kernel/fields/HxISetOfVolumeMask.h"
#include "quarn/kernel/fields/HxPlaced.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "quarn/voxora/tiles/Ref.h"

/// Tells whether a voxel is set.
using Shape = std::function<bool(int x, int y, int z)>;

inline Shape ball(double cx, double cy, double cz, double radius) {
  return [=](int x, int y, int z) {
    return (x - cx) * (x - cx) + (y - cy) * (y - cy) + (z - cz) * (z - cz) <= radius * radius;
  };
}

inline Shape block(int x0, int x1, int y0, int y1, int z0, int z1) {
  return [=](int x, int y, int z) { return x >= x0 && x <= x1 && y >= y0 && y <= y1 && z >= z0 && z <= z1; };
}

using MaskNode = hxvoxora::Ref<SoVolumeMask>;

/// Sets the voxels of a shape in a node that is empty.
void fill(SoVolumeMask& node, const Shape& shape);
MaskNode newNode(const SbVec3i32& dimensions, const Shape& shape);

/// An object with masks, all of whose answers a test may choose.
class TestMasks : public HxData {
public:
  struct Mask {
    McHandle<HxVolumeData> data;
    MaskNode node;
    McColor color;
    bool isVisible = true;
    McHandle<HxColormap> colormap;
    std::optional<std::pair<double, double>> range;
  };

  explicit TestMasks(const SbVec3i32& dimensions);

  Mask& add(const QString& name, const McColor& color, const Shape& shape);
  Mask& named(const QString& name);

  const SbVec3i32 dimensions;
  std::vector<Mask> masks;
  HxISetOfVolumeData* reference = nullptr;
  /// Where the masks lie without a reference.
  std::optional<HxGeometry3> place;
  std::optional<HxISetOfVolumeMask::DrawStyle> overlapStyle;
  std::optional<McColor> overlapColor;
  McHandle<HxColormap> overlapColormap;
  /// Called by every question with its name; may throw.
  std::function<void(const char* question, const HxVolumeData* mask)> onQuestion;

protected:
  ~TestMasks() override;
};
