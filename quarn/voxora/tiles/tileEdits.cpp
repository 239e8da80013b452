#include "quarn/voxora/tiles/detail/tileEdits.h"

#include <cstring>
#include <optional>

#include "quarn/voxora/bits/BitKernels.h"
#include "quarn/voxora/bits/StreamedBlocks.h"
#include "quarn/voxora/tiles/TilePayload.h"

namespace hxvoxora::detail {

namespace {

/// Clears the bits of a tile that stand for no voxel.
void clearPadding(const TileEdit& edit, void* bits) {
  if (!edit.grid.isCut(edit.tile)) return;
  const SbBox3i32 inside = edit.grid.tileBox(edit.tile);
  const SbVec3i32 size = edit.grid.tileDimensions();
  // In coordinates of the tile, which a volume of nearly 2^31 voxels cannot overflow.
  const BitLayout layout{{0, 0, 0}, size[0], std::int64_t{size[0]} * size[1]};
  const auto nx = static_cast<std::int32_t>(inside.size(0)), ny = static_cast<std::int32_t>(inside.size(1)),
             nz = static_cast<std::int32_t>(inside.size(2));
  fillRows(bits, layout, SbBox3i32({nx, 0, 0}, {size[0] - 1, ny - 1, nz - 1}), false);
  fillRows(bits, layout, SbBox3i32({0, ny, 0}, {size[0] - 1, size[1] - 1, nz - 1}), false);
  fillRows(bits, layout, SbBox3i32({0, 0, nz}, {size[0] - 1, size[1] - 1, size[2] - 1}), false);
}

/// A payload of one's own with the bits of a content.
Ref<TilePayload> draftOf(const TileEdit& edit, const TileSlot& content) {
  Ref<TilePayload> draft = TilePayload::make(edit.grid.tileByteSize());
  if (content.isReference()) {
    std::memcpy(draft->bits(), content.cell().pin()->bits(), draft->byteSize());
  } else {
    std::memset(draft->bits(), content.value() ? 0xff : 0, draft->byteSize());
    if (content.value()) clearPadding(edit, draft->bits());
  }
  return draft;
}

TileSlot cellOf(Ref<TilePayload> draft) {
  return TileSlot::cell(makeRef<const TileCell>(Ref<const TilePayload>(std::move(draft))));
}

/// A draft whose padding is clear becomes content.
TileSlot settle(const TileEdit& edit, Ref<TilePayload> draft) {
  const std::optional<bool> value = uniformValue(draft->bits(), edit.layout(), edit.grid.tileBox(edit.tile));
  return value ? TileSlot::constant(*value) : cellOf(std::move(draft));
}

TileSlot combineWholeCells(const TileEdit& edit, const TileCell& a, const TileCell& b, TruthTable f) {
  const Ref<const TilePayload> left = a.pin(), right = &a == &b ? left : b.pin();
  return combinePayloads(edit.grid, edit.tile, {}, *left, *right, f);
}

TileSlot invertWholeCell(const TileEdit& edit, const TileCell& cell) {
  return combineWholeCells(edit, cell, cell, TruthTable::NotA);
}

}  // namespace

TileSlot mapTile(const TileEdit& edit, const TileSlot& content, bool fromClear, bool fromSet) {
  if (!fromClear && fromSet) return content;
  if (edit.isWholeTile()) {
    if (fromClear == fromSet) return TileSlot::constant(fromSet);
    if (content.isConstant()) return TileSlot::constant(content.value() ? fromSet : fromClear);
    return invertWholeCell(edit, content.cell());
  }
  if (content.isConstant() && content.value() == (content.value() ? fromSet : fromClear)) return content;
  Ref<TilePayload> draft = draftOf(edit, content);
  if (fromClear == fromSet) {
    fillRows(draft->bits(), edit.layout(), edit.part, fromSet);
  } else {
    invertRows(draft->bits(), edit.layout(), edit.part);
  }
  return settle(edit, std::move(draft));
}

TileSlot combineTile(const TileEdit& edit, const TileSlot& a, const TileSlot& b, TruthTable f) {
  const bool f00 = apply(f, false, false), f01 = apply(f, false, true), f10 = apply(f, true, false),
             f11 = apply(f, true, true);
  const bool ignoresA = f00 == f10 && f01 == f11, ignoresB = f00 == f01 && f10 == f11;
  if (ignoresB) return mapTile(edit, a, f00, f10);
  if (b.isConstant()) return b.value() ? mapTile(edit, a, f01, f11) : mapTile(edit, a, f00, f10);
  if (a == b) return mapTile(edit, a, f00, f11);
  if (edit.isWholeTile()) {
    if (ignoresA) return mapTile(edit, b, f00, f01);
    if (a.isConstant()) return a.value() ? mapTile(edit, b, f10, f11) : mapTile(edit, b, f00, f01);
    return combineWholeCells(edit, a.cell(), b.cell(), f);
  }
  Ref<TilePayload> draft = draftOf(edit, a);
  combineRows(draft->bits(), edit.layout(), b.cell().pin()->bits(), edit.layout(), edit.part, f);
  return settle(edit, std::move(draft));
}

TileSlot combinePayloads(const TileGrid& grid, std::int64_t tile, const PayloadPass& pass, const TilePayload& a,
                         const TilePayload& b, TruthTable f) {
  Ref<TilePayload> draft = TilePayload::make(grid.tileByteSize());
  const auto combineBits = pass.pastCaches ? combineBlocksStreamed : combineBlocks;
  const WordSummary seen = combineBits(draft->bits(), a.bits(), b.bits(), draft->byteSize(), f);
  if (pass.mayBeCut && grid.isCut(tile)) {
    const TileEdit edit{grid, tile, grid.tileBox(tile)};
    clearPadding(edit, draft->bits());
    return settle(edit, std::move(draft));
  }
  if (seen.anySet && seen.anyClear) return cellOf(std::move(draft));
  return TileSlot::constant(seen.anySet);
}

TileSlot replaceInTile(const TileEdit& edit, const TileSlot& content, const void* bits, const BitLayout& layout) {
  const bool whole = edit.isWholeTile();
  Ref<TilePayload> draft = whole && !edit.grid.isCut(edit.tile)
                               ? TilePayload::make(edit.grid.tileByteSize())
                               : draftOf(edit, whole ? TileSlot::constant(false) : content);
  const WordSummary seen = copyRowsSummarised(draft->bits(), edit.layout(), bits, layout, edit.part);
  const bool mixed = seen.anySet && seen.anyClear;
  if (!mixed && (whole || content.isConstant())) return mapTile(edit, content, seen.anySet, seen.anySet);
  if (content.isReference()) {
    // A box that is written back hardly changed leaves most tiles as they are in the file.
    const Ref<const TilePayload> old = content.cell().inMemory();
    if (old && std::memcmp(old->bits(), draft->bits(), draft->byteSize()) == 0) return content;
  }
  return mixed ? cellOf(std::move(draft)) : settle(edit, std::move(draft));
}

TileSlot contentFrom(const TileTable& other, const TileEdit& edit) {
  if (other.grid() == edit.grid) return other.content(edit.tile);
  const TileGrid::Range tiles = other.grid().tilesOf(edit.part);
  const TileSlot first = other.content(tiles[0]);
  bool uniform = first.isConstant();
  for (std::int64_t i = 1; uniform && i < tiles.size(); ++i) uniform = other.content(tiles[i]) == first;
  if (uniform) return first;

  Ref<TilePayload> draft = draftOf(edit, TileSlot::constant(false));
  for (std::int64_t i = 0; i < tiles.size(); ++i) {
    const TileSlot content = other.content(tiles[i]);
    const SbBox3i32 common = other.grid().tileBox(tiles[i]).intersection(edit.part);
    if (content.isReference()) {
      copyRows(draft->bits(), edit.layout(), content.cell().pin()->bits(), other.grid().tileLayout(tiles[i]), common);
    } else if (content.value()) {
      fillRows(draft->bits(), edit.layout(), common, true);
    }
  }
  return settle(edit, std::move(draft));
}

}  // namespace hxvoxora::detail
