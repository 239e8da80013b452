#pragma once

#include <cstdint>

#include "quarn/voxora/tiles/Counted.h"
#include "quarn/voxora/tiles/Ref.h"
#include "quarn/voxora/tiles/TilePayload.h"

namespace hxvoxora::detail {

class TileSource;

/// Where the bits of tiles come from when they are not in memory. One backing may serve many tiles, told apart by a
/// key. Safe from several threads at once.
class TileBacking : public Counted {
public:
  /// The bits of a tile; McException naming what is wrong when they cannot be had.
  virtual Ref<const TilePayload> load(std::uint64_t key) const = 0;

  /// The file set when the tiles stand in one, else null.
  virtual const TileSource* asSource() const { return nullptr; }
};

}  // namespace hxvoxora::detail
