#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/bars.h"
#include "bench/contest.h"
#include "bench/operands.h"
#include "quarn/voxora/nodes/SoCpuBufferBitSet.h"

/// Boxes of 200^3 voxels, fetched and written back, beside the copy of as many bytes.

namespace bench {

namespace {

using hxvoxora::makeRef;
using hxvoxora::Ref;

constexpr int edge = 200;
constexpr std::size_t boxBytes = std::size_t{edge} * edge * edge / 8;
constexpr int runs = 5;

SbBox3i32 boxAt(int x, int y, int z) {
  return {{x, y, z}, {x + edge - 1, y + edge - 1, z + edge - 1}};
}

/// Boxes that begin with a tile.
std::vector<SbBox3i32> alignedBoxes() {
  std::vector<SbBox3i32> boxes;
  for (int i = 0; i < 32; ++i) boxes.push_back(boxAt(i % 2 * 256, i / 2 % 2 * 256, i / 4 % 2 * 256));
  return boxes;
}

/// Boxes at every odd offset in x; y and z fit no tile either.
std::vector<SbBox3i32> oddBoxes() {
  std::vector<SbBox3i32> boxes;
  for (int i = 0; i < 32; ++i) boxes.push_back(boxAt(2 * i + 1, i % 2 * 256 + 5, i / 2 % 2 * 256 + 3));
  return boxes;
}

/// The same bytes by the library's copy, from all over an array as large as the mask.
Entrant copies(std::size_t count, double bar) {
  const auto from = std::make_shared<std::vector<char>>(std::size_t{16} << 20, 1);
  const auto to = std::make_shared<std::vector<char>>(boxBytes, 2);
  return {"memcpy", bar, nullptr, [=] {
            for (std::size_t i = 0; i < count; ++i) {
              std::memcpy(to->data(), from->data() + i * 37 % 16 * boxBytes, boxBytes);
              benchmark::ClobberMemory();
            }
          }};
}

Ref<SoCpuBufferBitSet> boxBuffer() {
  auto buffer = makeRef<SoCpuBufferBitSet>();
  buffer->setSize(8 * boxBytes);
  const PackedVolume content = noise({edge, edge, edge}, 5);
  std::memcpy(buffer->bytes(), content.bits.data(), boxBytes);
  return buffer;
}

void addBoxes(const std::string& where, std::vector<SbBox3i32> (*makeBoxes)(), double bar) {
  const VolumeKind& kind = largeNoise();
  addContest("fetch 32 boxes of 200^3, " + where, kind.name, Against::Loops, runs, [=, &kind] {
    const SoVolumeMask& mask = MaskPair::of(kind).ours(0);
    const auto run = [&mask, boxes = makeBoxes(), buffer = boxBuffer()] {
      for (const SbBox3i32& box : boxes) mask.getLdmDataAccess().getData(0, box, buffer.get());
    };
    return Entrants{{"ours", 0, nullptr, run, 0}, copies(makeBoxes().size(), bar)};
  });
  addContest("write back 32 boxes of 200^3, " + where, kind.name, Against::Loops, runs, [=, &kind] {
    const auto mask = std::make_shared<MaskRef>();
    const auto prepare = [mask, &kind] { *mask = deepCopy(MaskPair::of(kind).ours(0)); };
    const auto run = [mask, boxes = makeBoxes(), buffer = boxBuffer()] {
      for (const SbBox3i32& box : boxes) edited(**mask, [&] { (*mask)->replaceBox(box, buffer.get()); });
    };
    return Entrants{{"ours", 0, prepare, run, 0}, copies(makeBoxes().size(), bar)};
  });
}

}  // namespace

void addBoxBars() {
  addBoxes("at tiles", alignedBoxes, 2);
  addBoxes("at odd offsets", oddBoxes, 4);
}

}  // namespace bench
