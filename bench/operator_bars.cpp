#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "bench/bare_loop.h"
#include "bench/bars.h"
#include "bench/contest.h"
#include "bench/operands.h"
#include "bench/traffic.h"

namespace bench {

namespace {

using hxvoxora::TruthTable;

constexpr int runs = 5;

/// What the peer may be undercut by: at most so many times its time.
struct PeerBars {
  double inPlace = 0, third = 0;
};

struct Operator {
  std::string name;
  TruthTable f = TruthTable::NotA;  ///< NotA stands for the inversion, which has one operand
  PeerBars peer;

  bool isInversion() const { return f == TruthTable::NotA; }

  void applyTo(SoVolumeMask& mask, const SoVolumeMask& other) const {
    if (isInversion()) return invert(mask);
    combine(mask, other, f);
  }
  void applyTo(PeerMask& mask, const PeerMask& other, const SbBox3i32& region) const {
    if (isInversion()) return mask.invert(region);
    mask.combine(other, f);
  }
};

/// The mask that a run changes; it is made anew by `prepare`, or by the run itself when the result goes into a third.
template <class Mask, class Copy, class Apply>
Entrant changing(std::string name, double bar, bool inPlace, Copy copy, Apply apply) {
  const auto mask = std::make_shared<std::unique_ptr<Mask>>();
  const auto make = [=] { *mask = std::make_unique<Mask>(copy()); };
  if (inPlace) return {std::move(name), bar, make, [=] { apply(**mask); }};
  return {std::move(name), bar, [=] { mask->reset(); },
          [=] {
            make();
            apply(**mask);
          }};
}

Entrant ourselves(const MaskPair& pair, const Operator& op, bool inPlace) {
  return changing<MaskRef>(
      "ours", 0, inPlace, [&pair, inPlace] { return inPlace ? deepCopy(pair.ours(0)) : sharedCopy(pair.ours(0)); },
      [&pair, op](MaskRef& mask) { op.applyTo(*mask, pair.ours(1)); });
}

Entrant peer(const MaskPair& pair, const Operator& op, bool inPlace) {
  const double bar = inPlace ? op.peer.inPlace : op.peer.third;
  const SbBox3i32 region = boxOf(pair.ours(0));
  return changing<PeerMask>(
      "OpenVDB", bar, inPlace, [&pair] { return PeerMask(pair.peer(0)); },
      [&pair, op, region](PeerMask& mask) { op.applyTo(mask, pair.peer(1), region); });
}

Entrant loop(std::string name, double bar, std::size_t bytes, const Operator& op, bool inPlace) {
  const auto arrays = std::make_shared<BareLoop>(bytes);
  if (op.isInversion())
    return {std::move(name), bar, nullptr, [=] { inPlace ? arrays->invertInPlace() : arrays->invertIntoThird(); }};
  return {std::move(name), bar, nullptr, [=] { inPlace ? arrays->combineInPlace() : arrays->combineIntoThird(); }};
}

std::size_t bytesToTouch(const MaskPair& pair, const Operator& op) {
  const hxvoxora::TileSnapshot a = pair.ours(0).snapshot(), b = pair.ours(1).snapshot();
  return op.isInversion() ? payloadBytes(a) : combinedBytes(a, b, op.f);
}

/// The figures mean something only when both hold the same voxels afterwards.
void requireSameResult(const MaskPair& pair, const Operator& op) {
  const MaskRef mine = sharedCopy(pair.ours(0));
  op.applyTo(*mine, pair.ours(1));
  PeerMask theirs(pair.peer(0));
  op.applyTo(theirs, pair.peer(1), boxOf(*mine));
  if (mine->countSetVoxels(boxOf(*mine)) != theirs.countSetVoxels() ||
      mine->computeBoundingBox(boxOf(*mine)) != theirs.boundingBox())
    throw std::runtime_error(op.name + ": the masks and the peer's differ");
}

Entrants againstPeer(const VolumeKind& kind, const Operator& op, bool inPlace) {
  const MaskPair& pair = MaskPair::of(kind);
  requireSameResult(pair, op);
  return {ourselves(pair, op, inPlace), peer(pair, op, inPlace)};
}

Entrants againstLoops(const VolumeKind& kind, const Operator& op, bool inPlace) {
  const MaskPair& pair = MaskPair::of(kind);
  const std::size_t whole = static_cast<std::size_t>(kind.size[0]) * static_cast<std::size_t>(kind.size[1]) *
                            static_cast<std::size_t>(kind.size[2]) / 8;
  const std::size_t touched = bytesToTouch(pair, op);
  Entrants entrants{ourselves(pair, op, inPlace), loop("loop over the tiles with bits", 1.5, touched, op, inPlace)};
  // Where every tile has bits both loops are the same.
  if (touched < whole) entrants.push_back(loop("loop over the whole grid", 1, whole, op, inPlace));
  return entrants;
}

void addKind(const VolumeKind& kind, Against against, const std::vector<Operator>& operators) {
  const auto entrants = against == Against::Peer ? againstPeer : againstLoops;
  for (const Operator& op : operators)
    for (const bool inPlace : {true, false})
      addContest(op.name + (inPlace ? ", in place" : ", into a third"), kind.name, against, runs,
                 [&kind, op, inPlace, entrants] { return entrants(kind, op, inPlace); });
}

}  // namespace

void addOperatorBars(Against against) {
  const PeerBars plain{0.6, 0.8}, exclusive{0.25, 0.25}, inversion{0.5, 0.5}, noise{0.35, 0.35};
  addKind(largeBalls(), against,
          {{"or", TruthTable::Or, plain},
           {"and", TruthTable::And, plain},
           {"minus", TruthTable::AndNot, plain},
           {"xor", TruthTable::Xor, exclusive},
           {"invert", TruthTable::NotA, inversion}});
  addKind(largeNoise(), against,
          {{"or", TruthTable::Or, noise},
           {"and", TruthTable::And, noise},
           {"minus", TruthTable::AndNot, noise},
           {"xor", TruthTable::Xor, noise},
           {"invert", TruthTable::NotA, noise}});
}

}  // namespace bench
