#pragma once

#include <utility>
#include <variant>
#include <vector>

#include "quarn/base/McLargePageAllocator.h"
#include "quarn/kernel/export.h"
#include "quarn/kernel/fields/HxRegScalarField3.h"
#include "quarn/kernel/fields/McPrimType.h"

/// A field with an array of numbers of one type, x fastest, slices contiguous. Values are zero at first; the bounding
/// box of a new field has its first voxel at (0, 0, 0) and voxels of size 1.
class QUARN_KERNEL_API HxUniformScalarField3 : public HxRegScalarField3 {
public:
  MC_CLASS_DECL(HxUniformScalarField3)

  /// A field without voxels.
  HxUniformScalarField3() : HxUniformScalarField3(McDim3l(), McPrimType::Float) {}
  /// Throws McException for dimensions that are negative or too large for memory.
  HxUniformScalarField3(const McDim3l& dimensions, McPrimType type);

  McDim3l latticeDimensions() const override { return dimensions_; }
  std::int64_t voxelCount() const { return dimensions_.nx * dimensions_.ny * dimensions_.nz; }
  /// Makes the array anew, all zero; the box is as for a new field. Throws as the constructor; nothing is changed then.
  void resize(const McDim3l& dimensions, McPrimType type);

  /// Exchanges the arrays of two fields of one class; their boxes stay.
  void swapVoxels(HxUniformScalarField3& other);

  McPrimType primType() const { return static_cast<McPrimType>(values_.index()); }
  static const char* primTypeName(McPrimType type);
  static std::size_t primTypeSize(McPrimType type);

  /// The array as bytes.
  void* data();
  const void* data() const;

  /// Calls `visitor` with a pointer to the first value, as std::uint8_t* or whatever the type is; returns its result.
  template <class Visitor>
  decltype(auto) visitValues(Visitor&& visitor) {
    return std::visit([&](auto& values) -> decltype(auto) { return visitor(values.data()); }, values_);
  }
  template <class Visitor>
  decltype(auto) visitValues(Visitor&& visitor) const {
    return std::visit([&](const auto& values) -> decltype(auto) { return visitor(values.data()); }, values_);
  }

  /// One value; the indices must lie inside. For more than a few, use visitValues().
  double value(std::int64_t x, std::int64_t y, std::int64_t z) const;
  /// Cast to the type of the field.
  void setValue(std::int64_t x, std::int64_t y, std::int64_t z, double value);

  /// Smallest and largest value there is; NaN is skipped, and so is 0 with `excludeBackground`. When nothing is left,
  /// `min` is above `max`. Looks at every voxel, in parallel.
  virtual void valueRange(double& min, double& max, bool excludeBackground = false) const;
  void valueRange(float& min, float& max, bool excludeBackground = false) const;

  /// To be called after values were changed: touches the content (8). Does not evaluate.
  virtual void notifyChanged();

  /// Adds: getDimensions, getVoxelSize, getBoundingBox, getType, getValue X Y Z, getRange, voxelToWorld I J K.
  int parse(Tcl_Interp* interp, int argc, char** argv) override;

protected:
  ~HxUniformScalarField3() override;

private:
  template <class T>
  using Array = std::vector<T, McLargePageAllocator<T>>;
  using Values = std::variant<Array<std::uint8_t>, Array<std::int8_t>, Array<std::uint16_t>, Array<std::int16_t>,
                              Array<std::uint32_t>, Array<std::int32_t>, Array<float>, Array<double>>;

  static Values makeValues(const McDim3l& dimensions, McPrimType type);
  std::size_t indexOf(std::int64_t x, std::int64_t y, std::int64_t z) const {
    return static_cast<std::size_t>((z * dimensions_.ny + y) * dimensions_.nx + x);
  }
  int parseGetValue(Tcl_Interp* interp, char** argv);
  int parseVoxelToWorld(Tcl_Interp* interp, char** argv);

  McDim3l dimensions_;
  Values values_;
};
