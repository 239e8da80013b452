#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstring>
#include <malloc.h>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "bench/codec.h"
#include "bench/limits.h"
#include "bench/measure.h"
#include "bench/traffic.h"
#include "bench/volumes.h"
#include "quarn/voxora/bits/BitKernels.h"
#include "quarn/voxora/nodes/SoCpuBufferBitSet.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

/// The engine of tiled one-bit volumes, and the limits of the machine as operations of their own.

namespace {

using bench::Limit;
using bench::PackedVolume;
using bench::VolumeKind;
using bench::Workers;
using benchmark::State;
using hxvoxora::makeRef;
using hxvoxora::Ref;
using hxvoxora::TruthTable;

constexpr SbVec3i32 tileSize(64, 64, 64);
constexpr std::size_t mebibyte = std::size_t{1} << 20;

/// Runs `edit` as one transaction.
template <class Edit>
void edited(SoVolumeMask& mask, Edit edit) {
  const int transaction = mask.beginTransaction();
  edit();
  mask.endTransaction(transaction);
}

SbBox3i32 boxOf(const SoVolumeMask& mask) {
  const SbVec3i32 size = mask.dataDimension();
  return {{0, 0, 0}, {size[0] - 1, size[1] - 1, size[2] - 1}};
}

Ref<SoVolumeMask> emptyMask(const SbVec3i32& size) {
  auto mask = makeRef<SoVolumeMask>();
  mask->initializeInMemory(size, tileSize);
  return mask;
}

/// The two operands of a kind of volume, as buffers and as masks. Nobody changes them.
struct Operands {
  explicit Operands(const VolumeKind& kind) {
    for (std::uint64_t i = 0; i < 2; ++i) {
      const PackedVolume volume = kind.draw(kind.size, 1 + i);
      buffers[i] = makeRef<SoCpuBufferBitSet>();
      buffers[i]->setSize(8 * volume.bits.size());
      std::memcpy(buffers[i]->bytes(), volume.bits.data(), volume.bits.size());
      masks[i] = emptyMask(kind.size);
      edited(*masks[i], [&] { masks[i]->replaceBox(volume.box(), buffers[i].get()); });
    }
  }

  /// A mask of one's own with the tiles of the first operand.
  Ref<SoVolumeMask> copyOfFirst() const {
    auto copy = emptyMask(masks[0]->dataDimension());
    edited(*copy, [&] { copy->combineBox(boxOf(*copy), *masks[0], TruthTable::CopyB); });
    return copy;
  }

