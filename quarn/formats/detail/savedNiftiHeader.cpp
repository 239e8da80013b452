#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>

#include "quarn/formats/detail/fault.h"
#include "quarn/formats/detail/niftiGeometry.h"
#include "quarn/formats/detail/savedHeaders.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"

namespace quarn::formats::detail {

namespace {

constexpr std::size_t headerSize = 348;
constexpr std::size_t dataOffset = 352;
constexpr std::int16_t labelIntent = 1002;
constexpr std::int16_t scannerCode = 1;
constexpr std::uint8_t millimetres = 2;

using Axes = std::array<std::array<double, 3>, 3>;  ///< [row][axis]

class Bytes {
public:
  template <typename T>
  void put(std::size_t offset, T value) {
    std::memcpy(bytes_.data() + offset, &value, sizeof(T));
  }
  void putFloat(std::size_t offset, double value) { put(offset, static_cast<float>(value)); }
  const std::string& text() const { return bytes_; }

private:
  std::string bytes_ = std::string(dataOffset, '\0');
};

std::int16_t typeCode(McPrimType type) {
  switch (type) {
    case McPrimType::Uint8:
      return 2;
    case McPrimType::Int8:
      return 256;
    case McPrimType::Uint16:
      return 512;
    case McPrimType::Int16:
      return 4;
    case McPrimType::Uint32:
      return 768;
    case McPrimType::Int32:
      return 8;
    case McPrimType::Float:
      return 16;
    case McPrimType::Double:
      break;
  }
  return 64;
}

/// The format counts x to the right and y to the front.
constexpr std::array<double, 3> turn = {-1.0, -1.0, 1.0};

Axes turnedAxes(const HxGeometry3& geometry) {
  Axes axes;
  for (std::size_t row = 0; row < 3; ++row)
    for (std::size_t axis = 0; axis < 3; ++axis) axes[row][axis] = turn[row] * geometry.direction[3 * row + axis] + 0.0;
  return axes;
}

double determinant(const Axes& m) {
  return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) - m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
         m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

/// The parts b, c, d of the unit quaternion of a rotation whose part a is not negative.
std::array<double, 3> quaternion(const Axes& m) {
  const double doubled[4] = {1 + m[0][0] + m[1][1] + m[2][2], 1 + m[0][0] - m[1][1] - m[2][2],
                             1 - m[0][0] + m[1][1] - m[2][2], 1 - m[0][0] - m[1][1] + m[2][2]};
  const double sums[3][3] = {{0, m[0][1] + m[1][0], m[0][2] + m[2][0]},
                             {m[0][1] + m[1][0], 0, m[1][2] + m[2][1]},
                             {m[0][2] + m[2][0], m[1][2] + m[2][1], 0}};
  const std::array<double, 3> differences = {m[2][1] - m[1][2], m[0][2] - m[2][0], m[1][0] - m[0][1]};
  std::size_t largest = 0;
  for (std::size_t i = 1; i < 4; ++i)
    if (doubled[i] > doubled[largest]) largest = i;
  const double part = std::sqrt(doubled[largest]) / 2;
  std::array<double, 3> parts{};
  if (largest == 0) {
    for (std::size_t i = 0; i < 3; ++i) parts[i] = differences[i] / (4 * part);
    return parts;
  }
  const std::size_t own = largest - 1;
  const double sign = differences[own] < 0 ? -1.0 : 1.0;
  for (std::size_t i = 0; i < 3; ++i) parts[i] = sign * (i == own ? part : sums[own][i] / (4 * part));
  return parts;
}

void putQuaternion(Bytes& bytes, Axes axes) {
  // A mirrored lattice is a rotated one with its third axis turned round.
  const double handedness = determinant(axes) < 0 ? -1.0 : 1.0;
  for (std::size_t row = 0; row < 3; ++row) axes[row][2] *= handedness;
  bytes.putFloat(76, handedness);
  const std::array<double, 3> parts = quaternion(axes);
  for (std::size_t i = 0; i < 3; ++i) bytes.putFloat(256 + 4 * i, parts[i]);
}

void putGeometry(Bytes& bytes, const HxGeometry3& geometry) {
  const Axes axes = turnedAxes(geometry);
  bytes.put<std::int16_t>(252, scannerCode);
  bytes.put<std::int16_t>(254, scannerCode);
  putQuaternion(bytes, axes);
  for (std::size_t row = 0; row < 3; ++row) {
    const double origin = turn[row] * geometry.origin[row] + 0.0;
    bytes.putFloat(80 + 4 * row, geometry.voxelSize[row]);
    bytes.putFloat(268 + 4 * row, origin);
    bytes.putFloat(280 + 16 * row + 12, origin);
    for (std::size_t axis = 0; axis < 3; ++axis)
      bytes.putFloat(280 + 16 * row + 4 * axis, axes[row][axis] * geometry.voxelSize[axis]);
  }
}

/// Single precision can carry numbers beyond the limits that they keep to. The quaternion must not hide that: it would
/// stand in for a matrix whose axes are not perpendicular any more.
void requireReadable(Bytes bytes, const QString& file) {
  bytes.put<std::int16_t>(252, 0);
  parseNiftiGeometry(NiftiFields(std::as_bytes(std::span(bytes.text())).first<NiftiFields::size>()), file);
}

void putDimensions(Bytes& bytes, const McDim3l& dimensions, const QString& file) {
  constexpr std::int64_t most = std::numeric_limits<std::int16_t>::max();
  bytes.put<std::int16_t>(40, 3);
  for (int axis = 0; axis < 3; ++axis) {
    if (dimensions[axis] > most) {
      refuse(file, QStringLiteral("NIfTI holds at most %1 voxels along an axis, the field has %2 along axis %3")
                       .arg(most)
                       .arg(dimensions[axis])
                       .arg(axis));
    }
    bytes.put(42 + 2 * static_cast<std::size_t>(axis), static_cast<std::int16_t>(dimensions[axis]));
  }
  for (std::size_t i = 3; i < 7; ++i) bytes.put<std::int16_t>(42 + 2 * i, 1);
  for (std::size_t i = 3; i < 7; ++i) bytes.putFloat(80 + 4 * i, 1.0);
}

}  // namespace

std::string niftiHeader(const HxUniformScalarField3& field, const QString& file) {
  Bytes bytes;
  bytes.put<std::int32_t>(0, headerSize);
  putDimensions(bytes, field.latticeDimensions(), file);
  const bool isLabelField = dynamic_cast<const HxUniformLabelField3*>(&field) != nullptr;
  if (isLabelField) bytes.put(68, labelIntent);
  bytes.put(70, typeCode(field.primType()));
  bytes.put(72, static_cast<std::int16_t>(8 * HxUniformScalarField3::primTypeSize(field.primType())));
  bytes.putFloat(108, dataOffset);
  bytes.put(123, millimetres);
  putGeometry(bytes, field.geometry());
  requireReadable(bytes, file);
  constexpr std::array<char, 4> magic = {'n', '+', '1', '\0'};
  bytes.put(344, magic);
  return bytes.text();
}

}  // namespace quarn::formats::detail
