#pragma once

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <type_traits>
#include <vector>

#include "quarn/base/McHandle.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"

/// Turned by 30 degrees about z and mirrored: three oblique or negative axes, voxels of three sizes.
inline HxGeometry3 obliqueGeometry() {
  const double cosine = std::sqrt(0.75);
  HxGeometry3 geometry;
  geometry.origin = {-90.1, 125.3, -71.7};
  geometry.voxelSize = {0.7, 1.1, 3.3};
  geometry.direction = {cosine, -0.5, 0, 0.5, cosine, 0, 0, 0, -1};
  return geometry;
}

/// Negative directions and exchanged axes, in numbers that single precision holds.
inline HxGeometry3 exchangedGeometry() {
  HxGeometry3 geometry;
  geometry.origin = {10.5, -20.25, 30};
  geometry.voxelSize = {0.5, 2, 1.25};
  geometry.direction = {0, -1, 0, 0, 0, 1, -1, 0, 0};
  return geometry;
}

inline void expectGeometryNear(const HxGeometry3& actual, const HxGeometry3& expected, double tolerance) {
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(actual.origin[i], expected.origin[i], tolerance * 100) << i;
    EXPECT_NEAR(actual.voxelSize[i], expected.voxelSize[i], tolerance) << i;
  }
  for (std::size_t i = 0; i < 9; ++i) EXPECT_NEAR(actual.direction[i], expected.direction[i], tolerance) << i;
}

/// A field of 3 x 4 x 5 values: both ends of the type's range, and different small ones between.
template <typename T>
McHandle<HxUniformScalarField3> sampleField(McPrimType type) {
  McHandle<HxUniformScalarField3> field = new HxUniformScalarField3({3, 4, 5}, type);
  auto* const values = static_cast<T*>(field->data());
  for (int i = 0; i < 60; ++i) values[i] = static_cast<T>(2 * i + 1);
  values[0] = std::numeric_limits<T>::lowest();
  values[59] = std::numeric_limits<T>::max();
  if constexpr (std::is_floating_point_v<T>) {
    values[1] = std::numeric_limits<T>::infinity();
    values[2] = static_cast<T>(-0.1);
  }
  field->setGeometry(obliqueGeometry());
  return field;
}

/// A sample of each type that a field can have.
inline std::vector<McHandle<HxUniformScalarField3>> sampleFields() {
  return {sampleField<std::uint8_t>(McPrimType::Uint8),   sampleField<std::int8_t>(McPrimType::Int8),
          sampleField<std::uint16_t>(McPrimType::Uint16), sampleField<std::int16_t>(McPrimType::Int16),
          sampleField<std::uint32_t>(McPrimType::Uint32), sampleField<std::int32_t>(McPrimType::Int32),
          sampleField<float>(McPrimType::Float),          sampleField<double>(McPrimType::Double)};
}

inline McHandle<HxUniformLabelField3> sampleLabels() {
  McHandle<HxUniformLabelField3> field = new HxUniformLabelField3({3, 4, 5});
  for (int i = 0; i < 60; ++i) field->lattice().getLabels(0)[i] = static_cast<std::uint8_t>(i % 7);
  field->setGeometry(obliqueGeometry());
  return field;
}

/// The voxels as bytes.
inline std::string bytesOf(const HxUniformScalarField3& field) {
  const auto size = HxUniformScalarField3::primTypeSize(field.primType());
  return {static_cast<const char*>(field.data()), static_cast<std::size_t>(field.voxelCount()) * size};
}

inline void expectSameVoxels(const HxUniformScalarField3& actual, const HxUniformScalarField3& expected) {
  EXPECT_EQ(actual.latticeDimensions(), expected.latticeDimensions());
  EXPECT_EQ(actual.primType(), expected.primType());
  EXPECT_TRUE(bytesOf(actual) == bytesOf(expected));
}
