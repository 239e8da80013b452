#include "quarn/voxora/components/detail/ComponentFlood.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "quarn/voxora/tiles/detail/TileTableEditor.h"
#include "quarn/voxora/tiles/detail/parallel.h"

namespace hxvoxora::detail {

namespace {

/// Blocks or tiles that are worked on between two calls of the callback; each takes a few milliseconds at most.
constexpr std::size_t perCall = 32;

/// The same for blocks whose neighbours are met; each takes a few microseconds.
constexpr std::size_t meetingsPerCall = 1024;

/// The part of the time that goes by until all blocks of the component are known, roughly.
constexpr double partOfSearch = 0.8;

constexpr BlockSide allSides[] = {{0, false}, {0, true}, {1, false}, {1, true}, {2, false}, {2, true}};

}  // namespace

ComponentFlood::ComponentFlood(const BlockGrid& blocks, Neighbours neighbours, const WorkCallback& callback)
    : blocks_(blocks), neighbours_(neighbours), callback_(callback), scratches_(blocks.blockSize()) {
  // Where the volume cuts a full block, its faces as they stand here meet nothing that its own would not.
  for (const BlockSide& side : allSides)
    fullFaces_[side.index()] = std::make_unique<BlockFace>(blocks.blockSize(), side, 0);
}

bool ComponentFlood::Visited::choose(std::uint32_t component) {
  if (chosen[component]) return false;
  chosen[component] = true;
  ++chosenCount;
  fresh.push_back(component);
  return true;
}

bool ComponentFlood::run(const SbVec3i32& seed) {
  if (!tell(0)) return false;
  if (!begin(seed)) return true;
  while (!steps_.empty())
    if (!follow()) return false;
  return true;
}

/// False when the seed is clear.
bool ComponentFlood::begin(const SbVec3i32& seed) {
  const BlockPlace place = blocks_.placeOfVoxel(seed);
  const std::int64_t number = blocks_.blockAt(place);
  if (!blocks_.mayHaveVoxels(number)) return false;
  Visited& block = visited_[number];
  block.place = place;
  label(block);
  std::uint32_t component = 0;
  if (!block.isFull) {
    const SbVec3i32 origin = blocks_.origin(place);
    const BlockScratch& scratch = scratches_.local();
    const auto row = static_cast<std::size_t>((seed[2] - origin[2]) * blocks_.blockSize()[1] + seed[1] - origin[1]);
    const auto x = static_cast<unsigned>(seed[0] - origin[0]);
    if ((scratch.rows[row] >> (63 - x) & 1) == 0) return false;
    component = scratch.runs.componentAt(scratch.rows, row, x);
  }
  block.choose(component);
  steps_.push_back({&block, std::exchange(block.fresh, {})});
  return true;
}

/// Goes on into the blocks around those that were reached last.
bool ComponentFlood::follow() {
  std::vector<Meeting> meetings;
  for (std::size_t i = 0; i < steps_.size(); ++i) addMeetings(i, meetings);
  if (!labelBlocks(meetings)) return false;
  std::vector<Visited*> reached;
  for (auto meeting = meetings.begin(); meeting != meetings.end();) {
    const std::size_t step = meeting->step;
    mark(steps_[step], true);
    for (; meeting != meetings.end() && meeting->step == step; ++meeting) meet(*meeting, reached);
    mark(steps_[step], false);
    if (step % meetingsPerCall == 0 && !tell(told_)) return false;
  }
  for (const Step& step : steps_)
    if (step.from->isWhole() && step.from->fresh.empty()) step.from->faces = {};
  blocksDone_ += steps_.size();
  steps_.clear();
  for (Visited* block : reached) steps_.push_back({block, std::exchange(block->fresh, {})});
  return true;
}

/// Notes the blocks that components of a step may go on in.
void ComponentFlood::addMeetings(std::size_t step, std::vector<Meeting>& meetings) {
  const Visited& from = *steps_[step].from;
  mark(steps_[step], true);
  std::array<bool, sideCount> goesOn{};
  for (const BlockSide& side : allSides) {
    const BlockFace* face = faceOf(from, side);
    goesOn[side.index()] = face && std::any_of(face->labels().begin(), face->labels().end(),
                                               [&](std::uint32_t label) { return isFollowed_[label]; });
  }
  mark(steps_[step], false);
  for (const BlockStep& way : blockSteps(neighbours_)) {
    if (!goesOn[way.side.index()]) continue;
    const BlockPlace place = way.from(from.place);
    if (!blocks_.contains(place)) continue;
    const std::int64_t number = blocks_.blockAt(place);
    if (!blocks_.mayHaveVoxels(number)) continue;
    Visited& to = visited_[number];
    if (to.isLabelled && to.isWhole()) continue;
    to.place = place;
    meetings.push_back({step, &way, &to});
  }
}

/// Labels the blocks of meetings that were not come to before.
bool ComponentFlood::labelBlocks(const std::vector<Meeting>& meetings) {
  std::vector<Visited*> blocks;
  for (const Meeting& meeting : meetings)
    if (!meeting.to->isLabelled) blocks.push_back(meeting.to);
  std::sort(blocks.begin(), blocks.end());
  blocks.erase(std::unique(blocks.begin(), blocks.end()), blocks.end());
  const auto pending = static_cast<double>(steps_.size() + blocks.size());
  const double done = partOfSearch * static_cast<double>(blocksDone_) / (static_cast<double>(blocksDone_) + pending);
  return inSteps(blocks.size(), done, done, [&](std::size_t i) { label(*blocks[i]); });
}

void ComponentFlood::label(Visited& block) {
  const TileSlot& slot = blocks_.table().slot(blocks_.tileOf(blocks_.blockAt(block.place)));
  block.isFull = !slot.isReference();
  block.componentCount = 1;
  if (slot.isReference()) {
    BlockScratch& scratch = scratches_.local();
    scratch.rows.read(blocks_, block.place, slot.cell().pin()->bits());
    scratch.runs.label(scratch.rows, neighbours_);
    block.componentCount = static_cast<std::uint32_t>(scratch.runs.components().size());
    makeFaces(block, scratch);
  }
  block.chosen.assign(block.componentCount, false);
  block.isLabelled = true;
}

void ComponentFlood::makeFaces(Visited& block, const BlockScratch& scratch) const {
  std::uint32_t sides = 0;
  for (const LocalComponent& component : scratch.runs.components()) sides |= component.sides(blocks_.blockSize());
  for (const BlockSide& side : allSides) {
    if ((sides & side.bit()) == 0) continue;
    block.faces[side.index()] = std::make_unique<BlockFace>(scratch.rows, scratch.runs, side,
                                                            [](std::uint32_t component) { return component; });
  }
}

const BlockFace* ComponentFlood::faceOf(const Visited& block, const BlockSide& side) const {
  return (block.isFull ? fullFaces_ : block.faces)[side.index()].get();
}

void ComponentFlood::meet(const Meeting& meeting, std::vector<Visited*>& reached) {
  Visited& to = *meeting.to;
  const BlockFace* mine = faceOf(*steps_[meeting.step].from, meeting.way->side);
  const BlockFace* theirs = faceOf(to, meeting.way->other);
  if (!mine || !theirs || to.isWhole()) return;
  const auto join = [&](std::uint32_t a, std::uint32_t b) {
    if (!isFollowed_[a] || !to.choose(b)) return;
    if (to.fresh.size() == 1) reached.push_back(&to);
  };
  if (neighbours_ == Neighbours::Faces) {
    mine->forEachTouch<Neighbours::Faces>(*theirs, meeting.way->across, meeting.way->up, join);
  } else {
    mine->forEachTouch<Neighbours::All>(*theirs, meeting.way->across, meeting.way->up, join);
  }
}

void ComponentFlood::mark(const Step& step, bool value) {
  if (isFollowed_.size() < step.from->componentCount) isFollowed_.resize(step.from->componentCount);
  for (const std::uint32_t component : step.components) isFollowed_[component] = value;
}

std::optional<TileSnapshot> ComponentFlood::volume() {
  std::vector<std::int64_t> tiles;
  for (const auto& [block, state] : visited_)
    if (state.chosenCount > 0) tiles.push_back(blocks_.tileOf(block));
  std::sort(tiles.begin(), tiles.end());
  tiles.erase(std::unique(tiles.begin(), tiles.end()), tiles.end());
  std::vector<TileSlot> contents(tiles.size());
  if (!inSteps(tiles.size(), partOfSearch, 1, [&](std::size_t i) { contents[i] = contentOf(tiles[i]); }))
    return std::nullopt;
  TileTableEditor table(TileTable(blocks_.grid(), false));
  for (std::size_t i = 0; i < tiles.size(); ++i) table.set(tiles[i], contents[i]);
  return TileSnapshot(table.publish());
}

/// What the component has in a tile.
TileSlot ComponentFlood::contentOf(std::int64_t tile) {
  TileSlot content = blocks_.table().content(tile);
  if (content.isConstant()) return content;
  const Ref<const TilePayload> source = content.cell().pin();
  BlockScratch& scratch = scratches_.local();
  if (isWholeTile(tile, source->bits(), scratch.rows)) return content;
  Ref<TilePayload> part = TilePayload::make(blocks_.grid().tileByteSize());
  std::memset(part->bits(), 0, part->byteSize());
  const std::int64_t first = tile * blocks_.blocksPerTile();
  for (std::int64_t block = first; block < first + blocks_.blocksPerTile(); ++block) {
    const auto visited = visited_.find(block);
    if (visited == visited_.end() || visited->second.chosenCount == 0) continue;
    const Visited& state = visited->second;
    scratch.rows.read(blocks_, state.place, source->bits());
    if (!state.isWhole()) {
      scratch.runs.label(scratch.rows, neighbours_);
      scratch.runs.keepOnly(scratch.rows, [&](std::uint32_t component) { return state.chosen[component]; });
    }
    scratch.rows.write(blocks_, state.place, part->bits());
  }
  return TileSlot::cell(makeRef<const TileCell>(Ref<const TilePayload>(std::move(part))));
}

/// True when the component has all set voxels of a tile.
bool ComponentFlood::isWholeTile(std::int64_t tile, const std::byte* bits, BlockRows& rows) const {
  const std::int64_t first = tile * blocks_.blocksPerTile();
  for (std::int64_t block = first; block < first + blocks_.blocksPerTile(); ++block) {
    const auto visited = visited_.find(block);
    if (visited != visited_.end() && visited->second.isLabelled) {
      if (!visited->second.isWhole()) return false;
      continue;
    }
    const BlockPlace place = blocks_.placeOf(block);
    if (!blocks_.contains(place)) continue;
    rows.read(blocks_, place, bits);
    if (!rows.isClear()) return false;
  }
  return true;
}

/// Calls work(i) for 0 <= i < count on the workers, and the callback in between. False when that gave up.
template <typename Work>
bool ComponentFlood::inSteps(std::size_t count, double from, double to, Work work) {
  for (std::size_t first = 0; first < count; first += perCall) {
    const std::size_t end = std::min(count, first + perCall);
    parallelFor(static_cast<std::int64_t>(end - first),
                [&](std::int64_t i) { work(first + static_cast<std::size_t>(i)); });
    if (!tell(from + (to - from) * static_cast<double>(end) / static_cast<double>(count))) return false;
  }
  return true;
}

bool ComponentFlood::tell(double fraction) {
  told_ = std::max(told_, fraction);
  return !callback_ || callback_(told_);
}

}  // namespace hxvoxora::detail
