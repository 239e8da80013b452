#include "quarn/voxora/components/detail/ComponentFlood.h"

#include <algorithm>
#include <utility>

#include "quarn/voxora/morphology/detail/dealWork.h"
#include "quarn/voxora/tiles/detail/TileTableEditor.h"

namespace hxvoxora::detail {

namespace {

/// Blocks that are labelled before they meet the others; their faces are all in memory.
constexpr std::size_t blocksAtOnce = 16;

/// Nodes that are followed between two looks at the clock; each takes less than a microsecond.
constexpr std::size_t nodesPerQuestion = 64;

/// The part of the time that goes by until all blocks of the component are known, roughly.
constexpr double partOfSearch = 0.8;

constexpr std::uint32_t closedMark = ~std::uint32_t{0};

/// True for boxes of which voxels may be neighbours.
bool touch(const SbBox3i32& a, const SbBox3i32& b, Neighbours neighbours) {
  int apart = 0;
  for (int axis = 0; axis < 3; ++axis) {
    const int gap = std::max(a.getMin()[axis] - b.getMax()[axis], b.getMin()[axis] - a.getMax()[axis]);
    if (gap > 1) return false;
    if (gap == 1) ++apart;
  }
  return neighbours == Neighbours::All || apart <= 1;
}

}  // namespace

ComponentFlood::ComponentFlood(const BlockGrid& blocks, Neighbours neighbours, const WorkCallback& callback)
    : blocks_(blocks),
      neighbours_(neighbours),
      full_(blocks),
      callback_(callback),
      meter_(callback),
      scratches_(blocks.blockSize()),
      graph_(blocks, neighbours) {}

bool ComponentFlood::run(const SbVec3i32& seed) {
  if (callback_ && !callback_(0)) return false;
  if (!begin(seed)) return !gaveUp_;
  while (!graph_.fresh().empty()) {
    Blocks wanted;
    if (!follow(wanted) || !labelBlocks(wanted)) return false;
  }
  return true;
}

/// False when the seed is clear.
bool ComponentFlood::begin(const SbVec3i32& seed) {
  seed_ = seed;
  seedBlock_ = blocks_.blockAt(blocks_.placeOfVoxel(seed));
  const std::int64_t tile = blocks_.tileOf(seedBlock_);
  const TileSlot& slot = blocks_.table().slot(tile);
  if (!blocks_.mayHaveVoxels(slot)) return false;
  if (!slot.isReference()) {
    graph_.reach(graph_.nodeOf(full_.at(tile)));
    return true;
  }
  if (!labelBlocks({seedBlock_}) || !seedComponent_) return false;
  const BlockScratch& scratch = scratches_.local();
  graph_.reach(graph_.find(seedBlock_)->firstNode + scratch.openNumbers[*seedComponent_]);
  return true;
}

/// Notes the blocks that the component may go on in and that are not known yet.
bool ComponentFlood::follow(Blocks& wanted) {
  std::vector<FloodGraph::Node>& fresh = graph_.fresh();
  while (!fresh.empty()) {
    const FloodGraph::Node node = fresh.back();
    fresh.pop_back();
    ++nodesFollowed_;
    FloodGraph::Unit& unit = graph_.unitOf(node);
    if (unit.isStretch()) {
      followStretch(unit.stretch(), wanted);
    } else {
      followBlock(unit, graph_.sidesOf(node), wanted);
    }
    if ((unit.isStretch() || nodesFollowed_ % nodesPerQuestion == 0) && !mayGoOn()) return false;
  }
  std::sort(wanted.begin(), wanted.end());
  wanted.erase(std::unique(wanted.begin(), wanted.end()), wanted.end());
  return true;
}

/// Blocks know the stretches around them from the beginning, so that only other blocks are of interest.
void ComponentFlood::followBlock(FloodGraph::Unit& unit, std::uint32_t sides, Blocks& wanted) const {
  sides &= ~unit.sidesFollowed;
  if (sides == 0) return;
  unit.sidesFollowed |= sides;
  const BlockPlace place = blocks_.placeOf(unit.first);
  for (const BlockStep& step : blockSteps(neighbours_)) {
    if ((sides & step.side.bit()) == 0) continue;
    const BlockPlace there = step.from(place);
    if (!blocks_.contains(there)) continue;
    const std::int64_t block = blocks_.blockAt(there);
    if (!blocks_.table().slot(blocks_.tileOf(block)).isReference() || graph_.contains(block)) continue;
    wanted.push_back(block);
  }
}

void ComponentFlood::followStretch(const TileStretch& stretch, Blocks& wanted) {
  const FloodGraph::Node mine = graph_.nodeOf(stretch);
  const SbBox3i32 box = full_.box(stretch);
  for (const TileStretch& around : full_.around(stretch, neighbours_)) {
    blocks_.table().forEachRunIn(around.first, around.end - around.first,
                                 [&](std::int64_t first, std::int64_t count, const TileSlot& slot) {
                                   if (slot.isReference()) return addBlocksOf(first, box, wanted);
                                   if (!blocks_.mayHaveVoxels(slot)) return;
                                   for (std::int64_t tile = first; tile < first + count;) {
                                     const TileStretch theirs = full_.at(tile);
                                     graph_.join(mine, graph_.nodeOf(theirs));
                                     tile = theirs.end;
                                   }
                                 });
  }
}

/// Notes the blocks of a mixed tile that touch a box and are not known yet.
void ComponentFlood::addBlocksOf(std::int64_t tile, const SbBox3i32& box, Blocks& wanted) const {
  const std::int64_t first = tile * blocks_.blocksPerTile();
  for (std::int64_t block = first; block < first + blocks_.blocksPerTile(); ++block) {
    const BlockPlace place = blocks_.placeOf(block);
    if (!blocks_.contains(place) || graph_.contains(block)) continue;
    const SbVec3i32 origin = blocks_.origin(place), extent = blocks_.extent(place);
    const SbBox3i32 voxels(origin, {origin[0] + extent[0] - 1, origin[1] + extent[1] - 1, origin[2] + extent[2] - 1});
    if (touch(voxels, box, neighbours_)) wanted.push_back(block);
  }
}

/// Blocks of one tile follow each other, so that the tile is fetched once.
bool ComponentFlood::labelBlocks(const Blocks& wanted) {
  blocksWanted_ += wanted.size();
  for (std::size_t first = 0; first < wanted.size(); first += blocksAtOnce) {
    std::vector<Job> jobs(std::min(blocksAtOnce, wanted.size() - first));
    std::shared_ptr<TilePin> pin;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
      const std::int64_t block = wanted[first + i], tile = blocks_.tileOf(block);
      if (i == 0 || tile != blocks_.tileOf(wanted[first + i - 1]))
        pin = std::make_shared<TilePin>(blocks_.table(), tile);
      jobs[i].part.block = block;
      jobs[i].tile = pin;
    }
    pin.reset();
    if (!deal(jobs.size(), [&](std::size_t i) { label(jobs[i]); })) return false;
    for (Job& job : jobs) {
      graph_.add(job.part);
      if (!mayGoOn()) return false;
    }
    blocksLabelled_ += jobs.size();
    // The last blocks that are known are the rim of what is done, so that as many may come.
    const double known = static_cast<double>(blocksLabelled_);
    done_ = std::max(done_, partOfSearch * known / (known + static_cast<double>(blocksWanted_)));
  }
  return true;
}

