#pragma once

#include <array>
#include <cstdint>

#include "quarn/voxora/tiles/Counted.h"
#include "quarn/voxora/tiles/detail/TileSlot.h"

namespace hxvoxora::detail {

/// A page of a tile table: small, because a page is copied when one of its places changes, and a copy touches whatever
/// the places refer to. Only the editor that made it may change it, and only until the table is published.
class TileNode final : public Counted {
public:
  static constexpr int fanoutBits = 6;
  static constexpr std::int64_t fanout = std::int64_t{1} << fanoutBits;

  /// A page whose places all hold the mark `fill`.
  TileNode(std::uint64_t editor, const TileSlot& fill) : editor_(editor) { slots.fill(fill); }

  /// A page with the places of another.
  TileNode(std::uint64_t editor, const TileNode& other) : slots(other.slots), editor_(editor) {}

  bool isOf(std::uint64_t editor) const { return editor_ == editor; }

  std::array<TileSlot, fanout> slots;

private:
  const std::uint64_t editor_;
};

inline TileSlot TileSlot::node(Ref<const TileNode> node) {
  return hold(node.release());
}

inline const TileNode& TileSlot::node() const {
  return static_cast<const TileNode&>(*counted());
}

}  // namespace hxvoxora::detail
