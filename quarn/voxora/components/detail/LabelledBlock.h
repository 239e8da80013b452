#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <tbb/enumerable_thread_specific.h>
#include <vector>

#include "quarn/voxora/components/detail/BlockFace.h"
#include "quarn/voxora/components/detail/BlockGrid.h"
#include "quarn/voxora/components/detail/BlockRuns.h"
#include "quarn/voxora/components/detail/BlockSteps.h"
#include "quarn/voxora/components/detail/FullTiles.h"
#include "quarn/voxora/components/detail/TilePin.h"
#include "quarn/voxora/components/detail/singleVoxels.h"
#include "quarn/voxora/components/findComponents.h"

namespace hxvoxora::detail {

/// What is needed to find the components of a block; used again and again by one thread.
struct BlockScratch {
  explicit BlockScratch(const SbVec3i32& blockSize) : rows(blockSize) {}

  BlockRows rows;
  BlockRuns runs;
  std::vector<std::uint32_t> openNumbers;
};

using BlockScratches = tbb::enumerable_thread_specific<BlockScratch>;

/// The components of one block: those that may go on in other blocks, and those that cannot.
class LabelledBlock {
public:
  /// A block to label, or a stretch of full tiles, which stands for a component and needs no work.
  struct Task {
    std::int64_t block = 0;
    BlockPlace place{};
    SbVec3i32 origin;  ///< its first voxel
    std::shared_ptr<TilePin> tile;
    BlockSurroundings around;
    std::optional<TileStretch> stretch;
    const BlockGrid* blocks = nullptr;
    BlockScratches* scratches = nullptr;
    Neighbours neighbours = Neighbours::Faces;
  };

  Task task;

  /// Does the work. McException when the tile is damaged.
  void run();

  /// Hands over the components that cannot go on in other blocks.
  void forEachClosed(const ComponentSink& sink) const;

  /// Those that may.
  const std::vector<LocalComponent>& open() const { return open_; }

  /// A component of the block as one of the volume.
  Component inVolume(const LocalComponent& component) const { return inVolume(component, task.origin); }

  /// The face on an open side, whose labels are places in open(); null elsewhere and where it has no set voxel.
  std::array<std::unique_ptr<BlockFace>, sideCount>& faces() { return faces_; }

private:
  static Component inVolume(const LocalComponent& component, const SbVec3i32& origin);
  void labelRows(BlockScratch& scratch);
  void addFace(const BlockSide& side, BlockFace face);

  std::vector<VoxelPlace> singles_;  // closed ones
  std::vector<LocalComponent> closed_, open_;
  std::array<std::unique_ptr<BlockFace>, sideCount> faces_;
};

}  // namespace hxvoxora::detail
