#pragma once

#include <cstdint>
#include <memory>

#include "quarn/voxora/files/TiledFileReader.h"
#include "quarn/voxora/tiles/TileGrid.h"
#include "quarn/voxora/tiles/TilePayload.h"
#include "quarn/voxora/tiles/detail/TileBacking.h"

namespace hxvoxora::detail {

/// An open file set that tiles are read from. Stays open as long as a tile may still come from it.
class TileSource final : public TileBacking {
public:
  explicit TileSource(std::shared_ptr<const TiledFileReader> reader);

  const TiledFileReader& reader() const { return *reader_; }
  const TileGrid& grid() const { return grid_; }

  /// Reads a stored tile; McException naming file and tile when it is damaged.
  Ref<const TilePayload> load(std::uint64_t tile) const override;
  const TileSource* asSource() const override { return this; }

private:
  std::shared_ptr<const TiledFileReader> reader_;
  TileGrid grid_;
};

}  // namespace hxvoxora::detail
