#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "quarn/voxora/files/InputFile.h"
#include "quarn/voxora/files/StoredTileKind.h"
#include "quarn/voxora/files/TileForm.h"
#include "quarn/voxora/files/VolumeHeader.h"

namespace hxvoxora {

/// Where the data file holds a tile.
struct StoredTile {
  std::uint64_t offset = 0;
  std::uint32_t length = 0;
  TileForm form = TileForm::raw;
  std::uint64_t checksum = 0;  ///< XXH3 of these bytes of the data file
};

/// What each tile of a volume is, and where the stored ones are (docs/format/tile-index.md). Never changes once made.
class TileIndex {
public:
  /// `runs` cover the grid in ascending order, neighbours differ in kind; `stored` has one entry for each tile of kind
  /// stored, in tile order.
  TileIndex(std::vector<StoredTileRun> runs, std::vector<StoredTile> stored);

  /// Reads an index and checks everything in it against the header and the size of the data file. Memory grows with
  /// what was really read, never with what a field says. Throws McException naming file, field and value.
  static TileIndex read(const InputFile& file, const VolumeHeader& header, std::uint64_t dataBytes);

  /// The whole file.
  std::vector<std::byte> toBytes(const VolumeHeader& header, std::uint64_t dataBytes) const;

  const std::vector<StoredTileRun>& runs() const { return runs_; }
  const std::vector<StoredTile>& stored() const { return stored_; }

  /// The kind of a tile of the grid.
  StoredTileKind kind(std::uint64_t tile) const { return runs_[runOf(tile)].kind; }

  /// The entry of a tile; null when it is not stored.
  const StoredTile* find(std::uint64_t tile) const;

private:
  std::size_t runOf(std::uint64_t tile) const;

  std::vector<StoredTileRun> runs_;
  std::vector<std::uint64_t> storedBefore_;  // for each run: stored tiles in the runs before it
  std::vector<StoredTile> stored_;
};

}  // namespace hxvoxora
