#include "quarn/voxora/morphology/detail/TileGrower.h"

#include <algorithm>

#include "quarn/voxora/morphology/detail/NarrowColumns.h"
#include "quarn/voxora/morphology/detail/growthSteps.h"

namespace hxvoxora::detail {

TileGrower::TileGrower(const TileTable& table, const Growth& growth)
    : table_(table),
      growth_(growth),
      shape_(table.grid().tileDimensions(), growth.reach),
      kernels_(columnKernels()),
      uniform_(shape_),
      around_(table),
      result_(shape_, uniform_, growth) {
  std::vector<int> distances = growthSteps(growth.reach);
  distances.insert(distances.begin(), 0);
  int grown = 0;
  for (std::size_t i = 0; i < distances.size(); ++i) {
    grown += distances[i];
    const int kept = i + 1 < distances.size() ? 2 * distances[i + 1] + 1 : 1;
    steps_.push_back({distances[i], grown, SliceRing(shape_, kept, growth.reach)});
  }
}

TileSlot TileGrower::grow(std::int64_t tile) {
  const SbVec3i32 first = table_.grid().tileBox(tile).getMin();
  isAtEnd_ = false;
  SbVec3i32 size;
  for (int axis = 0; axis < 3; ++axis) {
    left_[axis] = std::int64_t{table_.grid().dimensions()[axis]} - first[axis];
    size[axis] = static_cast<std::int32_t>(std::min<std::int64_t>(left_[axis], shape_.tile[axis]));
    isAtEnd_ = isAtEnd_ || left_[axis] < shape_.tile[axis] + growth_.reach;
  }
  around_.visit(tile, growth_.reach);
  result_.begin(size);
  for (int z = -growth_.reach; z < size[2] + growth_.reach; ++z) {
    steps_.front().slices.put(z, gather(z));
    pass(z);
  }
  return result_.finish(table_.slot(tile), table_.defaultValue());
}

/// The slice z of the table as the front, with what surrounds it.
Slice TileGrower::gather(int z) {
  // Beyond the end of the volume the front of an erosion is everywhere; that of a dilation is in constant tiles that
  // reach over it only, and from there it gets nowhere where it is not already.
  const bool mustCut = isAtEnd_ && growth_.isErosion;
  if (mustCut && z >= left_[2]) return uniform_.of(Slice::Kind::Set);
  const int dz = z < 0 ? -1 : z < shape_.tile[2] ? 0 : 1;
  if (around_.isConstantLayer(dz)) {
    const bool isSet = growth_.isFront(around_.value(0, 0, dz));
    if (isSet || !mustCut) return uniform_.of(isSet ? Slice::Kind::Set : Slice::Kind::Clear);
  }
  Word* const slice = steps_.front().slices.room(z);
  SeenWords seen;
  for (int dy = -1; dy <= 1; ++dy) seen.add(gatherRows(slice, dy, dz, z - dz * shape_.tile[2]));
  if (seen.all == ~Word{0}) return uniform_.of(Slice::Kind::Set);
  const bool isCut = mustCut && cut(slice);
  if (seen.any == 0 && !isCut) return uniform_.of(Slice::Kind::Clear);
  return {slice, Slice::Kind::Mixed};
}

/// The part of a slice that lies in the tiles `dy` and `dz` away.
SeenWords TileGrower::gatherRows(Word* slice, int dy, int dz, int z) const {
  const int from = dy < 0 ? shape_.tile[1] - growth_.reach : 0;
  const auto count = static_cast<std::size_t>(dy == 0 ? shape_.tile[1] : growth_.reach);
  Word* const rows = slice + shape_.at(0, from + dy * shape_.tile[1]);
  const Word inverted = growth_.isErosion ? ~Word{0} : 0;
  const auto words = [&](int dx, int word) { return around_.words(dx, dy, dz, word, from, z); };
  if (shape_.isNarrow) return gatherNarrow(rows, words(-1, 0), words(0, 0), words(1, 0), count, inverted);
  SeenWords seen;
  for (int column = 0; column < shape_.tileColumns; ++column)
    seen.add(kernels_.gather(rows + shape_.at(column, 0) - shape_.at(0, 0), words(0, column), count, inverted));
  const int ends = shape_.tileColumns;
  seen.add(kernels_.gatherEnds(rows + shape_.at(ends, 0) - shape_.at(0, 0), words(-1, ends - 1), words(1, 0), count,
                               inverted));
  return seen;
}

/// Sets what lies beyond the end of the volume; whether there is such a thing.
bool TileGrower::cut(Word* slice) const {
  const int end = shape_.tile[1] + growth_.reach;
  const int endInside = static_cast<int>(std::min<std::int64_t>(left_[1], end));
  bool isCut = endInside < end;
  for (int column = 0; column < shape_.columns; ++column) {
    Word* const words = slice + shape_.at(column, 0);
    std::fill(words + endInside, words + end, ~Word{0});
    const Word outside = ~shape_.inside(column, left_[0]);
    if (outside == 0) continue;
    isCut = true;
    for (int y = -growth_.reach; y < endInside; ++y) words[y] |= outside;
  }
  return isCut;
}

/// Takes the steps for which the slice z was still missing.
void TileGrower::pass(int z) {
  for (std::size_t i = 1; i < steps_.size(); ++i) {
    Step& step = steps_[i];
    z -= step.distance;
    if (z < step.grown - growth_.reach) return;
    step.slices.put(z, spread(step, steps_[i - 1].slices, z, i + 1 == steps_.size()));
  }
  result_.add(z, steps_.back().slices.at(z));
}

Slice TileGrower::spread(Step& step, const SliceRing& from, int z, bool isLast) {
  const Slice &below = from.at(z - step.distance), &here = from.at(z), &above = from.at(z + step.distance);
  const auto are = [&](Slice::Kind kind) { return (below.kind == kind) + (here.kind == kind) + (above.kind == kind); };
  if (are(Slice::Kind::Set) > 0) return uniform_.of(Slice::Kind::Set);
  if (are(Slice::Kind::Clear) == 3) return uniform_.of(Slice::Kind::Clear);
  Word* const slice = step.slices.room(z);
  const int firstRow = step.grown - growth_.reach;
  const auto count = static_cast<std::size_t>(shape_.tile[1] - 2 * firstRow);
  for (int column = 0; column < (isLast ? shape_.tileColumns : shape_.columns); ++column) {
    const std::size_t at = shape_.at(column, firstRow);
    const SpreadSources sources{here.words + at, here.words + shape_.at(shape_.before(column), firstRow),
                                here.words + shape_.at(shape_.behind(column), firstRow), below.words + at,
                                above.words + at};
    kernels_.spread(slice + at, sources, count, static_cast<unsigned>(step.distance));
  }
  return {slice, Slice::Kind::Mixed};
}

}  // namespace hxvoxora::detail
