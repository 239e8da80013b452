#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "quarn/voxora/components/detail/BlockSteps.h"
#include "quarn/voxora/components/detail/LabelledBlock.h"
#include "quarn/voxora/tiles/TileSnapshot.h"
#include "quarn/voxora/tiles/WorkCallback.h"

namespace hxvoxora::detail {

/// Follows one component from a voxel, block by block.
///
/// Of a block that it comes to only the faces are kept, as long as they may be met again, and which of the block's own
/// components belong to the one that is followed. Where these are not all, the block is labelled again at the end.
class ComponentFlood {
public:
  ComponentFlood(const BlockGrid& blocks, Neighbours neighbours, const WorkCallback& callback);

  /// Goes through the whole component of a voxel. False when the callback gave up.
  bool run(const SbVec3i32& seed);

  /// The component as a volume on the same grid; nothing when the callback gave up.
  std::optional<TileSnapshot> volume();

private:
  using Faces = std::array<std::unique_ptr<BlockFace>, sideCount>;

  /// A block that the component may have come to. Its own components are numbered as BlockRuns does.
  struct Visited {
    BlockPlace place{};
    bool isFull = false;  ///< all voxels are set; there are no faces then
    bool isLabelled = false;
    std::uint32_t componentCount = 0, chosenCount = 0;
    std::vector<bool> chosen;
    std::vector<std::uint32_t> fresh;  ///< chosen, but not followed into other blocks yet
    Faces faces;

    bool choose(std::uint32_t component);
    bool isWhole() const { return chosenCount == componentCount; }
  };

  /// Components of a block that are about to be followed into others.
  struct Step {
    Visited* from;
    std::vector<std::uint32_t> components;
  };

  /// Two blocks whose faces may touch where the components go on.
  struct Meeting {
    std::size_t step;  // its place in the list
    const BlockStep* way;
    Visited* to;
  };

  bool begin(const SbVec3i32& seed);
  bool follow();
  void addMeetings(std::size_t step, std::vector<Meeting>& meetings);
  bool labelBlocks(const std::vector<Meeting>& meetings);
  void label(Visited& block);
  void makeFaces(Visited& block, const BlockScratch& scratch) const;
  void meet(const Meeting& meeting, std::vector<Visited*>& reached);
  void mark(const Step& step, bool value);
  const BlockFace* faceOf(const Visited& block, const BlockSide& side) const;

  TileSlot contentOf(std::int64_t tile);
  bool isWholeTile(std::int64_t tile, const std::byte* bits, BlockRows& rows) const;

  template <typename Work>
  bool inSteps(std::size_t count, double from, double to, Work work);
  bool tell(double fraction);

  const BlockGrid& blocks_;
  const Neighbours neighbours_;
  const WorkCallback& callback_;
  BlockScratches scratches_;
  Faces fullFaces_;
  std::unordered_map<std::int64_t, Visited> visited_;
  std::vector<Step> steps_;
  std::vector<bool> isFollowed_;  // by component, of the step at hand
  std::size_t blocksDone_ = 0;
  double told_ = 0;
};

}  // namespace hxvoxora::detail