void ComponentFlood::label(Job& job) {
  FloodGraph::LabelledPart& part = job.part;
  BlockScratch& scratch = scratches_.local();
  part.place = blocks_.placeOf(part.block);
  part.around = surroundingsOf(blocks_, part.place, neighbours_);
  scratch.rows.read(blocks_, part.place, job.tile->bits());
  job.tile.reset();
  scratch.runs.label(scratch.rows, neighbours_);
  if (part.block == seedBlock_) {
    const SbVec3i32 origin = blocks_.origin(part.place);
    const auto row = static_cast<std::size_t>((seed_[2] - origin[2]) * blocks_.blockSize()[1] + seed_[1] - origin[1]);
    const auto x = static_cast<unsigned>(seed_[0] - origin[0]);
    if ((scratch.rows[row] >> (63 - x) & 1) != 0) seedComponent_ = scratch.runs.componentAt(scratch.rows, row, x);
  }
  numberOpen(scratch, part.block, part.around);
  std::uint32_t sides = 0;
  for (std::size_t i = 0; i < scratch.openNumbers.size(); ++i) {
    if (scratch.openNumbers[i] == closedMark) {
      part.hasClosed = true;
      continue;
    }
    part.sides.push_back(
        static_cast<std::uint8_t>(scratch.runs.components()[i].sides(blocks_.blockSize()) & part.around.openSides));
    sides |= part.sides.back();
  }
  for (std::size_t axis = 0; axis < 3; ++axis) {
    for (const bool upper : {false, true}) {
      const BlockSide side{axis, upper};
      if ((sides & side.bit()) == 0) continue;
      part.faces[side.index()] = std::make_unique<BlockFace>(
          scratch.rows, scratch.runs, side, [&](std::uint32_t component) { return scratch.openNumbers[component]; });
    }
  }
}

