#include "roitools/exchange/sharedVoxels.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>
#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_reduce.h>

#include "hxroi/details/boxes.h"

namespace roitools {

using hxvoxora::TileSnapshot;

namespace {

std::uint64_t countCommonBits(const std::byte* a, const std::byte* b, std::size_t bytes) {
  std::uint64_t count = 0;
  for (std::size_t i = 0; i < bytes; i += sizeof(std::uint64_t)) {
    std::uint64_t wordOfA = 0, wordOfB = 0;
    std::memcpy(&wordOfA, a + i, sizeof wordOfA);
    std::memcpy(&wordOfB, b + i, sizeof wordOfB);
    count += static_cast<std::uint64_t>(std::popcount(wordOfA & wordOfB));
  }
  return count;
}

std::uint64_t countInBox(const TileSnapshot& a, const TileSnapshot& b, const SbBox3i32& box) {
  const auto bits = static_cast<std::size_t>(box.size(0) * box.size(1) * box.size(2));
  std::vector<std::byte> bitsOfA((bits + 63) / 64 * 8), bitsOfB(bitsOfA.size());
  a.fetch(box, bitsOfA.data());
  b.fetch(box, bitsOfB.data());
  return countCommonBits(bitsOfA.data(), bitsOfB.data(), bitsOfA.size());
}

std::uint64_t countInTile(const TileSnapshot& a, const TileSnapshot& b, std::int64_t tile) {
  using Kind = TileSnapshot::Kind;
  const SbBox3i32 box = a.tileBox(tile);
  const Kind kindOfA = a.kind(tile);
  if (kindOfA == Kind::Zero) return 0;
  if (kindOfA == Kind::One) return b.countSetVoxels(box);
  if (!(a.grid() == b.grid())) return countInBox(a, b, box);
  const Kind kindOfB = b.kind(tile);
  if (kindOfB == Kind::Zero) return 0;
  if (kindOfB == Kind::One) return a.countSetVoxels(box);
  // Bits beyond the end of the volume are clear.
  const auto payloadOfA = a.payload(tile);
  const auto payloadOfB = b.payload(tile);
  return countCommonBits(payloadOfA->bits(), payloadOfB->bits(), payloadOfA->byteSize());
}

}  // namespace

std::uint64_t countSharedVoxels(const MaskContent& a, const MaskContent& b) {
  const McBox3i box = hxroi::intersection(a.box, b.box);
  if (box.isEmpty()) return 0;
  const SbBox3i32 common(SbVec3i32(box[0], box[2], box[4]), SbVec3i32(box[1], box[3], box[5]));
  const auto tiles = a.voxels.grid().tilesOf(common);
  return tbb::parallel_reduce(
      tbb::blocked_range<std::int64_t>(0, tiles.size()), std::uint64_t{0},
      [&](const tbb::blocked_range<std::int64_t>& range, std::uint64_t sum) {
        for (std::int64_t i = range.begin(); i != range.end(); ++i) sum += countInTile(a.voxels, b.voxels, tiles[i]);
        return sum;
      },
      std::plus<>());
}

std::vector<int> assignLayers(const std::vector<MaskContent>& contents, const std::function<bool(double)>& goOn) {
  std::vector<int> layers;
  std::vector<std::vector<const MaskContent*>> members;
  for (const MaskContent& content : contents) {
    if (goOn && !goOn(static_cast<double>(layers.size()) / static_cast<double>(contents.size()))) return {};
    const auto hasRoom = [&](const auto& layer) {
      return std::ranges::none_of(layer, [&](const MaskContent* m) { return countSharedVoxels(*m, content) > 0; });
    };
    const auto layer = std::ranges::find_if(members, hasRoom);
    layers.push_back(static_cast<int>(layer - members.begin()));
    if (layer == members.end()) {
      members.push_back({&content});
    } else {
      layer->push_back(&content);
    }
  }
  return layers;
}

}  // namespace roitools
