#pragma once

namespace hxvoxora {

/// How the tiles of a volume are stored.
enum class TileCompression {
  none,  ///< every stored tile as it is
  gzip   ///< every stored tile as one gzip member, or as it is when that is not longer
};

}  // namespace hxvoxora
