#include <cstddef>
#include <oneapi/tbb/global_control.h>
#include <openvdb/io/File.h>
#include <openvdb/openvdb.h>
#include <openvdb/tools/LevelSetUtil.h>
#include <openvdb/tools/Morphology.h>
#include <openvdb/tools/Prune.h>
#include <stdexcept>
#include <utility>
#include <vector>

#include "bench/peer.h"

namespace bench {

namespace {

using hxvoxora::TilePayload;
using hxvoxora::TileSnapshot;
using hxvoxora::TruthTable;
using openvdb::Coord;
using openvdb::CoordBBox;
using openvdb::MaskGrid;
using openvdb::MaskTree;
using Leaf = MaskTree::LeafNodeType;

constexpr std::int32_t leafSize = 8;

void initialize() {
  static const bool done = (openvdb::initialize(), true);
  static_cast<void>(done);
}

CoordBBox peerBox(const SbBox3i32& box) {
  const SbVec3i32 &min = box.getMin(), &max = box.getMax();
  return {Coord(min[0], min[1], min[2]), Coord(max[0], max[1], max[2])};
}

std::size_t threadsAllowed() {
  return oneapi::tbb::global_control::active_value(oneapi::tbb::global_control::max_allowed_parallelism);
}

/// A block of 8^3 voxels of a tile as a leaf. Its rows are whole bytes.
std::unique_ptr<Leaf> leafOf(const TilePayload& payload, const hxvoxora::BitLayout& layout, const Coord& origin) {
  auto leaf = std::make_unique<Leaf>(origin, false, false);
  for (std::int32_t z = 0; z < leafSize; ++z) {
    for (std::int32_t y = 0; y < leafSize; ++y) {
      const std::uint64_t bit = layout.bit(origin.x(), origin.y() + y, origin.z() + z);
      const auto row = std::to_integer<unsigned>(payload.bits()[bit / 8]);
      for (std::int32_t x = 0; x < leafSize; ++x)
        if (row >> (7 - x) & 1u) leaf->setValueOn(Leaf::coordToOffset(Coord(x, y, z)));
    }
  }
  return leaf;
}

void addTile(MaskTree& tree, const TileSnapshot& content, std::int64_t tile) {
  const SbBox3i32 box = content.tileBox(tile);
  const auto payload = content.payload(tile);
  const hxvoxora::BitLayout layout = content.grid().tileLayout(tile);
  const SbVec3i32 &min = box.getMin(), &max = box.getMax();
  for (std::int32_t z = min[2]; z <= max[2]; z += leafSize) {
    for (std::int32_t y = min[1]; y <= max[1]; y += leafSize) {
      for (std::int32_t x = min[0]; x <= max[0]; x += leafSize) {
        std::unique_ptr<Leaf> leaf = leafOf(*payload, layout, Coord(x, y, z));
        if (!leaf->isEmpty()) tree.addLeaf(leaf.release());
      }
    }
  }
}

}  // namespace

struct PeerMask::Tree {
  MaskTree::Ptr masks = std::make_shared<MaskTree>(false);
};

bool PeerMask::isAvailable() {
  return true;
}

PeerMask::PeerMask(std::unique_ptr<Tree> tree) : tree_(std::move(tree)) {}
PeerMask::PeerMask(PeerMask&&) noexcept = default;
PeerMask::~PeerMask() = default;

PeerMask& PeerMask::operator=(PeerMask other) noexcept {
  std::swap(tree_, other.tree_);
  return *this;
}

PeerMask::PeerMask(const PeerMask& other) : tree_(std::make_unique<Tree>()) {
  tree_->masks = std::make_shared<MaskTree>(*other.tree_->masks);
}

PeerMask::PeerMask(const TileSnapshot& content) : tree_(std::make_unique<Tree>()) {
  initialize();
  MaskTree& tree = *tree_->masks;
  for (std::int64_t tile = 0; tile < content.tileCount(); ++tile) {
    const TileSnapshot::Kind kind = content.kind(tile);
    if (kind == TileSnapshot::Kind::Mixed) addTile(tree, content, tile);
    if (kind == TileSnapshot::Kind::One) tree.sparseFill(peerBox(content.tileBox(tile)), true, true);
  }
  openvdb::tools::prune(tree);
}

void PeerMask::combine(const PeerMask& other, TruthTable f) {
  MaskTree& mine = *tree_->masks;
  const MaskTree& theirs = *other.tree_->masks;
  switch (f) {
    case TruthTable::Or:
      mine.topologyUnion(theirs, true);
      return;
    case TruthTable::And:
      mine.topologyIntersection(theirs);
      return;
    case TruthTable::AndNot:
      mine.topologyDifference(theirs);
      return;
    case TruthTable::Xor: {
      // There is no call for it. (b - a) joined to (a - b) is quicker than the union less the intersection.
      MaskTree rest(theirs);
      rest.topologyDifference(mine);
      mine.topologyDifference(theirs);
      mine.topologyUnion(rest, true);
      return;
    }
    default:
      throw std::logic_error("the peer has no such operation");
  }
}

void PeerMask::invert(const SbBox3i32& region) {
  auto inverse = std::make_shared<MaskTree>(false);
  inverse->sparseFill(peerBox(region), true, true);
  inverse->topologyDifference(*tree_->masks);
  tree_->masks = std::move(inverse);
}

void PeerMask::grow(int iterations, bool isErosion, Nodes nodes) {
  using openvdb::tools::NN_FACE;
  const auto policy = nodes == Nodes::Joined ? openvdb::tools::PRESERVE_TILES : openvdb::tools::EXPAND_TILES;
  const bool threaded = threadsAllowed() > 1;
  if (isErosion) {
    openvdb::tools::erodeActiveValues(*tree_->masks, iterations, NN_FACE, policy, threaded);
  } else {
    openvdb::tools::dilateActiveValues(*tree_->masks, iterations, NN_FACE, policy, threaded);
  }
}

SbBox3i32 PeerMask::boundingBox() const {
  CoordBBox box;
  tree_->masks->evalActiveVoxelBoundingBox(box);
  if (box.empty()) return SbBox3i32();
  return SbBox3i32({box.min().x(), box.min().y(), box.min().z()}, {box.max().x(), box.max().y(), box.max().z()});
}

std::uint64_t PeerMask::countSetVoxels() const {
  return tree_->masks->activeVoxelCount();
}

std::uint64_t PeerMask::countSegments() const {
  std::vector<MaskTree::Ptr> segments;
  openvdb::tools::segmentActiveVoxels(*tree_->masks, segments);
  return segments.size();
}

std::vector<std::uint64_t> PeerMask::segmentSizes() const {
  std::vector<MaskTree::Ptr> segments;
  openvdb::tools::segmentActiveVoxels(*tree_->masks, segments);
  std::vector<std::uint64_t> sizes;
  for (const MaskTree::Ptr& segment : segments) sizes.push_back(segment->activeVoxelCount());
  std::sort(sizes.begin(), sizes.end());
  return sizes;
}

void PeerMask::write(const std::string& path) const {
  const MaskGrid::Ptr grid = MaskGrid::create(tree_->masks);
  openvdb::io::File file(path);
  file.setCompression(openvdb::io::COMPRESS_ZIP | openvdb::io::COMPRESS_ACTIVE_MASK);
  file.write({grid});
}

PeerMask PeerMask::read(const std::string& path) {
  openvdb::io::File file(path);
  file.open(false);  // everything now, nothing on first touch
  auto tree = std::make_unique<Tree>();
  tree->masks = openvdb::gridPtrCast<MaskGrid>(file.readGrid(file.beginName().gridName()))->treePtr();
  return PeerMask(std::move(tree));
}

}  // namespace bench
