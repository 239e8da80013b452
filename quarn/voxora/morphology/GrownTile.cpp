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
  const auto columns = static_cast<std::size_t>(shape_.tileColumns);
  inside_.resize(columns);
  for (int column = 0; column < shape_.tileColumns; ++column) {
    const Word inside = shape_.inside(column, size[0]);
    inside_[static_cast<std::size_t>(column)] = shape_.isNarrow ? inside & upperHalf : inside;
  }
  seen_.assign(columns, SeenWords());
}

void GrownTile::add(int z, const Slice& slice) {
  if (!payload_) {
    if (z == 0) kindSoFar_ = slice.kind;
    if (slice.kind == kindSoFar_ && slice.kind != Slice::Kind::Mixed) return;
    payload_ = TilePayload::make(sliceBytes(shape_) * static_cast<std::size_t>(shape_.tile[2]));
    for (int earlier = 0; earlier < z; ++earlier) write(earlier, uniform_.of(kindSoFar_));
  }
  write(z, slice);
}

void GrownTile::write(int z, const Slice& slice) {
  const std::size_t stride = rowBytes(shape_);
  auto* const bits =
      reinterpret_cast<std::uint8_t*>(payload_->bits()) + static_cast<std::size_t>(z) * sliceBytes(shape_);
  const auto rows = static_cast<std::size_t>(size_[1]);
  const Word inverted = isErosion_ ? ~Word{0} : 0;
  for (int column = 0; column < shape_.tileColumns; ++column) {
    const auto i = static_cast<std::size_t>(column);
    const Word* const words = slice.words + shape_.at(column, 0);
    const auto scatter = shape_.isNarrow ? scatterNarrow : kernels_.scatter;
    seen_[i].add(scatter(bits + i * sizeof(Word), stride, words, rows, inverted, inside_[i]));
  }
  std::memset(bits + rows * stride, 0, sliceBytes(shape_) - rows * stride);
}

/// What the slices were, as a constant where that is enough.
TileSlot GrownTile::settled() {
  if (!payload_) return TileSlot::constant((kindSoFar_ == Slice::Kind::Set) != isErosion_);
  bool anySet = false, anyClear = false;
  for (std::size_t i = 0; i < seen_.size(); ++i) {
    anySet = anySet || (seen_[i].any & inside_[i]) != 0;
    anyClear = anyClear || (~seen_[i].all & inside_[i]) != 0;
  }
  if (!anySet || !anyClear) return TileSlot::constant(anySet);
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
