#include <algorithm>
#include <cstdint>
#include <functional>
#include <malloc.h>
#include <map>
#include <memory>
#include <oneapi/tbb/global_control.h>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/bars.h"
#include "bench/contest.h"
#include "bench/operands.h"
#include "bench/peer_itk.h"
#include "quarn/voxora/components/componentAt.h"
#include "quarn/voxora/components/findComponents.h"
#include "quarn/voxora/tiles/TilePayload.h"

/// Connected components: counting them, and making a mask of each.

namespace bench {

namespace {

using hxvoxora::Component;
using hxvoxora::componentAt;
using hxvoxora::findComponents;
using hxvoxora::Neighbours;
using hxvoxora::TileSnapshot;

/// A mask that is made when it is first asked for.
struct Subject {
  std::string name;
  int runs;  ///< the peer takes seconds for some
  std::function<MaskRef()> make;

  const SoVolumeMask& mask() const {
    static auto& made = *new std::map<std::string, MaskRef>;
    MaskRef& mask = made[name];
    if (!mask) mask = make();
    return *mask;
  }
};

const Subject& bodies() {
  static const Subject subject{"100 bodies 512^3", 5, [] { return maskOf(solidBodies({512, 512, 512}, 1)); }};
  return subject;
}
const Subject& widerBalls() {
  static const Subject subject{"200 balls 1024^3", 1, [] { return maskOf(wideBalls({1024, 1024, 1024}, 1)); }};
  return subject;
}
const Subject& brain() {
  static const Subject subject{"brain 724x868x724", 1, enlargedBrain};
  return subject;
}
const Subject& fifthSet() {
  static const Subject subject{"20 % noise 512^3", 1, [] { return maskOf(sparseNoise({512, 512, 512}, 1)); }};
  return subject;
}

/// What is asked for: how many there are, of how many voxels, and the box of each. A sum over all of them, in which
/// each box and size is mixed, tells whether two lists agree whatever their order.
struct Findings {
  std::uint64_t count = 0, voxels = 0, mixed = 0;

  void add(std::uint64_t size, const SbBox3i32& box) {
    ++count;
    voxels += size;
    std::uint64_t mix = size;
    for (int axis = 0; axis < 3; ++axis)
      for (const std::int32_t end : {box.getMin()[axis], box.getMax()[axis]}) {
        mix = (mix ^ static_cast<std::uint64_t>(end)) * 0x9e3779b97f4a7c15;
        mix ^= mix >> 29;
      }
    mixed += mix;
  }

  friend bool operator==(const Findings&, const Findings&) = default;
};

Findings findAll(const TileSnapshot& content) {
  Findings findings;
  findComponents(content, Neighbours::Faces,
                 [&](const Component& component) { findings.add(component.voxelCount, component.box); });
  return findings;
}

/// A mask for each component.
std::vector<TileSnapshot> split(const TileSnapshot& content) {
  std::vector<SbVec3i32> seeds;
  findComponents(content, Neighbours::Faces, [&](const Component& component) { seeds.push_back(component.first); });
  std::vector<TileSnapshot> parts;
  for (const SbVec3i32& seed : seeds) parts.push_back(componentAt(content, Neighbours::Faces, seed).value());
  return parts;
}

void requireSame(std::uint64_t ours, std::uint64_t theirs, const std::string& name) {
  if (ours == theirs) return;
  throw std::runtime_error(name + ": " + std::to_string(ours) + " components, " + std::to_string(theirs) +
                           " of the peer");
}

/// Once for each volume, since it takes longer than what is timed.
void requireSameFindings(const Findings& ours, const ItkMask& peer, const std::string& name) {
  static std::set<std::string> compared;
  if (!compared.insert(name).second) return;
  Findings theirs;
  peer.measureComponents([&](std::uint64_t voxels, const SbBox3i32& box) { theirs.add(voxels, box); });
  if (ours != theirs) throw std::runtime_error(name + ": sizes or boxes are not those of the peer");
}

std::vector<std::uint64_t> sizesOf(const std::vector<TileSnapshot>& parts) {
  std::vector<std::uint64_t> sizes;
  for (const TileSnapshot& part : parts) sizes.push_back(part.countSetVoxels(part.grid().box()));
  std::sort(sizes.begin(), sizes.end());
  return sizes;
}

void addCounting(const Subject& subject) {
  addContest("components: count, boxes, sizes", subject.name, Against::Peer, subject.runs, [&subject] {
    const TileSnapshot content = subject.mask().snapshot();
    const Findings found = findAll(content);
    const std::uint64_t count = found.count;
    const auto peer = std::make_shared<const ItkMask>(content);
    requireSameFindings(found, *peer, subject.name);
    return Entrants{{"ours", 0, nullptr, [=] { benchmark::DoNotOptimize(findAll(content)); }, 0},
                    {"ITK", 0.1, nullptr, [=] { requireSame(count, peer->countComponents(count), subject.name); }, 0}};
  });
}

void addSplitting(const Subject& subject) {
  addContest("split into masks", subject.name, Against::Peer, 5, [&subject] {
    const TileSnapshot content = subject.mask().snapshot();
    const std::uint64_t count = findAll(content).count;
    const auto peer = std::make_shared<const PeerMask>(content);
    if (sizesOf(split(content)) != peer->segmentSizes())
      throw std::runtime_error(subject.name + ": the parts are not those of the peer");
    return Entrants{{"ours", 0, nullptr, [=] { benchmark::DoNotOptimize(split(content)); }, 0},
                    {"OpenVDB", 0.25, nullptr, [=] { requireSame(count, peer->countSegments(), subject.name); }, 0}};
  });
}

/// Bytes that the process has allocated, tiles included. What the scheduler takes for its tasks is not seen, nor what
/// comes and goes between two looks.
std::size_t allocatedBytes() {
  const struct mallinfo2 heap = ::mallinfo2();
  return heap.uordblks + heap.hblkhd + hxvoxora::payloadStatistics().bytesReserved;
}

/// What counting takes at most beside the volume, in parts of an image of bytes.
double memoryOfCounting(const Subject& subject) {
  const TileSnapshot content = subject.mask().snapshot();
  const SbVec3i32 size = content.dimensions();
  const std::size_t before = allocatedBytes();
  std::size_t most = before;
  std::uint64_t count = 0;
  const auto look = [&] { most = std::max(most, allocatedBytes()); };
  findComponents(
      content, Neighbours::Faces,
      [&](const Component&) {
        if (count++ % 4096 == 0) look();
      },
      [&](double) {
        look();
        return true;
      });
  return static_cast<double>(most - before) / (static_cast<double>(size[0]) * size[1] * size[2]);
}

void addMemory(const Subject& subject) {
  for (const unsigned threads : {1u, 2u}) {
    addFigure("components: memory, threads " + std::to_string(threads), subject.name, "of a byte image", 0.1,
              [&subject, threads] {
                const oneapi::tbb::global_control control(oneapi::tbb::global_control::max_allowed_parallelism,
                                                          threads);
                return memoryOfCounting(subject);
              });
  }
}

}  // namespace

void addComponentBars() {
  for (const Subject* subject : {&bodies(), &widerBalls(), &brain(), &fifthSet()}) {
    if (ItkMask::isAvailable()) addCounting(*subject);
    addMemory(*subject);
  }
  if (!PeerMask::isAvailable()) return;
  addSplitting(bodies());
  addSplitting(brain());
}

}  // namespace bench
