#include "roitools/RoiOverlap.h"

#include <algorithm>
#include <array>
#include <functional>
#include <string>
#include <tbb/enumerable_thread_specific.h>

#include "quarn/base/McException.h"
#include "quarn/voxora/bits/BitKernels.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "roitools/parallelParts.h"

namespace roitools {

namespace {

using hxvoxora::Ref;
using hxvoxora::TilePayload;
using hxvoxora::TileSnapshot;

/// A tile is looked at in so many stretches at most.
constexpr std::size_t kMostStretches = 64;
constexpr std::size_t kLeastStretchBytes = 64;
constexpr std::size_t kMostStretchBytes = std::size_t{256} * 256 * 256 / 8 / kMostStretches;

/// What a ROI has in a tile.
struct Part {
  std::size_t roi = 0;
  Ref<const TilePayload> bits;  ///< null when it has all voxels
  std::uint64_t voxels = 0;
  std::uint64_t stretches = 0;  ///< bit s: it has voxels in stretch s
};

/// Whether pairs of two ROIs, a < b, are wanted.
bool isWanted(const OverlapInput& input, std::size_t a, std::size_t b) {
  return input.firstOfOther == 0 || (a < input.firstOfOther && b >= input.firstOfOther);
}

std::uint64_t volumeOf(const SbBox3i32& box) {
  return static_cast<std::uint64_t>(box.size(0)) * static_cast<std::uint64_t>(box.size(1)) *
         static_cast<std::uint64_t>(box.size(2));
}

/// Counts one tile after the other.
class TileCounter {
public:
  explicit TileCounter(const OverlapInput& input) : input_(input), counts_(input.rois.size()) {}

  const OverlapCounts& counts() const { return counts_; }

  void add(std::int64_t tile) {
    parts_.clear();
    for (std::size_t roi = 0; roi < input_.rois.size(); ++roi) addPart(roi, tile);
    for (const Part& part : parts_) counts_.addVoxels(part.roi, part.voxels);
    countFull();
    for (std::size_t stretch = 0; stretch < kMostStretches; ++stretch) countStretch(stretch);
  }

private:
  void addPart(std::size_t roi, std::int64_t tile) {
    const TileSnapshot& content = input_.rois[roi];
    if (content.tileCount() == 0) return;
    switch (content.kind(tile)) {
      case TileSnapshot::Kind::Zero:
        return;
      case TileSnapshot::Kind::One:
        parts_.push_back({roi, nullptr, volumeOf(content.tileBox(tile)), 0});
        return;
      case TileSnapshot::Kind::Mixed:
        parts_.push_back(mixedPart(roi, content.payload(tile)));
    }
  }

  Part mixedPart(std::size_t roi, Ref<const TilePayload> bits) {
    stretchBytes_ = std::max(kLeastStretchBytes, bits->byteSize() / kMostStretches);
    Part part{roi, bits, 0, 0};
    for (std::size_t s = 0; s < bits->byteSize() / stretchBytes_; ++s) {
      const std::uint64_t voxels = hxvoxora::countBits(stretchOf(part, s), 0, stretchBytes_ * 8);
      part.voxels += voxels;
      if (voxels != 0) part.stretches |= std::uint64_t{1} << s;
    }
    return part;
  }

  const std::byte* stretchOf(const Part& part, std::size_t stretch) const {
    return part.bits->bits() + stretch * stretchBytes_;
  }

  /// Pairs of which one has all voxels of the tile, and thus those of the other.
  void countFull() {
    for (std::size_t b = 1; b < parts_.size(); ++b) {
      for (std::size_t a = 0; a < b; ++a) {
        const Part &left = parts_[a], &right = parts_[b];
        if ((left.bits && right.bits) || !isWanted(input_, left.roi, right.roi)) continue;
        counts_.addShared(left.roi, right.roi, left.bits ? left.voxels : right.voxels);
      }
    }
  }

  void countStretch(std::size_t stretch) {
    here_.clear();
    for (const Part& part : parts_)
      if (part.stretches >> stretch & 1) here_.push_back(&part);
    for (std::size_t b = 1; b < here_.size(); ++b) {
      for (std::size_t a = 0; a < b; ++a) {
        const Part &left = *here_[a], &right = *here_[b];
        if (!isWanted(input_, left.roi, right.roi)) continue;
        const hxvoxora::WordSummary seen =
            hxvoxora::combineBlocks(both_.data(), stretchOf(left, stretch), stretchOf(right, stretch), stretchBytes_,
                                    hxvoxora::TruthTable::And);
        if (seen.anySet)
          counts_.addShared(left.roi, right.roi, hxvoxora::countBits(both_.data(), 0, stretchBytes_ * 8));
      }
    }
  }

  const OverlapInput& input_;
  OverlapCounts counts_;
  std::vector<Part> parts_;        // of the present tile, in ascending order of ROIs
  std::vector<const Part*> here_;  // those of them that have voxels in the present stretch
  std::size_t stretchBytes_ = 0;   // the same for all payloads
  alignas(64) std::array<std::uint64_t, kMostStretchBytes / 8> both_{};
};

/// The same voxels in tiles of another size.
TileSnapshot retiled(const TileSnapshot& content, const SbVec3i32& tileDimensions) {
  const auto volume = hxvoxora::makeRef<SoVolumeMask>();
  volume->initializeInMemory(content.dimensions(), tileDimensions);
  const int transaction = volume->beginTransaction();
  volume->combineBox(content.grid().box(), content, hxvoxora::TruthTable::Or);
  volume->endTransaction(transaction);
  return volume->snapshot();
}

std::string textOf(const SbVec3i32& size) {
  return std::to_string(size[0]) + " x " + std::to_string(size[1]) + " x " + std::to_string(size[2]);
}

/// The input with all volumes in the same tiles.
OverlapInput inOneTiling(OverlapInput input) {
  const TileSnapshot* first = nullptr;
  for (TileSnapshot& content : input.rois) {
    if (content.tileCount() == 0) continue;
    if (!first) first = &content;
    if (content.dimensions() != first->dimensions()) {
      throw McException("Overlaps can only be counted on one grid, not on " + textOf(first->dimensions()) + " and " +
                        textOf(content.dimensions()) + " voxels.");
    }
    if (content.tileDimensions() != first->tileDimensions()) content = retiled(content, first->tileDimensions());
  }
  return input;
}

std::int64_t tilesOf(const OverlapInput& input) {
  std::int64_t tiles = 0;
  for (const TileSnapshot& content : input.rois) tiles = std::max(tiles, content.tileCount());
  return tiles;
}

}  // namespace

void OverlapCounts::join(const OverlapCounts& other) {
  const auto add = [](std::vector<std::uint64_t>& sum, const std::vector<std::uint64_t>& more) {
    std::transform(sum.begin(), sum.end(), more.begin(), sum.begin(), std::plus<>());
  };
  add(voxels_, other.voxels_);
  add(shared_, other.shared_);
}

std::optional<OverlapCounts> countOverlaps(const OverlapInput& given, const hxvoxora::WorkCallback& callback) {
  const OverlapInput input = inOneTiling(given);
  tbb::enumerable_thread_specific<TileCounter> counters([&input] { return TileCounter(input); });
  if (!forEachPart(tilesOf(input), callback, [&](std::int64_t tile) { counters.local().add(tile); }))
    return std::nullopt;
  OverlapCounts sum(input.rois.size());
  for (const TileCounter& counter : counters) sum.join(counter.counts());
  return sum;
}

}  // namespace roitools
