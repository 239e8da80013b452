#include "quarn/voxora/tiles/detail/TileTableEditor.h"

#include <algorithm>
#include <atomic>

#include "quarn/voxora/tiles/detail/TileNode.h"

namespace hxvoxora::detail {

namespace {

std::uint64_t newEditorNumber() {
  static std::atomic<std::uint64_t> last = 0;
  return ++last;
}

}  // namespace

TileTableEditor::TileTableEditor(const TileTable& table)
    : grid_(table.grid()),
      levels_(table.levels()),
      defaultValue_(table.defaultValue()),
      root_(table.root()),
      editor_(newEditorNumber()) {}

void TileTableEditor::setRange(std::int64_t first, std::int64_t count, const TileSlot& slot) {
  if (count > 0) assign(root_, levels_, 0, first, first + count, slot);
}

void TileTableEditor::assign(TileSlot& place, int levels, std::int64_t base, std::int64_t first, std::int64_t end,
                             const TileSlot& slot) {
  const std::int64_t span = std::int64_t{1} << (TileNode::fanoutBits * levels);
  const bool whole = first <= base && end >= std::min(base + span, grid_.tileCount());
  if (levels == 0 || (whole && !slot.isReference())) {
    place = slot;
    return;
  }
  if (!place.isReference() && place == slot) return;
  TileNode& page = ownPage(place);
  const std::int64_t below = span / TileNode::fanout;
  const std::int64_t firstChild = std::max<std::int64_t>(0, (first - base) / below);
  const std::int64_t endChild = std::min(TileNode::fanout, (end - base + below - 1) / below);
  for (std::int64_t i = firstChild; i < endChild; ++i)
    assign(page.slots[i], levels - 1, base + i * below, first, end, slot);
  // Looked at once a sweep, with the page's last tile; a page that is missed costs its memory and nothing else.
  const bool sweptToEnd = end >= std::min(base + span, grid_.tileCount());
  if (sweptToEnd && !slot.isReference() && isUniform(page, levels, base)) place = slot;
}

/// The page of a place, made or copied when it is not this editor's own.
TileNode& TileTableEditor::ownPage(TileSlot& place) {
  if (!place.isReference()) {
    place = TileSlot::node(Ref<const TileNode>(new TileNode(editor_, place)));
  } else if (!place.node().isOf(editor_)) {
    place = TileSlot::node(Ref<const TileNode>(new TileNode(editor_, place.node())));
  }
  return const_cast<TileNode&>(place.node());
}

/// True when all tiles of a page have the same mark; places behind the last tile do not count.
bool TileTableEditor::isUniform(const TileNode& page, int levels, std::int64_t base) const {
  const std::int64_t below = std::int64_t{1} << (TileNode::fanoutBits * (levels - 1));
  const std::int64_t used = std::min(TileNode::fanout, (grid_.tileCount() - base + below - 1) / below);
  const TileSlot& first = page.slots.front();
  return !first.isReference() &&
         std::all_of(page.slots.begin() + 1, page.slots.begin() + used, [&](const TileSlot& s) { return s == first; });
}

Ref<const TileTable> TileTableEditor::publish() {
  editor_ = newEditorNumber();  // from here on the pages belong to the table
  return makeRef<const TileTable>(grid_, defaultValue_, root_);
}

}  // namespace hxvoxora::detail
