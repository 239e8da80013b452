#include "bench/scale/Brain.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <libdeflate.h>
#include <memory>
#include <stdexcept>

#include "quarn/voxora/bits/BitKernels.h"
#include "quarn/voxora/nodes/SoCpuBufferBitSet.h"

namespace bench {

namespace {

constexpr std::int32_t blockEdge = 256;
constexpr std::size_t headerBytes = 348;

std::vector<std::uint8_t> unpacked(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  const std::vector<char> packed((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  // A gzip file ends with the size of what it holds.
  if (packed.size() < 18) throw std::runtime_error("cannot read " + file);
  std::uint32_t size;
  std::memcpy(&size, packed.data() + packed.size() - sizeof size, sizeof size);
  std::vector<std::uint8_t> bytes(size);
  const std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> unpacker(
      libdeflate_alloc_decompressor(), libdeflate_free_decompressor);
  std::size_t count = 0;
  if (libdeflate_gzip_decompress(unpacker.get(), packed.data(), packed.size(), bytes.data(), bytes.size(), &count) !=
          LIBDEFLATE_SUCCESS ||
      count < headerBytes)
    throw std::runtime_error("cannot read " + file);
  return bytes;
}

template <typename Value>
Value field(const std::vector<std::uint8_t>& bytes, std::size_t offset) {
  Value value;
  std::memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

/// The voxel of the image that a voxel of the grid shows, along one axis.
int shownBy(std::int64_t place, std::int64_t gridSize, std::int64_t imageSize) {
  return static_cast<int>(place * imageSize / gridSize);
}

}  // namespace

Brain::Brain(const std::string& file) {
  const std::vector<std::uint8_t> bytes = unpacked(file);
  std::size_t count = 1;
  for (int axis = 0; axis < 3; ++axis) {
    size_[axis] = field<std::int16_t>(bytes, 42 + 2 * static_cast<std::size_t>(axis));
    count *= static_cast<std::size_t>(std::max(0, size_[axis]));
  }
  const auto offset = static_cast<std::size_t>(field<float>(bytes, 108));
  constexpr std::int16_t unsignedBytes = 2;
  if (field<std::int16_t>(bytes, 70) != unsignedBytes || count == 0 || bytes.size() < offset + count)
    throw std::runtime_error(file + " is no image of bytes");
  voxels_.assign(bytes.begin() + static_cast<std::ptrdiff_t>(offset),
                 bytes.begin() + static_cast<std::ptrdiff_t>(offset + count));
}

std::uint8_t Brain::voxel(const int (&place)[3]) const {
  const auto row =
      static_cast<std::size_t>(place[2]) * static_cast<std::size_t>(size_[1]) + static_cast<std::size_t>(place[1]);
  return voxels_[row * static_cast<std::size_t>(size_[0]) + static_cast<std::size_t>(place[0])];
}

Brain::Voxels Brain::enlarged(int factor) const {
  Voxels large{{factor * size_[0], factor * size_[1], factor * size_[2]}, {}};
  large.values.reserve(voxels_.size() * static_cast<std::size_t>(factor * factor * factor));
  for (int z = 0; z < large.size[2]; ++z)
    for (int y = 0; y < large.size[1]; ++y)
      for (int x = 0; x < large.size[0]; ++x) large.values.push_back(voxel({x / factor, y / factor, z / factor}));
  return large;
}

/// The bits of a box, or nothing when all of them are alike.
struct Brain::Block {
  bool anySet = false, anyClear = false;
  hxvoxora::Ref<SoCpuBufferBitSet> bits;
};

Brain::Block Brain::blockAt(const SoVolumeMask& mask, const SbBox3i32& box, int threshold) const {
  const SbVec3i32 grid = mask.dataDimension();
  const SbVec3i32 &min = box.getMin(), &max = box.getMax();
  int from[3], to[3];
  for (int axis = 0; axis < 3; ++axis) {
    from[axis] = shownBy(min[axis], grid[axis], size_[axis]);
    to[axis] = shownBy(max[axis], grid[axis], size_[axis]);
  }
  Block block;
  for (int z = from[2]; z <= to[2]; ++z)
    for (int y = from[1]; y <= to[1]; ++y)
      for (int x = from[0]; x <= to[0]; ++x) (voxel({x, y, z}) > threshold ? block.anySet : block.anyClear) = true;
  if (!block.anySet || !block.anyClear) return block;

  block.bits = hxvoxora::makeRef<SoCpuBufferBitSet>();
  block.bits->setSize(static_cast<std::uint64_t>(box.size(0) * box.size(1) * box.size(2)));
  const auto sliceBits = static_cast<std::uint64_t>(box.size(0) * box.size(1));
  for (std::int32_t z = min[2]; z <= max[2]; ++z) {
    const std::uint64_t at = static_cast<std::uint64_t>(z - min[2]) * sliceBits;
    const int imageZ = shownBy(z, grid[2], size_[2]);
    if (z > min[2] && imageZ == shownBy(z - 1, grid[2], size_[2])) {
      hxvoxora::copyBits(block.bits->bytes(), at, block.bits->bytes(), at - sliceBits, sliceBits);
    } else {
      drawSlice(block.bits->bytes(), at, grid, box, imageZ, threshold);
    }
  }
  return block;
}

/// One slice of a box, from the bit `at` on.
void Brain::drawSlice(void* bits, std::uint64_t at, const SbVec3i32& grid, const SbBox3i32& box, int imageZ,
                      int threshold) const {
  const SbVec3i32 &min = box.getMin(), &max = box.getMax();
  const auto rowBits = static_cast<std::uint64_t>(box.size(0));
  for (std::int32_t y = min[1]; y <= max[1]; ++y, at += rowBits) {
    const int imageY = shownBy(y, grid[1], size_[1]);
    if (y > min[1] && imageY == shownBy(y - 1, grid[1], size_[1])) {
      hxvoxora::copyBits(bits, at, bits, at - rowBits, rowBits);
      continue;
    }
    for (std::int32_t x = min[0]; x <= max[0]; ++x)
      hxvoxora::fillBits(bits, at + static_cast<std::uint64_t>(x - min[0]), 1,
                         voxel({shownBy(x, grid[0], size_[0]), imageY, imageZ}) > threshold);
  }
}

void Brain::draw(SoVolumeMask& mask, int threshold) const {
  const SbVec3i32 grid = mask.dataDimension();
  const auto end = [&](int axis, std::int32_t first) { return std::min(first + blockEdge, grid[axis]) - 1; };
  for (std::int32_t z = 0; z < grid[2]; z += blockEdge) {
    const int transaction = mask.beginTransaction();
    for (std::int32_t y = 0; y < grid[1]; y += blockEdge) {
      for (std::int32_t x = 0; x < grid[0]; x += blockEdge) {
        const SbBox3i32 box({x, y, z}, {end(0, x), end(1, y), end(2, z)});
        const Block block = blockAt(mask, box, threshold);
        if (block.bits) {
          mask.replaceBox(box, block.bits.get());
        } else if (block.anySet) {
          mask.fillBox(box, 1);
        }
      }
    }
    mask.endTransaction(transaction);
  }
}

}  // namespace bench
