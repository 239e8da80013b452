#include "quarn/voxora/tiles/detail/TableCombination.h"

#include <algorithm>
#include <utility>

#include "quarn/voxora/tiles/detail/CellCombiner.h"
#include "quarn/voxora/tiles/detail/parallel.h"

namespace hxvoxora::detail {

namespace {

/// A usual share of the last cache for one of three arrays.
constexpr std::size_t heldByCaches = std::size_t{1} << 24;
constexpr std::size_t leastStreamedTile = std::size_t{1} << 15;

bool anyTileIsCut(const TileGrid& grid) {
  for (int axis = 0; axis < 3; ++axis)
    if (grid.dimensions()[axis] % grid.tileDimensions()[axis] != 0) return true;
  return false;
}

/// The function of one operand that f is when both are the same.
TruthTable ofItself(TruthTable f) {
  const bool f0 = apply(f, false, false), f1 = apply(f, true, true);
  if (f0 == f1) return f0 ? TruthTable::One : TruthTable::Zero;
  return f0 ? TruthTable::NotA : TruthTable::CopyA;
}

/// The choice for an operand that becomes `fromClear` where it is clear and `fromSet` where it is set.
template <typename Choice>
Choice choiceFor(bool fromClear, bool fromSet, Choice asItIs, Choice inverted) {
  if (fromClear == fromSet) return fromSet ? Choice::One : Choice::Zero;
  return fromSet ? asItIs : inverted;
}

std::int64_t tilesBelow(int levels) {
  return std::int64_t{1} << (TileNode::fanoutBits * levels);
}

}  // namespace

TableCombination::TableCombination(TileTableEditor& table, const TileTable& other, TruthTable f)
    : TableCombination(table, other.root(), other.defaultValue(), f) {}

TableCombination::TableCombination(TileTableEditor& table, TruthTable f)
    : TableCombination(table, TileSlot(), false, ofItself(f)) {}

TableCombination::TableCombination(TileTableEditor& table, TileSlot otherRoot, bool otherDefault, TruthTable f)
    : table_(table),
      otherRoot_(std::move(otherRoot)),
      otherDefault_(otherDefault),
      f_(f),
      pass_{anyTileIsCut(table.grid()), false} {
  const bool f00 = apply(f, false, false), f01 = apply(f, false, true), f10 = apply(f, true, false),
             f11 = apply(f, true, true);
  const auto ofA = [](bool fromClear, bool fromSet) {
    return choiceFor(fromClear, fromSet, Choice::KeepA, Choice::InvertA);
  };
  const auto ofB = [](bool fromClear, bool fromSet) {
    return choiceFor(fromClear, fromSet, Choice::TakeB, Choice::InvertB);
  };
  for (const Known a : {Clear, Set}) {
    for (const Known b : {Clear, Set}) choices_[a][b] = apply(f, a == Set, b == Set) ? Choice::One : Choice::Zero;
    choices_[a][Bits] = a == Set ? ofB(f10, f11) : ofB(f00, f01);
  }
  choices_[Bits][Clear] = ofA(f00, f10);
  choices_[Bits][Set] = ofA(f01, f11);
  const bool ignoresA = f00 == f10 && f01 == f11, ignoresB = f00 == f01 && f10 == f11;
  choices_[Bits][Bits] = ignoresB ? ofA(f00, f10) : ignoresA ? ofB(f00, f01) : Choice::Combine;
  choiceForSame_ = ofA(f00, f11);
}

TableCombination::Known TableCombination::knownOf(const TileSlot& slot, bool defaultValue) {
  if (slot.isReference()) return Bits;
  return (slot.isUnwritten() ? defaultValue : slot.value()) ? Set : Clear;
}

TableCombination::Choice TableCombination::choiceOf(const TileSlot& a, const TileSlot& b) const {
  // A page read with two default values is not the same twice.
  if (a.isReference() && a == b && table_.defaultValue_ == otherDefault_) return choiceForSame_;
  return choices_[knownOf(a, table_.defaultValue_)][knownOf(b, otherDefault_)];
}

/// A tile that is that constant already stays what it is.
TileSlot TableCombination::constantOver(const TileSlot& a, bool value) const {
  return knownOf(a, table_.defaultValue_) == (value ? Set : Clear) ? a : TileSlot::constant(value);
}

void TableCombination::add(std::int64_t first, std::int64_t count) {
  if (count > 0) visit(table_.root_, otherRoot_, table_.levels_, 0, first, first + count);
}

/// Collects what is to be done below one place, which stands `levels` above the tiles and begins with the tile `base`.
void TableCombination::visit(TileSlot& a, const TileSlot& b, int levels, std::int64_t base, std::int64_t first,
                             std::int64_t end) {
  const std::int64_t below = tilesBelow(levels - 1), behind = base + tilesBelow(levels);
  if (isSettled(a, b, levels, first <= base && end >= std::min(behind, table_.grid().tileCount()))) return;
  if (levels == 1) return addLeaf(a, b, base, std::max(first, base) - base, std::min(end, behind) - base);
  TileNode& page = table_.ownPage(a);
  const std::int64_t firstChild = std::max<std::int64_t>(0, (first - base) / below);
  const std::int64_t endChild = std::min(TileNode::fanout, (end - base + below - 1) / below);
  for (std::int64_t i = firstChild; i < endChild; ++i)
    visit(page.slots[i], b.isReference() ? b.node().slots[i] : b, levels - 1, base + i * below, first, end);
  inner_.push_back({&a, levels, base});
}

/// The places first <= i < end of a page. Ranges that were added one after the other may meet in one page.
void TableCombination::addLeaf(TileSlot& a, const TileSlot& b, std::int64_t base, std::int64_t first,
                               std::int64_t end) {
  const std::uint64_t wanted = (~std::uint64_t{0} >> (TileNode::fanout - (end - first))) << first;
  if (!leaves_.empty() && leaves_.back().place == &a) {
    leaves_.back().wanted |= wanted;
  } else {
    leaves_.push_back({&a, &b, base, wanted, nullptr});
  }
}

/// Whether a page of the other table can stand in place of a mark as it is: what was never written reads as the table's
/// default value, and tiles that come out as they were keep their mark.
bool TableCombination::canTakePage(const TileSlot& a, const TileNode& page) const {
  const Known known = knownOf(a, table_.defaultValue_);
  return std::none_of(page.slots.begin(), page.slots.end(), [&](const TileSlot& slot) {
    return slot.isUnwritten() || (slot.isConstant() && slot != a && knownOf(slot, false) == known);
  });
}

/// Whether nothing below the place must be looked at; `whole` tells whether all of its tiles take part.
bool TableCombination::isSettled(TileSlot& a, const TileSlot& b, int levels, bool whole) {
  const Choice choice = choiceOf(a, b);
  if (choice == Choice::KeepA) return true;
  if (choice == Choice::TakeB && levels == 1 && whole && !a.isReference() && canTakePage(a, b.node())) {
    settled_.push_back({&a, b});
    return true;
  }
  if (a.isReference() || (choice != Choice::Zero && choice != Choice::One)) return false;
  TileSlot constant = constantOver(a, choice == Choice::One);
  if (constant == a) return true;
  if (whole) settled_.push_back({&a, std::move(constant)});
  return whole;
}

/// Whether so many bytes come out that they would only push each other from the caches. Small tiles pay for the way
/// past the caches with each of their beginnings.
bool TableCombination::makesMoreThanCachesHold() const {
  const std::size_t tileBytes = table_.grid().tileByteSize();
  if (tileBytes < leastStreamedTile) return false;
  std::size_t bytes = 0;
  for (const Leaf& leaf : leaves_) {
    const TileSlot *a = leaf.place, *b = leaf.other;
    for (std::int64_t i = 0; i < TileNode::fanout; ++i) {
      if (!leaf.wants(i)) continue;
      const Choice choice =
          choiceOf(a->isReference() ? a->node().slots[i] : *a, b->isReference() ? b->node().slots[i] : *b);
      if (choice == Choice::Combine || choice == Choice::InvertA || choice == Choice::InvertB) bytes += tileBytes;
    }
    if (bytes >= heldByCaches) return true;
  }
  return false;
}

void TableCombination::run() {
  pass_.pastCaches = makesMoreThanCachesHold();
  parallelFor(static_cast<std::int64_t>(leaves_.size()),
              [this](std::int64_t i) { work(leaves_[static_cast<std::size_t>(i)]); });
  install();
}

void TableCombination::work(Leaf& leaf) const {
  const TileSlot *a = leaf.place, *b = leaf.other;
  const bool oneA = !a->isReference(), oneB = !b->isReference();
  if (!oneA) a = a->node().slots.data();
  if (!oneB) b = b->node().slots.data();
  leaf.result = Ref<TileNode>(new TileNode(table_.editor_, TileSlot()));
  TileSlot* out = leaf.result->slots.data();
  CellCombiner combiner(table_.grid(), pass_);
  for (std::int64_t i = 0; i < TileNode::fanout; ++i) {
    const TileSlot& old = oneA ? *a : a[i];
    if (leaf.wants(i)) {
      place(out[i], old, oneB ? *b : b[i], leaf.base + i, combiner);
    } else {
      out[i] = old;
    }
  }
  combiner.run();
}

/// Settles a tile or leaves it to the combiner.
void TableCombination::place(TileSlot& result, const TileSlot& a, const TileSlot& b, std::int64_t tile,
                             CellCombiner& combiner) const {
  switch (choiceOf(a, b)) {
    case Choice::Zero:
      result = constantOver(a, false);
      return;
    case Choice::One:
      result = constantOver(a, true);
      return;
    case Choice::KeepA:
      result = a;
      return;
    case Choice::TakeB:
      result = b;
      return;
    case Choice::InvertA:
      return combiner.add(result, tile, a.cell(), a.cell(), TruthTable::NotA);
    case Choice::InvertB:
      return combiner.add(result, tile, b.cell(), b.cell(), TruthTable::NotA);
    case Choice::Combine:
      return combiner.add(result, tile, a.cell(), b.cell(), f_);
  }
}

/// Puts all results into the table; nothing here fails.
void TableCombination::install() {
  for (Leaf& leaf : leaves_) {
    const TileSlot& first = leaf.result->slots.front();
    if (table_.isUniform(*leaf.result, 1, leaf.base)) {
      *leaf.place = first;
    } else {
      *leaf.place = TileSlot::node(Ref<const TileNode>(std::move(leaf.result)));
    }
  }
  for (Settled& settled : settled_) *settled.place = std::move(settled.slot);
  // A page may stand in the list several times; those below it come first, as it may take them along.
  std::sort(inner_.begin(), inner_.end(), [](const Inner& a, const Inner& b) { return a.levels < b.levels; });
  for (const Inner& inner : inner_) {
    if (!inner.place->isReference()) continue;
    const TileNode& page = inner.place->node();
    if (!table_.isUniform(page, inner.levels, inner.base)) continue;
    const TileSlot mark = page.slots.front();
    *inner.place = mark;
  }
}

}  // namespace hxvoxora::detail
