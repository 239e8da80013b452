#pragma once

namespace hxvoxora {

/// How the tiles of a volume are stored.
enum class TileCompression {
  none,  ///< every stored tile as it is
  gzip   ///< every stored tile in the shortest form, mostly as a gzip member
};

}  // namespace hxvoxora
