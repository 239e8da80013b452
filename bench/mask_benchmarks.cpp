#include <benchmark/benchmark.h>
#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bench/fillMask.h"
#include "bench/hxroi_bench.h"
#include "bench/limits.h"
#include "bench/measure.h"
#include "bench/traffic.h"
#include "bench/volumes.h"
#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McHandle.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace bench {

namespace {

using benchmark::State;
using hxroi::AccessMode;
using hxroi::details::BoxProxy;
using hxroi::details::Mask;
using hxvoxora::TruthTable;

McHandle<Mask> emptyMask(const VolumeKind& kind, const char* name) {
  const McVec3i size(kind.size[0], kind.size[1], kind.size[2]);
  return new Mask(name, size, false, McColor(1, 0.5F, 0), nullptr);
}

/// The two operands of a kind of volume, their exact boxes known. Nobody changes them.
struct Operands {
  explicit Operands(const VolumeKind& kind) {
    for (std::uint64_t i = 0; i < 2; ++i) {
      volumes.push_back(kind.draw(kind.size, 1 + i));
      masks[i] = emptyMask(kind, i == 0 ? "First" : "Second");
      fillMask(*masks[i], volumes[i]);
      masks[i]->getBoundingBox();
    }
  }

  hxvoxora::TileSnapshot content(int i) const { return masks[i]->volumeMask()->snapshot(); }

