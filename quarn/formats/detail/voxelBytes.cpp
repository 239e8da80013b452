#include "quarn/formats/detail/voxelBytes.h"

#include "quarn/formats/detail/fault.h"

namespace quarn::formats::detail {

std::int64_t voxelBytes(const std::array<std::int64_t, 3>& dimensions, VoxelKind kind, const QString& file) {
  auto bytes = static_cast<std::int64_t>(bytesOf(kind));
  for (const std::int64_t count : dimensions) {
    const bool isCountable = count > 0 && !__builtin_mul_overflow(bytes, count, &bytes);
    if (isCountable) continue;
    refuse(file, QStringLiteral("is said to have %1 x %2 x %3 voxels, which is no size")
                     .arg(dimensions[0])
                     .arg(dimensions[1])
                     .arg(dimensions[2]));
  }
  return bytes;
}

void requireUnpackable(std::int64_t stored, std::int64_t unpacked, std::int64_t ratio, const QString& file) {
  if (unpacked / ratio <= stored) return;
  refuse(file, QStringLiteral("is cut: it holds %1 compressed bytes, which cannot be the %2 bytes of its voxels")
                   .arg(stored)
                   .arg(unpacked));
}

}  // namespace quarn::formats::detail
