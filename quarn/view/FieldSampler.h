#pragma once

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

}  // namespace quarn::view
