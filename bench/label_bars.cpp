#include <cstdint>
#include <memory>
#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_reduce.h>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/bars.h"
#include "bench/contest.h"
#include "bench/operands.h"
#include "bench/peer_itk_labels.h"
#include "bench/scale/Brain.h"
#include "quarn/base/McLargePageAllocator.h"
#include "quarn/voxora/labels/joinLabels.h"
#include "quarn/voxora/labels/separateLabels.h"
#include "quarn/voxora/utilities/utilities.h"

/// All masks of a label image at once, beside the runs of ITK and beside reading the labels.

namespace bench {

namespace {

using hxvoxora::TileGrid;

struct LabelImage {
  SbVec3i32 size;
  std::vector<std::uint8_t> labels;
};

/// 5 x 5 x 4 balls, each with a label of its own.
LabelImage hundredBalls() {
  constexpr int edge = 512, across = 102, deep = 128, radius = 50;
  LabelImage image{{edge, edge, edge}, std::vector<std::uint8_t>(std::size_t{1} << 27)};
  std::size_t i = 0;
  for (int z = 0; z < edge; ++z)
    for (int y = 0; y < edge; ++y)
      for (int x = 0; x < edge; ++x, ++i) {
        if (x >= 5 * across || y >= 5 * across) continue;
        const int dx = x % across - across / 2, dy = y % across - across / 2, dz = z % deep - deep / 2;
        if (dx * dx + dy * dy + dz * dz > radius * radius) continue;
        image.labels[i] = static_cast<std::uint8_t>(1 + x / across + 5 * (y / across) + 25 * (z / deep));
      }
  return image;
}

LabelImage enlargedAtlas() {
  auto [size, voxels] = Brain("/usr/share/mricron/templates/aal.nii.gz").enlarged(4);
  return {size, std::move(voxels)};
}

/// The sum of all labels: each is read once.
std::uint64_t sum(const std::vector<std::uint8_t>& labels) {
  return tbb::parallel_reduce(
      tbb::blocked_range<const std::uint8_t*>(labels.data(), labels.data() + labels.size(), 1 << 16), std::uint64_t{0},
      [](const auto& part, std::uint64_t value) {
        for (const std::uint8_t label : part) value += label;
        return value;
      },
      std::plus<>());
}

/// A mask for each label, in memory.
std::size_t makeMasks(const LabelImage& image) {
  const TileGrid grid(image.size, emptyMask(image.size)->getTileDimension());
  const auto contents = hxvoxora::separateLabels(image.labels.data(), grid).value();
  for (const hxvoxora::LabelContent& content : contents) {
    const MaskRef mask = emptyMask(image.size);
    edited(*mask, [&] { mask->combineBox(boxOf(*mask), content.content, hxvoxora::TruthTable::CopyB); });
  }
  return contents.size();
}

void addSeparation(const std::string& data, LabelImage (*draw)()) {
  if (!ItkLabels::isAvailable()) return;
  addContest("labels to masks", data, Against::Peer, 5, [draw] {
    const auto image = std::make_shared<const LabelImage>(draw());
    const auto peer = std::make_shared<ItkLabels>(image->size, image->labels);
    const auto ours = [image, count = peer->separate()] {
      if (makeMasks(*image) != count) throw std::runtime_error("the peer finds another number of labels");
    };
    return Entrants{{"ours", 0, nullptr, ours, 0},
                    {"one read", 2, nullptr, [image] { benchmark::DoNotOptimize(sum(image->labels)); }, 0},
                    {"ITK", 0.3, nullptr, [peer] { peer->separate(); }, 0}};
  });
}

/// The way back.
void addJoining(const std::string& data, LabelImage (*draw)()) {
  if (!ItkLabels::isAvailable()) return;
  addContest("masks to labels", data, Against::Peer, 5, [draw] {
    const auto image = std::make_shared<LabelImage>(draw());
    const auto peer = std::make_shared<ItkLabels>(image->size, image->labels);
    peer->separate();
    const TileGrid grid(image->size, emptyMask(image->size)->getTileDimension());
    const auto masks = std::make_shared<std::vector<hxvoxora::LabelledMask>>();
    const auto contents = hxvoxora::separateLabels(image->labels.data(), grid).value();
    for (const hxvoxora::LabelContent& content : contents) masks->push_back({content.content, content.label});
    const std::uint64_t former = sum(image->labels);
    hxvoxora::joinLabels(*masks, 255, image->size, image->labels.data());
    if (sum(image->labels) != former) throw std::runtime_error("the labels are not what they were");
    // In memory of its own each time, as the peer's image is; it is that of the arrays of fields.
    const auto ours = [size = image->size, count = image->labels.size(), masks] {
      McLargePageAllocator<std::uint8_t> memory;
      std::uint8_t* const labels = memory.allocate(count);
      hxvoxora::joinLabels(*masks, 255, size, labels);
      benchmark::DoNotOptimize(labels);
      memory.deallocate(labels, count);
    };
    return Entrants{{"ours", 0, nullptr, ours, 0}, {"ITK", 0.3, nullptr, [peer] { peer->join(); }, 0}};
  });
}

}  // namespace

void addLabelBars() {
  addSeparation("100 balls 512^3", hundredBalls);
  addSeparation("atlas enlarged 724x868x724", enlargedAtlas);
  addJoining("100 balls 512^3", hundredBalls);
  addJoining("atlas enlarged 724x868x724", enlargedAtlas);
}

}  // namespace bench
