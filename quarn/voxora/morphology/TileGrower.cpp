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
  const int zInTile = z - dz * shape_.tile[2];
  const WordSummary seen = shape_.isNarrow ? gatherNarrowColumn(slice, dz, zInTile) : gatherColumns(slice, dz, zInTile);
  if (!seen.anyClear) return uniform_.of(Slice::Kind::Set);
  const bool isCut = mustCut && cut(slice);
  if (!seen.anySet && !isCut) return uniform_.of(Slice::Kind::Clear);
  return {slice, Slice::Kind::Mixed};
}

/// The rows of a column of the tile `dx` and `dz` away.
RowsOfColumn TileGrower::rowsOf(int dx, int dz, int word, int z) const {
  return {around_.words(dx, -1, dz, word, shape_.tile[1] - growth_.reach, z), around_.words(dx, 0, dz, word, 0, z),
          around_.words(dx, 1, dz, word, 0, z)};
}

WordSummary TileGrower::gatherColumns(Word* slice, int dz, int z) const {
  const auto halo = static_cast<std::size_t>(growth_.reach), count = static_cast<std::size_t>(shape_.tile[1]);
  const Word inverted = growth_.isErosion ? ~Word{0} : 0;
  const int ends = shape_.tileColumns;
  WordSummary seen = kernels_.gatherEnds(slice + shape_.at(ends, -growth_.reach), rowsOf(-1, dz, ends - 1, z),
                                         rowsOf(1, dz, 0, z), halo, count, inverted);
  for (int column = 0; column < ends; ++column)
    add(seen,
        kernels_.gather(slice + shape_.at(column, -growth_.reach), rowsOf(0, dz, column, z), halo, count, inverted));
  return seen;
}

WordSummary TileGrower::gatherNarrowColumn(Word* slice, int dz, int z) const {
  const auto halo = static_cast<std::size_t>(growth_.reach), count = static_cast<std::size_t>(shape_.tile[1]);
  const RowsOfColumn before = rowsOf(-1, dz, 0, z), here = rowsOf(0, dz, 0, z), behind = rowsOf(1, dz, 0, z);
  WordSummary seen;
  const auto gather = [&](WordsOfRows RowsOfColumn::*part, std::size_t rows) {
    add(seen, gatherNarrow(slice, before.*part, here.*part, behind.*part, rows, growth_.isErosion ? ~Word{0} : 0));
    slice += rows;
  };
  gather(&RowsOfColumn::before, halo);
  gather(&RowsOfColumn::here, count);
  gather(&RowsOfColumn::behind, halo);
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
    if (i + 1 == steps_.size()) return finish(step, steps_[i - 1].slices, z);
    step.slices.put(z, spread(step, steps_[i - 1].slices, z));
  }
}

Slice::Kind TileGrower::Sources::kind() const {
  const auto are = [&](Slice::Kind kind) { return (below.kind == kind) + (here.kind == kind) + (above.kind == kind); };
  if (are(Slice::Kind::Set) > 0) return Slice::Kind::Set;
  return are(Slice::Kind::Clear) == 3 ? Slice::Kind::Clear : Slice::Kind::Mixed;
}

SpreadSources TileGrower::Sources::column(const SliceShape& shape, int i, int firstRow) const {
  const std::size_t at = shape.at(i, firstRow);
  return {here.words + at, here.words + shape.at(shape.before(i), firstRow),
          here.words + shape.at(shape.behind(i), firstRow), below.words + at, above.words + at};
}

Slice TileGrower::spread(Step& step, const SliceRing& from, int z) {
  const Sources sources(from, z, step.distance);
  const Slice::Kind kind = sources.kind();
  if (kind != Slice::Kind::Mixed) return uniform_.of(kind);
  Word* const slice = step.slices.room(z);
  const int firstRow = step.grown - growth_.reach;
  const auto count = static_cast<std::size_t>(shape_.tile[1] - 2 * firstRow);
  bool isFull = true;
  for (int i = 0; i < shape_.columns; ++i) {
    const SpreadSources column = sources.column(shape_, i, firstRow);
    isFull &= kernels_.spread(slice + shape_.at(i, firstRow), column, count, static_cast<unsigned>(step.distance));
  }
  return isFull ? uniform_.of(Slice::Kind::Set) : Slice{slice, Slice::Kind::Mixed};
}

/// The last step, straight into the result.
void TileGrower::finish(const Step& step, const SliceRing& from, int z) {
  const Sources sources(from, z, step.distance);
  const Slice::Kind kind = sources.kind();
  if (kind != Slice::Kind::Mixed) return result_.addUniform(z, kind);
  result_.addSpread(z, static_cast<unsigned>(step.distance), [&](int i) { return sources.column(shape_, i, 0); });
}

}  // namespace hxvoxora::detail
