#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quarn/base/McVec3i.h"
#include "quarn/voxora/export.h"
#include "quarn/voxora/files/TileCompression.h"

namespace hxvoxora {

class FileSystem;

/// The header of a tiled volume of bits, and the geometry of its tile grid (docs/format/volume-header.md).
///
/// Tiles are numbered with x fastest: tile (i, j, k) of a grid of (nx, ny, nz) tiles has the number (k * ny + j) * nx
/// + i. All tiles have the same size; those at the upper borders of the volume reach beyond it.
struct QUARN_VOXORA_API VolumeHeader {
  static constexpr std::uint64_t maxTextBytes = std::uint64_t{1} << 20;  ///< longest header text that is read
  static constexpr std::uint64_t maxTiles = std::uint64_t{1} << 40;      ///< most tiles that a volume may have

  McVec3i dimensions{0, 0, 0};      ///< voxels per axis, 1 to 2^31 - 1
  McVec3i tileDimensions{0, 0, 0};  ///< voxels per axis, powers of two from 8 to 256, x at least 32
  TileCompression compression = TileCompression::gzip;
  int border = 0;                ///< voxels of the neighbour tiles that each tile repeats; only old files have any
  std::string dataFile;          ///< bare name of the file with the tiles
  std::string indexFile;         ///< bare name of the file with the tile index
  std::uint64_t generation = 0;  ///< random mark that header, index and data of one save share; never 0

  /// Reads a header. `path` is the header's own path: it stands in messages, and its last component may not be
  /// named as data or index file. Throws McException naming path, element and value; never opens anything.
  static VolumeHeader parse(std::string_view text, const std::string& path);

  /// Opens and reads the header at `path`, which may be a link; errors as of parse() and FileSystem.
  static VolumeHeader read(FileSystem& fileSystem, const std::string& path);

  /// The header as text: one element per line, line ends LF. Elements that are not listed here are not written.
  std::string toXml() const;

  /// Throws McException, naming `path`, element and value, when a member is outside the limits above.
  void validate(const std::string& path) const;

  /// The text of a direct child element of the root, exactly as it stands; empty for an element without text. No
  /// value when there is no such element, or when several contradict each other.
  std::optional<std::string> findTag(std::string_view name) const;

  /// Tiles per axis.
  McVec3i tilesPerAxis() const;
  /// Tiles of the whole grid.
  std::uint64_t tileCount() const;
  /// Bytes of the bits of one tile.
  std::uint64_t tileBytes() const;
  /// Voxels per axis of this tile that lie inside the volume.
  McVec3i tileExtent(std::uint64_t tile) const;

private:
  std::vector<std::pair<std::string, std::string>> tags_;  // every direct child of the root, in the order of the text
};

}  // namespace hxvoxora