/// Numbers the components of a block that may go on in others, and that of the seed; the same at every time.
void ComponentFlood::numberOpen(BlockScratch& scratch, std::int64_t block, const BlockSurroundings& around) const {
  std::uint32_t count = 0;
  const std::span<const LocalComponent> components = scratch.runs.components();
  scratch.openNumbers.clear();
  for (std::uint32_t i = 0; i < components.size(); ++i) {
    const bool isOpen = (components[i].sides(blocks_.blockSize()) & around.openSides) != 0 ||
                        (block == seedBlock_ && seedComponent_ == i);
    scratch.openNumbers.push_back(isOpen ? count++ : closedMark);
  }
}

/// Calls work(i) for 0 <= i < count on the workers. False when the callback gave up.
template <typename Work>
bool ComponentFlood::deal(std::size_t count, Work work) {
  const auto one = [&](std::int64_t i) { work(static_cast<std::size_t>(i)); };
  return dealWork(
      static_cast<std::int64_t>(count), [&] { return &one; }, [&](std::int64_t) { return mayGoOn(); });
}

/// Asks on the calling thread; the others hear what it was told.
bool ComponentFlood::mayGoOn() {
  if (!gaveUp_ && std::this_thread::get_id() == caller_ && !meter_.mayGoOn(done_)) gaveUp_ = true;
  return !gaveUp_;
}

std::optional<TileSnapshot> ComponentFlood::volume() {
  noteWhatIsReached();
  TileTableEditor table(TileTable(blocks_.grid(), false));
  std::vector<std::int64_t> tiles;
  for (const FloodGraph::Unit& unit : graph_.units()) {
    if (!hasPart(unit)) continue;
    if (unit.isStretch()) {
      table.setRange(unit.first, unit.end - unit.first, TileSlot::constant(true));
    } else {
      tiles.push_back(blocks_.tileOf(unit.first));
    }
  }
  std::sort(tiles.begin(), tiles.end());
  tiles.erase(std::unique(tiles.begin(), tiles.end()), tiles.end());
  std::vector<TileSlot> contents(tiles.size());
  done_ = partOfSearch;
  std::atomic<std::size_t> ready = 0;
  const bool isDone = deal(tiles.size(), [&](std::size_t i) {
    contents[i] = contentOf(tiles[i]);
    const auto part = static_cast<double>(++ready) / static_cast<double>(tiles.size());
    if (std::this_thread::get_id() == caller_) done_ = std::max(done_, partOfSearch + (1 - partOfSearch) * part);
  });
  if (!isDone) return std::nullopt;
  for (std::size_t i = 0; i < tiles.size(); ++i) table.set(tiles[i], contents[i]);
  return TileSnapshot(table.publish());
}

}  // namespace hxvoxora::detail
