#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace quarn::formats::detail {

/// The type in which the voxels of a file are delivered.
enum class VoxelKind { UInt8, Int8, UInt16, Int16, UInt32, Int32, UInt64, Int64, Float, Double };

/// Calls `visit(std::type_identity<T>())` with the C++ type of a kind and returns its result.
template <typename Visit>
decltype(auto) visitKind(VoxelKind kind, Visit&& visit) {
  switch (kind) {
    case VoxelKind::UInt8:
      return visit(std::type_identity<std::uint8_t>());
    case VoxelKind::Int8:
      return visit(std::type_identity<std::int8_t>());
    case VoxelKind::UInt16:
      return visit(std::type_identity<std::uint16_t>());
    case VoxelKind::Int16:
      return visit(std::type_identity<std::int16_t>());
    case VoxelKind::UInt32:
      return visit(std::type_identity<std::uint32_t>());
    case VoxelKind::Int32:
      return visit(std::type_identity<std::int32_t>());
    case VoxelKind::UInt64:
      return visit(std::type_identity<std::uint64_t>());
    case VoxelKind::Int64:
      return visit(std::type_identity<std::int64_t>());
    case VoxelKind::Float:
      return visit(std::type_identity<float>());
    case VoxelKind::Double:
      break;
  }
  return visit(std::type_identity<double>());
}

inline std::size_t bytesOf(VoxelKind kind) {
  return visitKind(kind, [](auto type) { return sizeof(typename decltype(type)::type); });
}

}  // namespace quarn::formats::detail
