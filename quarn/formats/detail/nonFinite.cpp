#include "quarn/formats/detail/nonFinite.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <span>
#include <vector>

#include "quarn/kernel/io/ByteStream.h"

namespace quarn::formats::detail {

namespace {

template <typename T>
T numberAt(const std::byte* bytes, bool isByteSwapped) {
  std::array<std::byte, sizeof(T)> raw;
  std::memcpy(raw.data(), bytes, sizeof(T));
  if (isByteSwapped) std::reverse(raw.begin(), raw.end());
  return std::bit_cast<T>(raw);
}

template <typename T>
void restore(const NiftiFile& image, T* voxels) {
  constexpr std::int64_t blockLength = 1024 * 1024 / sizeof(T);
  ByteStream stream(image.dataFile);
  stream.skip(image.header.dataOffset);
  std::vector<std::byte> block(blockLength * sizeof(T));
  for (std::int64_t start = 0; start < image.header.voxelCount(); start += blockLength) {
    const std::int64_t count = std::min(blockLength, image.header.voxelCount() - start);
    const std::size_t got =
        stream.read(std::span(block).first(static_cast<std::size_t>(count) * sizeof(T))) / sizeof(T);
    for (std::size_t i = 0; i < got; ++i) {
      const T number = numberAt<T>(block.data() + i * sizeof(T), image.header.isByteSwapped);
      if (!std::isfinite(number)) voxels[start + static_cast<std::int64_t>(i)] = number;
    }
  }
}

}  // namespace

void restoreNonFinite(const NiftiFile& image, VoxelKind kind, void* voxels) {
  if (!image.header.isFloatingPoint) return;
  if (kind == VoxelKind::Float) restore(image, static_cast<float*>(voxels));
  if (kind == VoxelKind::Double) restore(image, static_cast<double*>(voxels));
}

}  // namespace quarn::formats::detail
