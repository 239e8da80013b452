#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "quarn/voxora/components/detail/BlockSteps.h"
#include "quarn/voxora/components/detail/LabelledBlock.h"
#include "quarn/voxora/components/detail/OpenComponents.h"
#include "quarn/voxora/components/findComponents.h"

namespace hxvoxora::detail {

/// Joins the components of blocks that come in ascending order, and hands them over when they are complete. Of the
/// blocks behind the front only those faces are kept that blocks to come will touch.
class ComponentSweep {
public:
  ComponentSweep(Neighbours neighbours, const ComponentSink& sink) : neighbours_(neighbours), sink_(sink) {}

  /// Takes the next block; its faces are moved away.
  void add(LabelledBlock& block);

private:
  /// The faces of a block that others have yet to meet, and with how many of them each has.
  struct Waiting {
    std::array<std::unique_ptr<BlockFace>, sideCount> faces;
    std::array<std::uint8_t, sideCount> meetings{};
  };

  void number(BlockFace& face, const LabelledBlock& block);
  void meet(LabelledBlock& block, Waiting& other, const BlockStep& step);
  void closeFace(Waiting& waiting, std::size_t side);
  void release(OpenComponents::Number number);

  const Neighbours neighbours_;
  const ComponentSink& sink_;
  OpenComponents open_;
  std::unordered_map<std::int64_t, Waiting> front_;
  std::vector<OpenComponents::Number> numbers_;  // of the open components of the block at hand, as far as they have any
};

}  // namespace hxvoxora::detail