  Ref<SoCpuBufferBitSet> buffers[2];
  Ref<SoVolumeMask> masks[2];
};

const Operands& operandsOf(const VolumeKind& kind) {
  static std::map<std::string, Operands> drawn;
  return drawn.try_emplace(kind.name, kind).first->second;
}

// --- The machine ------------------------------------------------------------------------------------------------

void addLimits() {
  const auto addLimit = [](const char* name, const std::string& data, std::function<Limit()> limit) {
    bench::add(name, data, 1, [limit](State& state) {
      for (auto _ : state) {
        const Limit measured = limit();
        state.SetIterationTime(measured.seconds);
        state.SetLabel(measured.text);
      }
    });
  };
  addLimit("machine: read", "256 MiB", [] { return bench::read(256 * mebibyte); });
  addLimit("machine: copy", "256 MiB", [] { return bench::copy(256 * mebibyte); });
  addLimit("machine: combine", "256 MiB", [] { return bench::combine(256 * mebibyte); });
  addLimit("machine: file write", "64 MiB",
           [] { return bench::writeFiles(bench::ScratchFolder().path(), {64 * mebibyte}); });
  addLimit("machine: file read", "64 MiB",
           [] { return bench::readFiles(bench::ScratchFolder().path(), {64 * mebibyte}); });
}

// --- Bit kernels, one thread ------------------------------------------------------------------------------------

/// Two arrays of bits: as large as a tile, which stays in the cache, or as a mask of 512^3 voxels.
struct BitArrays {
  explicit BitArrays(std::size_t bytes)
      : target(bytes + 8, 0x0f), source(bytes + 8, 0x3c), zeros(bytes + 8), bits(8 * bytes) {}
  std::vector<std::uint8_t> target, source, zeros;
  std::uint64_t bits;
};

/// Registers a kernel run(arrays) on both sizes.
template <class Run>
void addKernel(const char* name, Limit (*limit)(std::size_t, Workers), Run run) {
  for (const auto& [data, bytes] : {std::pair("32 KiB", std::size_t{1} << 15), std::pair("16 MiB", 16 * mebibyte)}) {
    bench::add(name, data, bytes < mebibyte ? 2000 : 10, [=](State& state) {
      BitArrays arrays(bytes);
      bench::timeRuns(state, limit(bytes, Workers::One), [&] {
        run(arrays);
        benchmark::ClobberMemory();
      });
    });
  }
}

void addKernels() {
  using namespace hxvoxora;
  addKernel("bits: copy, whole bytes", bench::copy,
            [](BitArrays& a) { copyBits(a.target.data(), 8, a.source.data(), 0, a.bits); });
  addKernel("bits: copy, shifted", bench::copy,
            [](BitArrays& a) { copyBits(a.target.data(), 3, a.source.data(), 0, a.bits); });
  addKernel("bits: fill", bench::fill, [](BitArrays& a) { fillBits(a.target.data(), 3, a.bits, true); });
  addKernel("bits: combine, whole bytes", bench::combine,
            [](BitArrays& a) { combineBits(a.target.data(), 8, a.source.data(), 0, a.bits, TruthTable::Xor); });
  addKernel("bits: combine, shifted", bench::combine,
            [](BitArrays& a) { combineBits(a.target.data(), 3, a.source.data(), 0, a.bits, TruthTable::Xor); });
  addKernel("bits: count", bench::read,
            [](BitArrays& a) { benchmark::DoNotOptimize(countBits(a.source.data(), 0, a.bits)); });
  addKernel("bits: find in zeros", bench::read,
            [](BitArrays& a) { benchmark::DoNotOptimize(findFirstSet(a.zeros.data(), 0, a.bits)); });
}

// --- Masks ------------------------------------------------------------------------------------------------------

void addOperators(const VolumeKind& kind) {
  const std::pair<const char*, TruthTable> operators[] = {{"mask: or", TruthTable::Or},
                                                          {"mask: and", TruthTable::And},
                                                          {"mask: and not", TruthTable::AndNot},
                                                          {"mask: xor", TruthTable::Xor}};
  for (const auto& [name, f] : operators) {
    bench::add(name, kind.name, 20, [&kind, f = f](State& state) {
      const Operands& operands = operandsOf(kind);
      const SoVolumeMask& other = *operands.masks[1];
      Ref<SoVolumeMask> mask;
      bench::timeRuns(
          state, bench::combineLimit(operands.masks[0]->snapshot(), other.snapshot(), f),
          [&] { mask = operands.copyOfFirst(); },
          [&] { edited(*mask, [&] { mask->combineBox(boxOf(*mask), other, f); }); });
    });
  }
  bench::add("mask: invert", kind.name, 20, [&kind](State& state) {
    const Operands& operands = operandsOf(kind);
    Ref<SoVolumeMask> mask;
    bench::timeRuns(
        state, bench::copy(bench::payloadBytes(operands.masks[0]->snapshot())), [&] { mask = operands.copyOfFirst(); },
        [&] { edited(*mask, [&] { mask->invertBox(boxOf(*mask)); }); });
  });
}

void addQueries(const VolumeKind& kind) {
  bench::add("mask: bounding box", kind.name, 20, [&kind](State& state) {
    const SoVolumeMask& mask = *operandsOf(kind).masks[0];
    bench::timeRuns(state, bench::read(bench::payloadBytes(mask.snapshot())),
                    [&] { benchmark::DoNotOptimize(mask.computeBoundingBox(boxOf(mask))); });
  });
  bench::add("mask: count voxels", kind.name, 20, [&kind](State& state) {
    const SoVolumeMask& mask = *operandsOf(kind).masks[0];
    bench::timeRuns(state, bench::read(bench::payloadBytes(mask.snapshot())),
                    [&] { benchmark::DoNotOptimize(mask.countSetVoxels(boxOf(mask))); });
  });
}

void addBoxes(const VolumeKind& kind) {
  bench::add("mask: fetch all", kind.name, 20, [&kind](State& state) {
    const Operands& operands = operandsOf(kind);
    const SoVolumeMask& mask = *operands.masks[0];
    const auto buffer = makeRef<SoCpuBufferBitSet>();
    buffer->setSize(operands.buffers[0]->getSize());
    bench::timeRuns(state, bench::fetchLimit(mask.snapshot()),
                    [&] { mask.getLdmDataAccess().getData(0, boxOf(mask), buffer.get()); });
  });
  bench::add("mask: replace all", kind.name, 20, [&kind](State& state) {
    const Operands& operands = operandsOf(kind);
    Ref<SoVolumeMask> mask;
    bench::timeRuns(
        state, bench::replaceLimit(operands.masks[0]->snapshot()), [&] { mask = emptyMask(kind.size); },
        [&] { edited(*mask, [&] { mask->replaceBox(boxOf(*mask), operands.buffers[0].get()); }); });
  });
}

/// A box that fits neither tiles nor bytes.
void addOddBoxes(const VolumeKind& kind) {
  const SbBox3i32 box({5, 7, 3}, {503, 506, 502});
  const auto bytes = static_cast<std::size_t>(box.size(0) * box.size(1) * box.size(2) / 8);
  bench::add("mask: fetch a shifted box", kind.name, 20, [=, &kind](State& state) {
    const SoVolumeMask& mask = *operandsOf(kind).masks[0];
    const auto buffer = makeRef<SoCpuBufferBitSet>();
    buffer->setSize(8 * bytes + 8);
    bench::timeRuns(state, bench::copy(bytes), [&] { mask.getLdmDataAccess().getData(0, box, buffer.get()); });
  });
  bench::add("mask: replace a shifted box", kind.name, 20, [=, &kind](State& state) {
    const Operands& operands = operandsOf(kind);
    Ref<SoVolumeMask> mask;
    bench::timeRuns(
        state, bench::copy(bytes), [&] { mask = operands.copyOfFirst(); },
        [&] { edited(*mask, [&] { mask->replaceBox(box, operands.buffers[1].get()); }); });
  });
}

// --- Files ------------------------------------------------------------------------------------------------------

/// Saves the first operand into an empty folder and returns the sizes of the files.
std::vector<std::size_t> savedSizes(const Operands& operands, const std::vector<std::string>& parameters) {
  const bench::ScratchFolder folder;
  operands.copyOfFirst()->saveEditing(folder.path("mask.ldm"), false, parameters);
  return bench::fileSizesBelow(folder.path());
}

/// A form of the files: with codec or without.
struct FileForm {
  const char* name;
  std::vector<std::string> parameters;
};

void addSave(const VolumeKind& kind, const FileForm& form) {
  bench::add("mask: save, " + std::string(form.name), kind.name, 3, [&kind, form](State& state) {
    const Operands& operands = operandsOf(kind);
    const bench::ScratchFolder folder;
    Limit limit = bench::writeFiles(folder.path(), savedSizes(operands, form.parameters));
    if (!form.parameters.empty()) limit = bench::compress(operands.masks[0]->snapshot()) + limit;
    Ref<SoVolumeMask> mask;
    int name = 0;
    bench::timeRuns(
        state, limit, [&] { mask = operands.copyOfFirst(); },
        [&] { mask->saveEditing(folder.path(std::to_string(++name) + ".ldm"), false, form.parameters); });
  });
}

void addLoad(const VolumeKind& kind, const FileForm& form) {
  bench::add("mask: load and count, " + std::string(form.name), kind.name, 10, [&kind, form](State& state) {
    const Operands& operands = operandsOf(kind);
    const bench::ScratchFolder folder;
    Limit limit = bench::readFiles(folder.path(), savedSizes(operands, form.parameters));
    const hxvoxora::TileSnapshot content = operands.masks[0]->snapshot();
    if (!form.parameters.empty()) limit = limit + bench::decompress(content);
    limit = limit + bench::read(bench::payloadBytes(content));
    const std::string file = folder.path("mask.ldm");
    operands.copyOfFirst()->saveEditing(file, false, form.parameters);
    Ref<SoVolumeMask> mask;
    bench::timeRuns(
        state, limit, [&] { mask = makeRef<SoVolumeMask>(); },
        [&] {
          mask->setFileName(file);
          benchmark::DoNotOptimize(mask->countSetVoxels(boxOf(*mask)));
        });
  });
}

// --- Costs beside the voxels ------------------------------------------------------------------------------------

/// An edit of one tile in a large volume with many tiles.
void addCommit() {
  bench::add("mask: transaction of one tile", "noise in 4096^3", 500, [](State& state) {
    const auto mask = emptyMask({4096, 4096, 4096});
    const auto buffer = makeRef<SoCpuBufferBitSet>();
    const PackedVolume tile = bench::noise(tileSize, 3);
    buffer->setSize(8 * tile.bits.size());
    std::memcpy(buffer->bytes(), tile.bits.data(), tile.bits.size());
    const auto replaceTile = [&](int number) {
      const int x = number % 64 * 64, y = number / 64 % 64 * 64;
      edited(*mask, [&] { mask->replaceBox(SbBox3i32({x, y, 2048}, {x + 63, y + 63, 2111}), buffer.get()); });
    };
    for (int i = 0; i < 4096; ++i) replaceTile(i);
    int number = 0;
    bench::timeRuns(state, bench::copy(tile.bits.size(), Workers::One), [&] { replaceTile(number++ * 17); });
  });
}

void addEmptyMasks() {
  bench::add("mask: 100 empty ones", "4096^3", 3, [](State& state) {
    std::vector<Ref<SoVolumeMask>> masks;
    std::size_t before = 0, bytes = 0;
    bench::timeRuns(
        state, bench::goal(0.1),
        [&] {
          masks.clear();
          before = ::mallinfo2().uordblks;
        },
        [&] {
          for (int i = 0; i < 100; ++i) masks.push_back(emptyMask({4096, 4096, 4096}));
          bytes = ::mallinfo2().uordblks - before;
        });
    char text[64];
    std::snprintf(text, sizeof text, "goal, and %.1f of 64 MiB", static_cast<double>(bytes) / mebibyte);
    state.SetLabel(text);
  });
}

void addAll() {
  addLimits();
  addKernels();
  for (const VolumeKind& kind : bench::volumeKinds()) addOperators(kind);
  for (const VolumeKind& kind : bench::volumeKinds()) addQueries(kind);
  for (const VolumeKind& kind : bench::volumeKinds()) addBoxes(kind);
  const VolumeKind& bodies = bench::volumeKinds()[0];
  const VolumeKind& noise = bench::volumeKinds()[2];
  addOddBoxes(noise);
  const FileForm gzip{"gzip", {"-c", "gzip"}}, stored{"stored", {}};
  for (const auto& [kind, form] : {std::pair(&bodies, gzip), std::pair(&noise, gzip), std::pair(&noise, stored)}) {
    addSave(*kind, form);
    addLoad(*kind, form);
  }
  addCommit();
  addEmptyMasks();
}

}  // namespace

int main(int argc, char** argv) {
  addAll();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
