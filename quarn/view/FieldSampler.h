#pragma once

#include <utility>

#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/view/LatticeMap.h"
#include "quarn/view/export.h"

namespace quarn::view {

/// Values of a field between its voxels; of a label field those of the nearest voxels, as there is nothing between two
/// labels. The field must stay as it is. Safe from several threads.
class QUARN_VIEW_API FieldSampler {
public:
  explicit FieldSampler(const HxUniformScalarField3& field);

  const LatticeMap& map() const { return map_; }

  /// The value at a place in the world, from its eight neighbours; NaN outside of the voxels.
  float at(const Point3& world) const;
  /// The same for `count` places, each a step from the one before.
  void sampleLine(const Point3& first, const Point3& step, int count, float* values) const;

private:
  template <class Value>
  float between(const Value* values, const Point3& index) const;

  const HxUniformScalarField3& field_;
  const McDim3l dimensions_;
  const LatticeMap map_;
  const bool takesNearest_;
};

/// The values that most voxels lie between, for a first look: a few of the darkest and of the brightest are left out.
QUARN_VIEW_API std::pair<double, double> usualRange(const HxUniformScalarField3& field);

/// A box in the lattice, from edge to edge of voxels.
struct IndexBox {
  Point3 low, high;
};

/// Where the values are that stand out from the surroundings of what an image shows: those beyond the lowest tenth of
/// the range, of a label field its labels. Looks at a part of the voxels of large fields, so that a few at the edge may
/// lie outside. The whole lattice when there are none. The field must have voxels.
QUARN_VIEW_API IndexBox contentBox(const HxUniformScalarField3& field, const std::pair<double, double>& range);

}  // namespace quarn::view
