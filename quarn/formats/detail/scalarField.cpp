#include "quarn/formats/detail/scalarField.h"

#include <cstdint>
#include <cstring>
#include <utility>

#include "quarn/formats/detail/fault.h"
#include "quarn/formats/detail/newField.h"

namespace quarn::formats::detail {

namespace {

/// The type in which a field keeps the voxels.
McPrimType fieldType(VoxelKind kind) {
  switch (kind) {
    case VoxelKind::UInt8:
      return McPrimType::Uint8;
    case VoxelKind::Int8:
      return McPrimType::Int8;
    case VoxelKind::UInt16:
      return McPrimType::Uint16;
    case VoxelKind::Int16:
      return McPrimType::Int16;
    case VoxelKind::UInt32:
      return McPrimType::Uint32;
    case VoxelKind::Int32:
      return McPrimType::Int32;
    case VoxelKind::Float:
      return McPrimType::Float;
    case VoxelKind::UInt64:
    case VoxelKind::Int64:
    case VoxelKind::Double:
      break;
  }
  return McPrimType::Double;
}

/// Turns 64-bit integers into doubles where they stand.
template <typename Integer>
void convertInPlace(double* values, std::int64_t count, const QString& file) {
  static_assert(sizeof(Integer) == sizeof(double));
  constexpr std::int64_t largestExact = std::int64_t{1} << 53;
  for (std::int64_t i = 0; i < count; ++i) {
    Integer number;
    std::memcpy(&number, values + i, sizeof number);
    if (std::cmp_greater(number, largestExact) || std::cmp_less(number, -largestExact)) {
      refuse(file, QStringLiteral("holds the 64-bit integer %1, which does not fit a field exactly").arg(number));
    }
    values[i] = static_cast<double>(number);
  }
}

}  // namespace

McHandle<HxUniformScalarField3> readScalarField(ImageVolume& volume, const QString& file,
                                                const ImageVolume::Progress& progress) {
  const auto field = newField<HxUniformScalarField3>(file, latticeOf(volume), fieldType(volume.kind()));
  volume.readVoxels(field->data(), progress);
  auto* const doubles = static_cast<double*>(field->data());
  if (volume.kind() == VoxelKind::Int64) convertInPlace<std::int64_t>(doubles, field->voxelCount(), file);
  if (volume.kind() == VoxelKind::UInt64) convertInPlace<std::uint64_t>(doubles, field->voxelCount(), file);
  return field;
}

}  // namespace quarn::formats::detail
