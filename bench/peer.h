#pragma once

#include <memory>
#include <string>
#include <vector>

#include "quarn/voxora/bits/TruthTable.h"
#include "quarn/voxora/nodes/SbTypes.h"
#include "quarn/voxora/tiles/TileSnapshot.h"

/// OpenVDB's mask grids beside our masks: the same voxels, the same operations, the same threads. Optional: without the
/// library at build time there is no peer.
namespace bench {

/// A mask of the peer: a tree whose leaves are 8^3 bits, uniform leaves and nodes pruned.
class PeerMask {
public:
  /// False when the library was not there; nothing else may be called then.
  static bool isAvailable();

  explicit PeerMask(const hxvoxora::TileSnapshot& content);

  /// A deep copy; the peer's grids share no leaves.
  PeerMask(const PeerMask& other);
  PeerMask(PeerMask&&) noexcept;
  PeerMask& operator=(PeerMask) noexcept;
  ~PeerMask();

  /// this = f(this, other): union, intersection, difference and exclusive or by the quickest calls of the library.
  void combine(const PeerMask& other, hxvoxora::TruthTable f);

  /// this = region without this.
  void invert(const SbBox3i32& region);

  /// What becomes of uniform nodes: the library must take them apart for the work, and may join them again.
  enum class Nodes { Joined, TakenApart };

  /// Dilates or erodes by the six face neighbours. There is no end that a dilation is cut at. Which way is quicker
  /// depends on the mask.
  void grow(int iterations, bool isErosion, Nodes nodes);

  SbBox3i32 boundingBox() const;
  std::uint64_t countSetVoxels() const;

  /// Makes a mask of each face-connected piece, and counts these.
  std::uint64_t countSegments() const;

  /// The voxels of each of these masks, ascending.
  std::vector<std::uint64_t> segmentSizes() const;

  /// One grid per file, deflated.
  void write(const std::string& path) const;
  static PeerMask read(const std::string& path);

private:
  struct Tree;
  explicit PeerMask(std::unique_ptr<Tree> tree);

  std::unique_ptr<Tree> tree_;
};

}  // namespace bench
