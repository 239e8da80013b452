#pragma once

#include <cstdint>
#include <utility>

#include "quarn/voxora/tiles/Ref.h"
#include "quarn/voxora/tiles/detail/TileCell.h"

namespace hxvoxora::detail {

class TileNode;

/// What stands in one place of a tile table: a tile without bits, or a reference to a cell; inside the table also a
/// reference to a node with the places below, and a mark without bits then stands for all of them.
class TileSlot {
public:
  /// A tile that was never written.
  TileSlot() = default;
  TileSlot(const TileSlot& other) noexcept : word_(other.word_) {
    if (const Counted* object = counted()) object->ref();
  }
  TileSlot(TileSlot&& other) noexcept : word_(std::exchange(other.word_, unwritten)) {}
  TileSlot& operator=(TileSlot other) noexcept {
    std::swap(word_, other.word_);
    return *this;
  }
  ~TileSlot() {
    if (const Counted* object = counted()) object->unref();
  }

  /// A written tile of one value.
  static TileSlot constant(bool value) {
    TileSlot slot;
    slot.word_ = value ? one : zero;
    return slot;
  }

  static TileSlot cell(Ref<const TileCell> cell) { return hold(cell.release()); }
  static TileSlot node(Ref<const TileNode> node);

  bool isUnwritten() const { return word_ == unwritten; }
  bool isConstant() const { return word_ == zero || word_ == one; }
  bool isReference() const { return word_ > one; }

  /// The value of a constant.
  bool value() const { return word_ == one; }

  /// The cell or node of a reference; the table knows which of them it is.
  const TileCell& cell() const { return static_cast<const TileCell&>(*counted()); }
  const TileNode& node() const;

  /// Equal marks, or the same object.
  friend bool operator==(const TileSlot&, const TileSlot&) = default;

private:
  enum : std::uintptr_t { unwritten, zero, one };

  static TileSlot hold(const Counted* object) {
    TileSlot slot;
    slot.word_ = reinterpret_cast<std::uintptr_t>(object);
    return slot;
  }

  const Counted* counted() const { return isReference() ? reinterpret_cast<const Counted*>(word_) : nullptr; }

  std::uintptr_t word_ = unwritten;
};

}  // namespace hxvoxora::detail
