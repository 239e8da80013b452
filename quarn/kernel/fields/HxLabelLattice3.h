#pragma once

#include <cstdint>

#include "quarn/base/McDim3l.h"
#include "quarn/kernel/export.h"

class HxParamBundle;
class HxUniformLabelField3;

/// The labels of a label field: a view that belongs to the field and lives as long.
class QUARN_KERNEL_API HxLabelLattice3 {
public:
  explicit HxLabelLattice3(HxUniformLabelField3& field) : field_(field) {}
  HxLabelLattice3(const HxLabelLattice3&) = delete;
  HxLabelLattice3& operator=(const HxLabelLattice3&) = delete;

  /// Numbers of voxels along x, y, z.
  McDim3l dimensions() const;

  /// The labels from slice `z` on: x fastest, slices contiguous, so getLabels(0) spans the volume. Valid until
  /// resize().
  std::uint8_t* getLabels(std::int64_t z = 0);
  const std::uint8_t* getLabels(std::int64_t z = 0) const;

  /// The "Materials" of the field; null when there are none and `create` is false.
  HxParamBundle* materials(bool create = true);
  const HxParamBundle* materials() const;

  /// Makes the labels anew, all 0.
  void resize(const McDim3l& dimensions);

private:
  HxUniformLabelField3& field_;
};
