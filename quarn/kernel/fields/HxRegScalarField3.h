#pragma once

#include <array>

#include "quarn/base/McBox3f.h"
#include "quarn/base/McDim3l.h"
#include "quarn/kernel/export.h"
#include "quarn/kernel/fields/HxGeometry3.h"
#include "quarn/kernel/objects/HxData.h"

/// One value per point of a regular lattice, and its place in the world.
///
/// The bounding box runs through the centres of the outermost voxels, along the axes of the lattice: from the origin to
/// origin + (n - 1) * voxelSize. The full geometry stands in the parameters, bundle "Geometry": "Origin" and
/// "VoxelSize", three reals each, and "Direction", nine. Without that bundle, the lattice lies along the axes of the
/// world in its box.
class QUARN_KERNEL_API HxRegScalarField3 : public HxData {
public:
  MC_CLASS_DECL(HxRegScalarField3)

  /// Numbers of voxels along the axes.
  virtual McDim3l latticeDimensions() const = 0;

  /// Bounds in the order of McBox3f; a field without voxels has the empty box.
  void getBoundingBox(float box[6]) override;
  McBox3f boundingBox() const { return box_; }
  /// Any box, also the empty one. Origin and voxel size of "Geometry", when there is one, follow a box that is not
  /// empty.
  void setBoundingBox(const McBox3f& box);
  void setBoundingBox(const float box[6]);

  /// Sets the bounding box and the parameters "Geometry". Throws McException for voxel sizes that are not positive and
  /// for numbers that are not finite.
  void setGeometry(const HxGeometry3& geometry);
  HxGeometry3 geometry() const;

  /// Where the centre of a voxel lies; indices may have fractions and lie outside.
  std::array<double, 3> voxelToWorld(double i, double j, double k) const;
  /// Volume of one voxel.
  double voxelVolume() const;

protected:
  HxRegScalarField3() = default;
  ~HxRegScalarField3() override;

private:
  McBox3f box_;
};
