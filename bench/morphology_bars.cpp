#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/bars.h"
#include "bench/contest.h"
#include "bench/operands.h"
#include "bench/peer_itk_morphology.h"
#include "bench/peer_scipy.h"

/// Dilation and erosion.

namespace bench {

namespace {

using hxvoxora::TruthTable;

/// A mask that is made when it is first asked for, and never changed, with the same of the peer.
struct Subject {
  std::string name;
  double bar;  ///< of the peer's time
  std::function<MaskRef()> make;

  struct Made {
    MaskRef ours;
    std::unique_ptr<const PeerMask> peer;
  };

  const Made& made() const {
    static auto& all = *new std::map<std::string, Made>;
    Made& mine = all[name];
    if (!mine.ours) {
      mine.ours = make();
      mine.peer = std::make_unique<const PeerMask>(mine.ours->snapshot());
    }
    return mine;
  }
};

const std::vector<Subject>& subjects() {
  static const std::vector<Subject> all{{"100 bodies 512^3", 0.35,
                                         [] {
                                           return maskOf(solidBodies({512, 512, 512}, 1));
                                         }},
                                        {"200 balls 1024^3", 0.1,
                                         [] {
                                           return maskOf(wideBalls({1024, 1024, 1024}, 1));
                                         }},
                                        {"brain 724x868x724", 0.1, enlargedBrain},
                                        {"noise 512^3", 0.1, [] {
                                           return maskOf(noise({512, 512, 512}, 1));
                                         }}};
  return all;
}

struct Growing {
  bool isErosion = false;
  int iterations = 1;

  std::string name() const { return (isErosion ? "erode by " : "dilate by ") + std::to_string(iterations); }

  void applyTo(SoVolumeMask& mask) const {
    const auto n = static_cast<std::uint64_t>(iterations);
    edited(mask, [&] { isErosion ? mask.erode(n) : mask.dilate(n); });
  }
};

Entrant ourselves(const Subject& subject, const Growing& growing) {
  const auto mask = std::make_shared<MaskRef>();
  return {"ours", 0, [=, &subject] { *mask = sharedCopy(*subject.made().ours); }, [=] { growing.applyTo(**mask); }, 0};
}

Entrant peer(const std::string& name, const Subject& subject, const Growing& growing, PeerMask::Nodes nodes) {
  const auto mask = std::make_shared<std::unique_ptr<PeerMask>>();
  return {name, subject.bar, [=, &subject] { *mask = std::make_unique<PeerMask>(*subject.made().peer); },
          [=] { (*mask)->grow(growing.iterations, growing.isErosion, nodes); }, 0};
}

MaskRef result(const Subject& subject, const Growing& growing) {
  MaskRef mask = sharedCopy(*subject.made().ours);
  growing.applyTo(*mask);
  return mask;
}

/// The peer's volumes have no end: what it grows over the end of ours does not count.
void requireSameAsPeer(const Subject& subject, const Growing& growing, PeerMask::Nodes nodes) {
  const MaskRef ours = result(subject, growing);
  PeerMask theirs(*subject.made().peer), volume(emptyMask(ours->dataDimension())->snapshot());
  theirs.grow(growing.iterations, growing.isErosion, nodes);
  volume.invert(boxOf(*ours));
  theirs.combine(volume, TruthTable::And);
  theirs.combine(PeerMask(ours->snapshot()), TruthTable::Xor);
  if (theirs.countSetVoxels() != 0) throw std::runtime_error(growing.name() + ": the masks and the peer's differ");
}

Entrants entrants(const Subject& subject, const Growing& growing) {
  using Nodes = PeerMask::Nodes;
  for (const Nodes nodes : {Nodes::Joined, Nodes::TakenApart}) requireSameAsPeer(subject, growing, nodes);
  return {ourselves(subject, growing), peer("OpenVDB", subject, growing, Nodes::Joined),
          peer("OpenVDB, nodes left apart", subject, growing, Nodes::TakenApart)};
}

/// Those that take seconds for each run.
Entrants slowEntrants(const Subject& subject, const Growing& growing) {
  Entrants entrants{ourselves(subject, growing)};
  const MaskRef expected = result(subject, growing);
  if (ItkImage::isAvailable()) {
    const auto image = std::make_shared<const ItkImage>(subject.made().ours->snapshot());
    if (!image->grown(growing.iterations, growing.isErosion).equals(expected->snapshot()))
      throw std::runtime_error(growing.name() + ": the masks and those of ITK differ");
    entrants.push_back({"ITK", 0.01, nullptr,
                        [=] { benchmark::DoNotOptimize(image->grown(growing.iterations, growing.isErosion)); }, 0});
  }
  if (ScipyPeer::isAvailable()) {
    const auto scipy = std::make_shared<ScipyPeer>(subject.made().ours->snapshot());
    if (scipy->grow(growing.iterations, growing.isErosion) != expected->countSetVoxels(boxOf(*expected)))
      throw std::runtime_error(growing.name() + ": the masks and those of SciPy differ");
    entrants.push_back({"SciPy", 0.01, nullptr, [=] { scipy->grow(growing.iterations, growing.isErosion); }, 0});
  }
  return entrants;
}

}  // namespace

void addMorphologyBars() {
  constexpr int runs = 5, slowRuns = 1;
  for (const Subject& subject : subjects()) {
    for (const int iterations : {1, 3}) {
      for (const bool isErosion : {false, true}) {
        const Growing growing{isErosion, iterations};
        addContest(growing.name(), subject.name, Against::Peer, runs,
                   [&subject, growing] { return entrants(subject, growing); });
        if (&subject != &subjects().front()) continue;
        addContest(growing.name() + ", slow peers", subject.name, Against::Peer, slowRuns,
                   [&subject, growing] { return slowEntrants(subject, growing); });
      }
    }
  }
}

}  // namespace bench
