#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "quarn/voxora/export.h"
#include "quarn/voxora/tiles/Counted.h"
#include "quarn/voxora/tiles/Ref.h"

namespace hxvoxora {

class PayloadPool;

namespace detail {
class TileCache;
}

/// The bits of one tile: most significant bit first, x fastest, then y, then z, rows of the full tile. Once other code
/// can see a payload it never changes. It stays in memory as long as a reference is held.
class QUARN_VOXORA_API TilePayload final : public Counted {
public:
  const std::byte* bits() const { return bits_; }

  /// For the maker of a payload, before anybody else can see it.
  std::byte* bits() { return bits_; }

  std::size_t byteSize() const { return byteSize_; }

  /// What a payload is made for.
  enum class Purpose {
    Edit,  ///< new bits, which have no other place than memory
    Load,  ///< bits that can be had again
  };

  /// A payload with unspecified content. `byteSize` is a power of two from 256 to 2 MiB. Other payloads leave memory
  /// first when the memory budget demands it. Throws std::bad_alloc, and for an edit McException when the budget is
  /// full of edited tiles that cannot be spilled.
  static Ref<TilePayload> make(std::size_t byteSize, Purpose purpose = Purpose::Edit);

private:
  friend class PayloadPool;
  friend class detail::TileCache;
  TilePayload() = default;
  void dispose() const noexcept override;

  std::byte* bits_ = nullptr;
  std::size_t byteSize_ = 0;
  void* slab_ = nullptr;

  // The cache's: the first of the cells that hold the bits, with a mark when it is locked; when the bits were last
  // used; and whether they can be had again.
  mutable std::atomic<std::uintptr_t> owners_ = 0;
  mutable std::atomic<std::uint32_t> lastUse_ = 0;
  mutable std::atomic<bool> isBacked_ = false;
};

/// What the pools of payloads hold at this moment, and have handed out since the start of the process.
struct PayloadStatistics {
  std::size_t payloadsInUse = 0;
  std::size_t bytesInUse = 0;
  std::size_t bytesReserved = 0;      ///< taken from the system: in use and ready for use
  std::size_t payloadsHandedOut = 0;  ///< since the start of the process
};

QUARN_VOXORA_API PayloadStatistics payloadStatistics();

}  // namespace hxvoxora
