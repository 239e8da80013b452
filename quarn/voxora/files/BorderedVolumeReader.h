#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "quarn/voxora/export.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/StoredTileKind.h"
#include "quarn/voxora/files/VolumeHeader.h"

namespace hxvoxora {

/// A tiled volume of bits of the older layout, whose tiles repeat voxels of their neighbours, opened for reading
/// (docs/format/volume-header.md, "Older files: tiles with borders").
///
/// One thread at a time. Tiles are read in any order, in ascending order fastest: some of them, at most 64 MiB and a
/// quarter of the memory budget, are kept for the comparison with their neighbours.
class QUARN_VOXORA_API BorderedVolumeReader {
public:
  /// Opens the set of the header `ldmPath`, and checks it as TiledFileReader::open does. Throws McException naming the
  /// file, the element or field, and the value; also when the tiles have no borders.
  static std::unique_ptr<BorderedVolumeReader> open(FileSystem& fileSystem, const std::string& ldmPath);

  ~BorderedVolumeReader();

  BorderedVolumeReader(const BorderedVolumeReader&) = delete;
  BorderedVolumeReader& operator=(const BorderedVolumeReader&) = delete;

  /// The path the set was opened by.
  const std::string& path() const;
  const VolumeHeader& header() const;

  /// The kinds of all tiles in ascending order, without gaps; neighbouring runs differ in kind.
  const std::vector<StoredTileRun>& runs() const;

  /// Reads the voxels of a stored tile itself, without borders: header().tileBytes() bytes, as TiledFileReader::read
  /// gives them. McException naming file and tile when its bytes are missing or damaged, or when its borders are not
  /// what the neighbours hold there.
  void read(std::uint64_t tile, std::span<std::byte> out);

private:
  struct State;
  explicit BorderedVolumeReader(std::unique_ptr<State> state);

  std::unique_ptr<State> state_;
};

}  // namespace hxvoxora
