#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "quarn/voxora/components/detail/FloodGraph.h"
#include "quarn/voxora/export.h"
#include "quarn/voxora/morphology/detail/WorkMeter.h"
#include "quarn/voxora/tiles/TileSnapshot.h"
#include "quarn/voxora/tiles/WorkCallback.h"

namespace hxvoxora::detail {

/// Follows one component from a voxel, block by block.
///
/// Each block that it may come to is labelled once, whatever the number of times that the component comes back to it,
/// and those that it does not fill are labelled again at the end.
class QUARN_VOXORA_API ComponentFlood {
public:
  ComponentFlood(const BlockGrid& blocks, Neighbours neighbours, const WorkCallback& callback);

  /// Goes through the whole component of a voxel. False when the callback gave up.
  bool run(const SbVec3i32& seed);

  /// The component as a volume on the same grid; nothing when the callback gave up.
  std::optional<TileSnapshot> volume();

  /// How much work it was.
  struct Cost {
    std::size_t blocksLabelled = 0, meetings = 0, nodesFollowed = 0;
  };
  Cost cost() const { return {blocksLabelled_, graph_.meetings(), nodesFollowed_}; }

private:
  using Blocks = std::vector<std::int64_t>;

  struct Job {
    FloodGraph::LabelledPart part;
    std::shared_ptr<TilePin> tile;
  };

  bool begin(const SbVec3i32& seed);
  bool follow(Blocks& wanted);
  void followBlock(FloodGraph::Unit& unit, std::uint32_t sides, Blocks& wanted) const;
  void followStretch(const TileStretch& stretch, Blocks& wanted);
  void addBlocksOf(std::int64_t tile, const SbBox3i32& around, Blocks& wanted) const;
  bool labelBlocks(const Blocks& wanted);
  void label(Job& job);
  void numberOpen(BlockScratch& scratch, std::int64_t block, const BlockSurroundings& around) const;

  void noteWhatIsReached();
  bool isWhole(const FloodGraph::Unit& unit) const;
  bool hasPart(const FloodGraph::Unit& unit) const;
  TileSlot contentOf(std::int64_t tile);
  void keepPart(const FloodGraph::Unit& unit, const BlockPlace& place, BlockScratch& scratch) const;
  bool isWholeTile(std::int64_t tile, const std::byte* bits, BlockRows& rows) const;

  template <typename Work>
  bool deal(std::size_t count, Work work);
  bool mayGoOn();

  const BlockGrid& blocks_;
  const Neighbours neighbours_;
  const FullTiles full_;
  const WorkCallback& callback_;
  WorkMeter meter_;
  const std::thread::id caller_ = std::this_thread::get_id();
  BlockScratches scratches_;
  FloodGraph graph_;
  SbVec3i32 seed_;
  std::int64_t seedBlock_ = -1;
  std::optional<std::uint32_t> seedComponent_;  // of the seed's block
  std::vector<bool> isReached_;                 // by node, at the end
  std::size_t blocksLabelled_ = 0, blocksWanted_ = 0, nodesFollowed_ = 0;
  std::atomic<bool> gaveUp_ = false;
  double done_ = 0;
};

}  // namespace hxvoxora::detail
