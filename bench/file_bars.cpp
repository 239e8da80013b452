#include <filesystem>
#include <memory>
#include <string>

#include "bench/bars.h"
#include "bench/contest.h"
#include "bench/measure.h"
#include "bench/operands.h"

/// Files of masks: ours are deflated tiles with checksums, the peer's are deflated leaves.

namespace bench {

namespace {

constexpr int runs = 5;
const std::vector<std::string> gzip{"-c", "gzip"};

using Folder = std::shared_ptr<ScratchFolder>;

Folder newFolder() {
  return std::make_shared<ScratchFolder>();
}

/// Saves a mask none of whose tiles stands in a file, always over the file of the last run.
Entrant saving(const VolumeKind& kind, const Folder& folder) {
  const auto mask = std::make_shared<MaskRef>();
  return {"ours", 0, [=, &kind] { *mask = deepCopy(MaskPair::of(kind).ours(0)); },
          [=] { (*mask)->saveEditing(folder->path("mask.ldm"), false, gzip); }};
}

Entrant peerWriting(const VolumeKind& kind, const Folder& folder, double bar) {
  return {"OpenVDB", bar, nullptr, [=, &kind] { MaskPair::of(kind).peer(0).write(folder->path("mask.vdb")); }};
}

Entrant reading(const Folder& folder) {
  return {"ours", 0, nullptr, [=] {
            const auto mask = hxvoxora::makeRef<SoVolumeMask>();
            mask->bindTo(folder->path("mask.ldm"));
            benchmark::DoNotOptimize(mask->countSetVoxels(boxOf(*mask)));
          }};
}

Entrant peerReading(const Folder& folder, double bar) {
  return {"OpenVDB", bar, nullptr,
          [=] { benchmark::DoNotOptimize(PeerMask::read(folder->path("mask.vdb")).countSetVoxels()); }};
}

void addAgainstPeer(const VolumeKind& kind, double saveBar) {
  addContest("save every tile, gzip", kind.name, Against::Peer, runs, [&kind, saveBar] {
    const Folder folder = newFolder();
    return Entrants{saving(kind, folder), peerWriting(kind, folder, saveBar)};
  });
  addContest("open, read and count", kind.name, Against::Peer, runs, [&kind] {
    const Folder folder = newFolder();
    deepCopy(MaskPair::of(kind).ours(0))->saveEditing(folder->path("mask.ldm"), false, gzip);
    MaskPair::of(kind).peer(0).write(folder->path("mask.vdb"));
    return Entrants{reading(folder), peerReading(folder, 1)};
  });
}

double savedMegabytes(const VolumeKind& kind) {
  const ScratchFolder folder;
  deepCopy(MaskPair::of(kind).ours(0))->saveEditing(folder.path("mask.ldm"), false, gzip);
  double bytes = 0;
  for (const std::size_t size : fileSizesBelow(folder.path())) bytes += static_cast<double>(size);
  return bytes / 1e6;
}

Entrants opening(const VolumeKind& kind) {
  const Folder folder = newFolder();
  deepCopy(MaskPair::of(kind).ours(0))->saveEditing(folder->path("mask.ldm"), false, gzip);
  const auto open = [folder] {
    const auto mask = hxvoxora::makeRef<SoVolumeMask>();
    mask->bindTo(folder->path("mask.ldm"));
    benchmark::DoNotOptimize(mask.get());
  };
  return {{"ours", 0, nullptr, open, 0}, {"goal", 1, nullptr, nullptr, 2e-3}};
}

}  // namespace

void addFileBars() {
  if (PeerMask::isAvailable()) {
    addAgainstPeer(largeBalls(), 0.8);
    addAgainstPeer(largeNoise(), 1);
  }
  addFigure("size of the saved files", largeBalls().name, "MB", 4, [] { return savedMegabytes(largeBalls()); });
  addContest("open", largeBalls().name, Against::Loops, 21, [] { return opening(largeBalls()); });
}

}  // namespace bench
