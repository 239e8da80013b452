#include "quarn/formats/detail/NiftiVolume.h"

#include <cstring>
#include <span>
#include <utility>

#include "quarn/formats/detail/RawVoxels.h"

namespace quarn::formats::detail {

namespace {

/// Writes voxels as floating point numbers, scaled.
template <typename Target>
void scale(const NiftiHeader& header, std::span<const std::byte> voxels, Target* target) {
  visitKind(header.kind, [&](auto type) {
    using Source = typename decltype(type)::type;
    for (std::size_t i = 0; i < voxels.size() / sizeof(Source); ++i) {
      Source voxel;
      std::memcpy(&voxel, voxels.data() + i * sizeof(Source), sizeof voxel);
      target[i] = static_cast<Target>(static_cast<double>(voxel) * header.slope + header.intercept);
    }
  });
}

}  // namespace

NiftiVolume::NiftiVolume(NiftiFile image) : image_(std::move(image)) {
  description_.dimensions = image_.header.dimensions;
  description_.kind = image_.header.kind;
  if (image_.header.isScaled() && kind() != VoxelKind::Double) description_.kind = VoxelKind::Float;
  description_.isLabelImage = image_.header.isLabelImage;
  description_.geometry = image_.header.geometry;
}

void NiftiVolume::readVoxels(void* voxels, const Progress& progress) {
  const NiftiHeader& header = image_.header;
  RawVoxels raw;
  raw.file = image_.dataFile;
  raw.form = image_.dataForm;
  raw.skip = header.dataOffset;
  raw.isByteSwapped = header.isByteSwapped;
  raw.kind = header.kind;
  raw.bytes = header.dataBytes();
  if (!header.isScaled()) return raw.read(voxels, progress);
  const auto sourceSize = static_cast<std::int64_t>(bytesOf(header.kind));
  const auto take = [&](std::span<const std::byte> piece, std::int64_t done) {
    if (kind() == VoxelKind::Double) {
      scale(header, piece, static_cast<double*>(voxels) + done / sourceSize);
    } else {
      scale(header, piece, static_cast<float*>(voxels) + done / sourceSize);
    }
  };
  raw.readPieces(take, progress);
}

}  // namespace quarn::formats::detail
