#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <unordered_map>
#include <vector>

#include "quarn/voxora/components/detail/BlockSteps.h"
#include "quarn/voxora/components/detail/FullTiles.h"
#include "quarn/voxora/components/detail/JoinedSets.h"
#include "quarn/voxora/components/detail/LabelledBlock.h"

namespace hxvoxora::detail {

/// What is known of the blocks around a component while it is followed: which of their own components hang together.
///
/// Blocks are added once each and meet those that are there. A face of a block goes when all blocks that may touch it
/// have come, so that the graph holds the faces at the rim alone, and some bytes for each component of a block that
/// may go on in others. Those are nodes; so are stretches of full tiles.
class FloodGraph {
public:
  using Node = JoinedSets::Number;
  using Faces = std::array<std::unique_ptr<BlockFace>, sideCount>;

  FloodGraph(const BlockGrid& blocks, Neighbours neighbours);

  /// What labelling a block found.
  struct LabelledPart {
    std::int64_t block = 0;
    BlockPlace place{};
    BlockSurroundings around;
    std::vector<std::uint8_t> sides;  ///< of its open components: those on which it may meet others
    bool hasClosed = false;           ///< it has other components, too
    Faces faces;                      ///< labelled with places in `sides`
  };

  /// A block, or a stretch of full tiles.
  struct Unit {
    std::int64_t first = 0;  ///< a block, or a tile
    std::int64_t end = 0;    ///< of a stretch; 0 for a block
    Node firstNode = 0;
    std::uint32_t nodeCount = 0;
    std::uint32_t sidesFollowed = 0;  ///< of a block, for use by whoever follows
    bool hasClosed = false;
    std::unique_ptr<Faces> faces;
    std::array<std::uint8_t, sideCount> comingToFace{};  // blocks that may touch a face and are not there yet

    bool isStretch() const { return end != 0; }
    TileStretch stretch() const { return {first, end}; }
  };

  bool contains(std::int64_t block) const { return blockUnits_.contains(block); }
  const Unit* find(std::int64_t block) const;
  const std::deque<Unit>& units() const { return units_; }

  /// Takes a block that is not there yet.
  void add(LabelledPart& part);

  /// The node of a stretch, which is added when it is not there yet.
  Node nodeOf(const TileStretch& stretch);

  /// Follows the set of a node from now on.
  void reach(Node node);
  bool isReached(Node node) { return hasStart_ && sets_.root(node) == sets_.root(start_); }

  void join(Node a, Node b);

  /// Nodes that have become part of the set that is followed; whoever follows them takes them out.
  std::vector<Node>& fresh() { return fresh_; }

  Unit& unitOf(Node node);
  std::uint32_t sidesOf(Node node) const { return sides_[node]; }

  /// Pairs of blocks whose faces were compared.
  std::size_t meetings() const { return meetings_; }

private:
  Unit& addUnit(std::int64_t first, std::int64_t end, std::uint32_t nodeCount);
  void meet(Unit& unit, Unit& other, const BlockStep& step);
  void meet(Unit& unit, std::int64_t fullTile, const BlockStep& step);
  static void dropUnless(Unit& unit, std::size_t side, bool isNeeded);

  const BlockGrid& blocks_;
  const Neighbours neighbours_;
  const FullTiles full_;
  const FullFaces fullFaces_;
  std::deque<Unit> units_;                                        // by their nodes
  std::unordered_map<std::int64_t, std::uint32_t> blockUnits_;    // by block
  std::unordered_map<std::int64_t, std::uint32_t> stretchUnits_;  // by first tile
  JoinedSets sets_;
  std::deque<std::uint8_t> sides_;  // of each node
  bool hasStart_ = false;
  Node start_ = 0;
  std::vector<Node> fresh_;
  std::size_t meetings_ = 0;
};

}  // namespace hxvoxora::detail
