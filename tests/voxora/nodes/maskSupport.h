#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "quarn/voxora/bits/TruthTable.h"
#include "quarn/voxora/nodes/SoCpuBufferBitSet.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "quarn/voxora/tiles/Ref.h"
#include "tests/voxora/RandomSource.h"

using hxvoxora::Ref;

/// A mask the plain way, one byte a voxel: what SoVolumeMask is compared with.
class DenseMask {
public:
  explicit DenseMask(const SbVec3i32& dimensions, bool value = false)
      : dimensions_(dimensions),
        voxels_(static_cast<std::size_t>(std::int64_t{dimensions[0]} * dimensions[1] * dimensions[2]), value) {}

  const SbVec3i32& dimensions() const { return dimensions_; }
  SbBox3i32 box() const { return {{0, 0, 0}, {dimensions_[0] - 1, dimensions_[1] - 1, dimensions_[2] - 1}}; }

  std::uint8_t& at(int x, int y, int z) { return voxels_[index(x, y, z)]; }
  bool at(int x, int y, int z) const { return voxels_[index(x, y, z)] != 0; }

  template <typename Visit>
  static void forEachVoxel(const SbBox3i32& box, Visit visit) {
    for (int z = box.getMin()[2]; z <= box.getMax()[2]; ++z)
      for (int y = box.getMin()[1]; y <= box.getMax()[1]; ++y)
        for (int x = box.getMin()[0]; x <= box.getMax()[0]; ++x) visit(x, y, z);
  }

  void fill(const SbBox3i32& box, bool value) {
    forEachVoxel(box, [&](int x, int y, int z) { at(x, y, z) = value; });
  }

  void combine(const SbBox3i32& box, const DenseMask& other, hxvoxora::TruthTable f) {
    forEachVoxel(box, [&](int x, int y, int z) { at(x, y, z) = apply(f, at(x, y, z) != 0, other.at(x, y, z)); });
  }

  void invert(const SbBox3i32& box) {
    forEachVoxel(box, [&](int x, int y, int z) { at(x, y, z) ^= 1; });
  }

  std::uint64_t count(const SbBox3i32& box) const {
    std::uint64_t sum = 0;
    forEachVoxel(box, [&](int x, int y, int z) { sum += at(x, y, z); });
    return sum;
  }

  SbBox3i32 bounds(const SbBox3i32& box) const {
    SbBox3i32 result;
    forEachVoxel(box, [&](int x, int y, int z) {
      if (at(x, y, z)) result.extendBy(SbBox3i32({x, y, z}, {x, y, z}));
    });
    return result;
  }

  /// The voxels of a box as a buffer holds them.
  std::vector<std::byte> packed(const SbBox3i32& box) const {
    std::vector<std::byte> bytes(static_cast<std::size_t>((box.size(0) * box.size(1) * box.size(2) + 7) / 8));
    std::uint64_t i = 0;
    forEachVoxel(box, [&](int x, int y, int z) {
      if (at(x, y, z)) bytes[i >> 3] |= static_cast<std::byte>(0x80 >> (i & 7));
      ++i;
    });
    return bytes;
  }

  friend bool operator==(const DenseMask&, const DenseMask&) = default;

private:
  std::size_t index(int x, int y, int z) const {
    return static_cast<std::size_t>((std::int64_t{z} * dimensions_[1] + y) * dimensions_[0] + x);
  }

  SbVec3i32 dimensions_;
  std::vector<std::uint8_t> voxels_;
};

inline SbBox3i32 wholeBox(const SoVolumeMask& mask) {
  const SbVec3i32 size = mask.dataDimension();
  return {{0, 0, 0}, {size[0] - 1, size[1] - 1, size[2] - 1}};
}

inline Ref<SoVolumeMask> makeMask(const SbVec3i32& dimensions, const SbVec3i32& tile = {32, 8, 8}) {
  auto mask = hxvoxora::makeRef<SoVolumeMask>();
  mask->initializeInMemory(dimensions, tile);
  return mask;
}

/// The bits of a box, fetched through data access.
inline std::vector<std::byte> fetched(const SoVolumeMask& mask, const SbBox3i32& box) {
  const auto bits = static_cast<std::size_t>(box.size(0) * box.size(1) * box.size(2));
  const auto buffer = hxvoxora::makeRef<SoCpuBufferObject>((bits + 7) / 8);
  mask.getLdmDataAccess().getData(0, box, buffer.get());
  return {buffer->bytes(), buffer->bytes() + buffer->getByteSize()};
}

/// Runs an edit as a transaction of its own.
template <typename Edit>
void inTransaction(SoVolumeMask& mask, Edit edit) {
  const int id = mask.beginTransaction();
  edit();
  mask.endTransaction(id);
}

inline void fill(SoVolumeMask& mask, const SbBox3i32& box, bool value) {
  inTransaction(mask, [&] { mask.fillBox(box, value ? 1.0 : 0.0); });
}

inline void replace(SoVolumeMask& mask, const SbBox3i32& box, const DenseMask& content) {
  const auto bits = hxvoxora::makeRef<SoCpuBufferBitSet>();
  const std::vector<std::byte> bytes = content.packed(box);
  bits->setSize(static_cast<std::size_t>(box.size(0) * box.size(1) * box.size(2)));
  std::copy(bytes.begin(), bytes.end(), bits->bytes());
  inTransaction(mask, [&] { mask.replaceBox(box, bits.get()); });
}

inline SbBox3i32 randomBoxIn(RandomSource& random, const SbVec3i32& dimensions) {
  SbVec3i32 min, max;
  for (int axis = 0; axis < 3; ++axis) {
    const bool whole = random.chance(0.25);
    min[axis] = whole ? 0 : random.between(0, dimensions[axis] - 1);
    max[axis] = whole ? dimensions[axis] - 1 : random.between(min[axis], dimensions[axis] - 1);
  }
  return {min, max};
}

/// Blobs and noise, so that there are tiles of all kinds.
inline DenseMask randomContent(RandomSource& random, const SbVec3i32& dimensions) {
  DenseMask content(dimensions, random.chance(0.3));
  for (int i = random.between(0, 4); i > 0; --i) content.fill(randomBoxIn(random, dimensions), random.chance(0.6));
  if (random.chance(0.5)) {
    DenseMask::forEachVoxel(randomBoxIn(random, dimensions),
                            [&](int x, int y, int z) { content.at(x, y, z) = random.word() & 1; });
  }
  return content;
}
