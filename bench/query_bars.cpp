#include <memory>

#include "bench/bars.h"
#include "bench/contest.h"
#include "bench/operands.h"

/// Questions to a mask, and operators that have nothing to do.

namespace bench {

namespace {

using hxvoxora::TruthTable;

constexpr int runs = 21;

void addBoundingBox(const VolumeKind& kind) {
  addContest("exact bounding box", kind.name, Against::Peer, runs, [&kind] {
    const MaskPair& pair = MaskPair::of(kind);
    const SoVolumeMask& mask = pair.ours(0);
    const PeerMask& peer = pair.peer(0);
    return Entrants{
        {"ours", 0, nullptr, [&mask] { benchmark::DoNotOptimize(mask.computeBoundingBox(boxOf(mask))); }, 0},
        {"OpenVDB", 1, nullptr, [&peer] { benchmark::DoNotOptimize(peer.boundingBox()); }, 0}};
  });
}

}  // namespace

void addBoundingBoxBars() {
  addBoundingBox(largeBalls());
  addBoundingBox(largeNoise());
}

void addConstantBars() {
  addContest("or and invert of constants", "4096^3", Against::Loops, runs, [] {
    const MaskRef mask = emptyMask({4096, 4096, 4096}), other = emptyMask({4096, 4096, 4096});
    edited(*other, [&] { other->fillBox(boxOf(*other), 1); });
    const auto run = [mask, other] {
      combine(*mask, *other, TruthTable::Or);
      invert(*mask);
    };
    return Entrants{{"ours", 0, nullptr, run, 0}, {"goal", 1, nullptr, nullptr, 20e-6}};
  });
}

}  // namespace bench
