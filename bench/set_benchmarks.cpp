#include <QString>
#include <benchmark/benchmark.h>
#include <memory>
#include <string>

#include "bench/fillMask.h"
#include "bench/hxroi_bench.h"
#include "bench/limits.h"
#include "bench/measure.h"
#include "bench/traffic.h"
#include "bench/volumes.h"
#include "hxroi/HxRois.h"
#include "hxroi/details/Mask.h"
#include "hxroi/package.h"
#include "quarn/base/McHandle.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace bench {

namespace {

using benchmark::State;
using hxroi::details::Mask;

/// A set on disk that holds the same volume so many times, and what its tiles take when they are unpacked.
class SavedSet {
public:
  SavedSet(const PackedVolume& volume, int masks) {
    const McHandle<HxRois> rois(new HxRois);
    const McHandle<Mask> first = maskOf(volume);
    for (int i = 0; i < masks; ++i) {
      const McHandle<Mask> mask(new Mask("mask" + std::to_string(i), *first));
      rois->addRoi(mask);
    }
    payloadBytes_ = static_cast<std::size_t>(masks) * bench::payloadBytes(first->volumeMask()->snapshot());
    rois->writeQuarnMesh(file().c_str());
  }

  std::string file() const { return folder_.path("set.ROIs.qm"); }
  std::unique_ptr<QuarnMesh> parse() const { return QuarnMesh::read(QString::fromStdString(file())); }
  std::size_t payloadBytes() const { return payloadBytes_; }

private:
  static McHandle<Mask> maskOf(const PackedVolume& volume) {
    const McVec3i size(volume.size[0], volume.size[1], volume.size[2]);
    McHandle<Mask> mask(new Mask("volume", size, false, McColor(1, 0.5F, 0), nullptr));
    fillMask(*mask, volume);
    return mask;
  }

  ScratchFolder folder_;
  std::size_t payloadBytes_ = 0;
};

void timeOpening(State& state) {
  const SavedSet saved(solidBodies({512, 512, 512}, 1), 100);
  McHandle<HxRois> rois;
  timeRuns(
      state, goal(50e-3), [&] { rois = new HxRois; },
      [&] {
        QString name;
        if (!rois->readQuarnMesh(saved.parse().get(), saved.file().c_str(), name)) state.SkipWithError("not loaded");
      });
}

void timeVerifying(State& state, const PackedVolume& volume, int masks) {
  const SavedSet saved(volume, masks);
  constexpr double bytesPerSecond = 1e9;
  Limit limit = goal(static_cast<double>(saved.payloadBytes()) / bytesPerSecond);
  limit.text = std::to_string(saved.payloadBytes() >> 20) + " MiB of bits at 1 GB/s";
  timeRuns(state, limit, [&] {
    hxroi_verifyRois(saved.parse().get(), saved.file().c_str(), [&](const QString& finding, bool isSound) {
      if (!isSound) state.SkipWithError(qUtf8Printable(finding));
    });
  });
}

}  // namespace

void addSetBenchmarks() {
  add("set: open 100 masks", "bodies 512^3", 3, timeOpening);
  add("set: verify 16 masks", "bodies 512^3", 1, [](State& state) {
    timeVerifying(state, solidBodies({512, 512, 512}, 1), 16);
  });
  add("set: verify 8 masks", "noise 512^3", 1, [](State& state) {
    timeVerifying(state, noise({512, 512, 512}, 1), 8);
  });
}

}  // namespace bench
