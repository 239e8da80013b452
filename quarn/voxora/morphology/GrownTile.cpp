#include "quarn/voxora/morphology/detail/GrownTile.h"

#include <cstring>
#include <utility>

#include "quarn/voxora/morphology/detail/NarrowColumns.h"
#include "quarn/voxora/tiles/detail/TileTable.h"

namespace hxvoxora::detail {

namespace {

std::size_t rowBytes(const SliceShape& shape) {
  return static_cast<std::size_t>(shape.tile[0]) / 8;
}

std::size_t sliceBytes(const SliceShape& shape) {
  return rowBytes(shape) * static_cast<std::size_t>(shape.tile[1]);
}

}  // namespace

GrownTile::GrownTile(const SliceShape& shape, const UniformSlices& uniform, const Growth& growth)
    : shape_(shape), uniform_(uniform), kernels_(columnKernels()), isErosion_(growth.isErosion) {}

void GrownTile::begin(const SbVec3i32& size) {
  size_ = size;
  payload_ = nullptr;
  seen_ = WordSummary();
  inside_.clear();
  for (int column = 0; column < shape_.tileColumns; ++column) inside_.push_back(shape_.inside(column, size[0]));
  if (shape_.isNarrow) inside_.front() &= upperHalf;
}

void GrownTile::addUniform(int z, Slice::Kind kind) {
  if (z == 0) kindSoFar_ = kind;
  if (!payload_ && kind == kindSoFar_) return;
  makeBits(z);
  writeUniform(z, kind);
}

/// Makes room for bits, those of the slices before z included.
void GrownTile::makeBits(int z) {
  if (payload_) return;
  payload_ = TilePayload::make(sliceBytes(shape_) * static_cast<std::size_t>(shape_.tile[2]));
  for (int earlier = 0; earlier < z; ++earlier) writeUniform(earlier, kindSoFar_);
}

RowsToWrite GrownTile::rowsOf(int z, int column) const {
  std::byte* const slice = payload_->bits() + static_cast<std::size_t>(z) * sliceBytes(shape_);
  return {reinterpret_cast<std::uint8_t*>(slice) + static_cast<std::size_t>(column) * sizeof(Word), rowBytes(shape_),
          isErosion_ ? ~Word{0} : 0, inside_[static_cast<std::size_t>(column)]};
}

void GrownTile::writeUniform(int z, Slice::Kind kind) {
  const auto rows = static_cast<std::size_t>(size_[1]);
  const auto write = shape_.isNarrow ? writeNarrow : kernels_.write;
  for (int column = 0; column < shape_.tileColumns; ++column)
    detail::add(seen_, write(rowsOf(z, column), uniform_.of(kind).words, rows));
  clearBehindRows(z);
}

void GrownTile::spreadInto(int z, int column, const SpreadSources& sources, unsigned distance) {
  const auto rows = static_cast<std::size_t>(size_[1]);
  if (shape_.isNarrow) {
    narrowColumn_.resize(shape_.columnWords);
    kernels_.spread(narrowColumn_.data(), sources, rows, distance);
    detail::add(seen_, writeNarrow(rowsOf(z, column), narrowColumn_.data(), rows));
  } else {
    detail::add(seen_, kernels_.spreadInto(rowsOf(z, column), sources, rows, distance));
  }
}

/// Clears the rows of a slice that lie beyond the end of the volume.
void GrownTile::clearBehindRows(int z) {
  const std::size_t used = rowBytes(shape_) * static_cast<std::size_t>(size_[1]);
  std::byte* const slice = payload_->bits() + static_cast<std::size_t>(z) * sliceBytes(shape_);
  if (used < sliceBytes(shape_)) std::memset(slice + used, 0, sliceBytes(shape_) - used);
}

/// What the slices were, as a constant where that is enough.
TileSlot GrownTile::settled() {
  if (!payload_) return TileSlot::constant((kindSoFar_ == Slice::Kind::Set) != isErosion_);
  if (!seen_.anySet || !seen_.anyClear) return TileSlot::constant(seen_.anySet);
  const std::size_t used = sliceBytes(shape_) * static_cast<std::size_t>(size_[2]);
  std::memset(payload_->bits() + used, 0, payload_->byteSize() - used);
  return TileSlot::cell(makeRef<const TileCell>(Ref<const TilePayload>(payload_)));
}

TileSlot GrownTile::finish(const TileSlot& before, bool defaultValue) {
  const TileSlot result = settled();
  const bool isSame =
      result.isConstant() && !before.isReference() && TileTable::resolved(before, defaultValue) == result;
  return isSame ? before : result;
}

}  // namespace hxvoxora::detail