  std::vector<PackedVolume> volumes;
  McHandle<Mask> masks[2];
};

Operands& operandsOf(const VolumeKind& kind) {
  static auto& drawn = *new std::map<std::string, Operands>;  // masks must not outlive what main() made
  return drawn.try_emplace(kind.name, kind).first->second;
}

/// Times change(mask) on a mask with the voxels and boxes of the first operand.
template <class Change>
void timeChanges(State& state, const VolumeKind& kind, const Limit& limit, Change change) {
  const Operands& operands = operandsOf(kind);
  const McHandle<Mask> mask = emptyMask(kind, "Changed");
  timeRuns(
      state, limit, [&] { mask->store(*operands.masks[0]); }, [&] { change(*mask); });
}

void addOperators(const VolumeKind& kind) {
  using Operator = Mask& (Mask::*)(const Mask&);
  struct Entry {
    const char* name;
    Operator call;
    TruthTable f;
  };
  const Entry operators[] = {{"Mask: |=", &Mask::operator|=, TruthTable::Or},
                             {"Mask: &=", &Mask::operator&=, TruthTable::And},
                             {"Mask: -=", &Mask::operator-=, TruthTable::AndNot},
                             {"Mask: ^=", &Mask::operator^=, TruthTable::Xor}};
  for (const Entry& entry : operators) {
    add(entry.name, kind.name, 20, [&kind, entry](State& state) {
      const Operands& operands = operandsOf(kind);
      timeChanges(state, kind, combineLimit(operands.content(0), operands.content(1), entry.f),
                  [&](Mask& mask) { (mask.*entry.call)(*operands.masks[1]); });
    });
  }
  add("Mask: negate", kind.name, 20, [&kind](State& state) {
    timeChanges(state, kind, copy(payloadBytes(operandsOf(kind).content(0))), [](Mask& mask) { mask.negate(); });
  });
}

void addBoundingBox(const VolumeKind& kind) {
  add("Mask: getBoundingBox", kind.name, 20, [&kind](State& state) {
    Mask& mask = *operandsOf(kind).masks[0];
    timeRuns(
        state, read(payloadBytes(mask.volumeMask()->snapshot())), [&] { mask.touch(8); },
        [&] { mask.getBoundingBox(); });
  });
}

// --- Views ------------------------------------------------------------------------------------------------------

void addViews(const VolumeKind& kind) {
  add("view: fetch all", kind.name, 10, [&kind](State& state) {
    const Operands& operands = operandsOf(kind);
    timeRuns(state, fetchLimit(operands.content(0)),
             [&] { benchmark::DoNotOptimize(operands.masks[0]->getConstBox().bits()); });
  });
  add("view: write all", kind.name, 10, [&kind](State& state) {
    const Operands& operands = operandsOf(kind);
    const PackedVolume& volume = operands.volumes[0];
    const McHandle<Mask> mask = emptyMask(kind, "Written");
    std::optional<BoxProxy> view;
    timeRuns(
        state, replaceLimit(operands.content(0)),
        [&] {
          *mask = false;
          view.emplace(mask->getBox({0, 0, 0}, mask->dimensions(), AccessMode::WriteOnly));
          std::memcpy(view->bits(), volume.bits.data(), volume.bits.size());
        },
        [&] { view.reset(); });
  });
}

/// Calls visit(origin, size) for cubes of 64 voxels that fill the mask.
template <class Visit>
void forCubes(const Mask& mask, Visit visit) {
  const McVec3i& n = mask.dimensions();
  for (int z = 0; z < n.z; z += 64)
    for (int y = 0; y < n.y; y += 64)
      for (int x = 0; x < n.x; x += 64) visit(McVec3i(x, y, z), McVec3i(64, 64, 64));
}

void addSmallViews(const VolumeKind& kind) {
  const std::size_t bytes = PackedVolume(kind.size).bits.size();
  add("view: fetch 512 cubes", kind.name, 5, [=, &kind](State& state) {
    const Mask& mask = *operandsOf(kind).masks[0];
    timeRuns(state, copy(bytes, Workers::One), [&] {
      forCubes(mask, [&](const McVec3i& origin, const McVec3i& size) {
        benchmark::DoNotOptimize(mask.getConstBox(origin, size).bits());
      });
    });
  });
  add("view: edit 512 cubes", kind.name, 5, [=, &kind](State& state) {
    timeChanges(state, kind, copy(bytes, Workers::One) + copy(bytes, Workers::One), [](Mask& mask) {
      forCubes(mask, [&](const McVec3i& origin, const McVec3i& size) {
        BoxProxy view = mask.getBox(origin, size, AccessMode::ReadWrite);
        view(1, 1, 1) = true;
      });
    });
  });
}

/// A functor of which only its result on single voxels is known.
struct PlainXor {
  bool operator()(bool a, bool b) const { return a != b; }
};

/// Registers a pass run(view, other) on views whose buffers are there already.
template <class Run>
void addPass(const char* name, const VolumeKind& kind, int runs, Run run) {
  add(name, kind.name, runs, [&kind, run](State& state) {
    const Operands& operands = operandsOf(kind);
    const McHandle<Mask> mask = emptyMask(kind, "Changed");
    mask->store(*operands.masks[0]);
    BoxProxy view = mask->getBox(AccessMode::ReadWrite);
    const BoxProxy other = operands.masks[1]->getConstBox();
    timeRuns(state, combine(operands.volumes[0].bits.size()), [&] { run(view, other); });
  });
}

void addPasses(const VolumeKind& large, const VolumeKind& small) {
  addPass("view: transform", large, 10,
          [](BoxProxy& view, const BoxProxy& other) { view.transform<std::not_equal_to<bool>>(other); });
  addPass("view: transform, shifted by 3", large, 10, [](BoxProxy& view, const BoxProxy& other) {
    const McVec3i size(view.size().x - 3, view.size().y, view.size().z);
    view.getBox(McVec3i(3, 0, 0), size).transform<std::not_equal_to<bool>>(other.getBox(McVec3i(0, 0, 0), size));
  });
  addPass("view: transform by a plain functor", small, 3,
          [](BoxProxy& view, const BoxProxy& other) { view.transform<PlainXor>(other); });
}

}  // namespace

void addMaskBenchmarks() {
  const std::vector<VolumeKind>& kinds = volumeKinds();
  for (const VolumeKind& kind : kinds) addOperators(kind);
  for (const VolumeKind& kind : kinds) addBoundingBox(kind);
  for (const VolumeKind& kind : kinds) addViews(kind);
  addSmallViews(kinds[2]);
  addPasses(kinds[2], kinds[3]);
}

}  // namespace bench
