#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

#include "quarn/voxora/components/detail/BlockSteps.h"
#include "quarn/voxora/components/detail/FullTiles.h"
#include "quarn/voxora/components/detail/LabelledBlock.h"
#include "quarn/voxora/components/detail/OpenComponents.h"
#include "quarn/voxora/components/findComponents.h"

namespace hxvoxora::detail {

/// Joins the components of blocks that come in ascending order, and hands them over when they are complete. Of the
/// blocks behind the front only those faces are kept that blocks to come will touch.
class ComponentSweep {
public:
  ComponentSweep(const BlockGrid& blocks, Neighbours neighbours, const ComponentSink& sink);

  /// Takes the next block; its faces are moved away. Or the next stretch of full tiles.
  void add(LabelledBlock& next);

  /// To be called after the last block.
  void end();

private:
  /// The faces of a block that others have yet to meet, and with how many of them each has.
  struct Waiting {
    std::array<std::unique_ptr<BlockFace>, sideCount> faces;
    std::array<std::uint8_t, sideCount> meetings{};
  };

  void addBlock(LabelledBlock& block);
  void addStretch(const TileStretch& stretch);
  void leaveStretches(std::int64_t tile);
  OpenComponents::Number numberOf(const TileStretch& stretch);
  void number(BlockFace& face, const LabelledBlock& block);
  void meet(LabelledBlock& block, const Waiting& other, const BlockStep& step);
  void meet(LabelledBlock& block, const TileStretch& stretch, const BlockStep& step);
  void join(const LabelledBlock& block, std::uint32_t component, OpenComponents::Number theirNumber);
  void closeFace(Waiting& waiting, std::size_t side);
  void release(OpenComponents::Number number);

  const BlockGrid& blocks_;
  const Neighbours neighbours_;
  const ComponentSink& sink_;
  const FullTiles full_;
  const FullFaces fullFaces_;
  OpenComponents open_;
  std::map<std::int64_t, OpenComponents::Number> stretches_;  // that others may have yet to meet, by the end
  std::unordered_map<std::int64_t, Waiting> front_;
  std::vector<OpenComponents::Number> numbers_;  // of the open components of the block at hand, as far as they have any
};

}  // namespace hxvoxora::detail
