#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "quarn/voxora/bits/TruthTable.h"
#include "quarn/voxora/tiles/detail/TileNode.h"
#include "quarn/voxora/tiles/detail/TileTable.h"
#include "quarn/voxora/tiles/detail/TileTableEditor.h"
#include "quarn/voxora/tiles/detail/tileEdits.h"

namespace hxvoxora::detail {

class CellCombiner;

/// table = f(table, other) on whole tiles of two tables of one grid.
///
/// Both trees of pages are walked together: where one of them has a mark that settles the result, nothing below is
/// looked at, so that the cost follows the tiles with bits. These are worked out in parallel. Tiles that come out as
/// they were keep their place, "unwritten" included; tiles taken over unchanged are shared.
class TableCombination {
public:
  /// The table is changed by run() only; both must outlive this object.
  TableCombination(TileTableEditor& table, const TileTable& other, TruthTable f);

  /// table = f(table, table).
  TableCombination(TileTableEditor& table, TruthTable f);

  /// Adds the tiles first <= tile < first + count, which were not added before.
  void add(std::int64_t first, std::int64_t count);

  /// Does the work, once. McException when a tile cannot be read from its file; the table is then as it was.
  void run();

private:
  /// What a place of the result is.
  enum class Choice : std::uint8_t { Zero, One, KeepA, TakeB, InvertA, InvertB, Combine };

  /// What is known of a place: a constant, or bits (or a page) about which nothing is known.
  enum Known : std::uint8_t { Clear, Set, Bits };

  /// The places of one page of the lowest level, which begins with the tile `base`. A mark in place of a page stands
  /// for all of them. Bit i of `wanted`: place i takes part.
  struct Leaf {
    bool wants(std::int64_t i) const { return (wanted >> i & 1) != 0; }

    TileSlot* place;
    const TileSlot* other;
    std::int64_t base;
    std::uint64_t wanted;
    Ref<TileNode> result;
  };
  static_assert(TileNode::fanout == 64, "a page has as many places as a word has bits");

  struct Settled {
    TileSlot* place;
    TileSlot slot;
  };

  /// A page above the lowest level that may have become uniform.
  struct Inner {
    TileSlot* place;
    int levels;
    std::int64_t base;
  };

  TableCombination(TileTableEditor& table, TileSlot otherRoot, bool otherDefault, TruthTable f);

  static Known knownOf(const TileSlot& slot, bool defaultValue);
  Choice choiceOf(const TileSlot& a, const TileSlot& b) const;
  bool canTakePage(const TileSlot& a, const TileNode& page) const;
  TileSlot constantOver(const TileSlot& a, bool value) const;

  void visit(TileSlot& a, const TileSlot& b, int levels, std::int64_t base, std::int64_t first, std::int64_t end);
  void addLeaf(TileSlot& a, const TileSlot& b, std::int64_t base, std::int64_t first, std::int64_t end);
  bool isSettled(TileSlot& a, const TileSlot& b, int levels, bool whole);
  void work(Leaf& leaf) const;
  void place(TileSlot& result, const TileSlot& a, const TileSlot& b, std::int64_t tile, CellCombiner& combiner) const;
  bool makesMoreThanCachesHold() const;
  void install();

  TileTableEditor& table_;
  const TileSlot otherRoot_;
  const bool otherDefault_;
  const TruthTable f_;
  PayloadPass pass_;
  std::array<std::array<Choice, 3>, 3> choices_{};
  Choice choiceForSame_;
  std::vector<Leaf> leaves_;
  std::vector<Settled> settled_;
  std::vector<Inner> inner_;
};

}  // namespace hxvoxora::detail
