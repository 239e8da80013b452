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
/// A file holds one or more resolution levels. Level 0 is the volume; each further one has half the voxels of the one
/// before along each axis, rounded up. All levels are cut into tiles of the same size; those at the upper borders reach
/// beyond the level. Within a level tiles are numbered with x fastest: tile (i, j, k) of a grid of (nx, ny, nz) tiles
/// has the number (k * ny + j) * nx + i behind the first of its level. The numbers run on from level to level.
///
/// Functions of a level want 0 <= level < levels, those of a tile 0 <= tile < tileCount().
struct QUARN_VOXORA_API VolumeHeader {
  static constexpr std::uint64_t maxTextBytes = std::uint64_t{1} << 20;  ///< longest header text that is read
  static constexpr std::uint64_t maxTiles = std::uint64_t{1} << 40;      ///< most tiles that level 0 may have

  McVec3i dimensions{0, 0, 0};      ///< voxels per axis, 1 to 2^31 - 1
  McVec3i tileDimensions{0, 0, 0};  ///< voxels per axis, powers of two from 8 to 256, x at least 32
  int levels = 1;                   ///< resolution levels in the file, 1 to maxLevels()
  TileCompression compression = TileCompression::gzip;
  int border = 0;                ///< voxels of the neighbour tiles that each tile repeats; only old files have any
  std::string contentName;       ///< name of what the volume holds, see isContentName(); empty when not told
  std::string dataFile;          ///< bare name of the file with the tiles
  std::string indexFile;         ///< bare name of the file with the tile index
  std::uint64_t generation = 0;  ///< random mark that header, index and data of one save share; never 0

  /// Reads a header. `path` is the header's own path: it stands in messages, and its last component may not be
  /// named as data or index file. Throws McException naming path, element and value; never opens anything.
  static VolumeHeader parse(std::string_view text, const std::string& path);

  /// The text to parse of the header at `path`, which may be a link; errors as of FileSystem.
  static std::string readText(FileSystem& fileSystem, const std::string& path);

  /// readText() and parse().
  static VolumeHeader read(FileSystem& fileSystem, const std::string& path);

  /// Whether a header can hold this name: 1 to 255 of the characters A-Z a-z 0-9 _ -.
  static bool isContentName(std::string_view name);

  /// An element of another program: name and text.
  using Element = std::pair<std::string, std::string>;

  /// The header as text: one element per line, line ends LF; `further` elements stand at the end. Others are not
  /// written.
  std::string toXml(const std::vector<Element>& further = {}) const;

  /// Throws McException, naming `path`, element and value, when a member is outside the limits above.
  void validate(const std::string& path) const;

  /// The text of a direct child element of the root, exactly as it stands; empty for an element without text. No
  /// value when there is no such element, or when several contradict each other.
  std::optional<std::string> findTag(std::string_view name) const;

  /// The most levels that a volume can have: the last one is the first to fit into one tile.
  static int maxLevels(const McVec3i& dimensions, const McVec3i& tileDimensions);

  /// Voxels per axis of a level: ceil(dimensions / 2^level).
  McVec3i levelDimensions(int level) const;
  /// Tiles per axis of a level.
  McVec3i tilesPerAxis(int level = 0) const;
  /// Tiles of one level.
  std::uint64_t levelTileCount(int level) const;
  /// The number of the first tile of a level.
  std::uint64_t levelFirstTile(int level) const;
  /// The level that a tile belongs to.
  int levelOf(std::uint64_t tile) const;
  /// Tiles of all levels of the file.
  std::uint64_t tileCount() const;
  /// Bytes of the bits of one tile.
  std::uint64_t tileBytes() const;
  /// Voxels per axis that a stored tile holds: its own and those of its borders.
  McVec3i storedTileDimensions() const;
  /// Bytes of these voxels' bits; tileBytes() without borders.
  std::uint64_t storedTileBytes() const;
  /// Voxels per axis of this tile that lie inside its level.
  McVec3i tileExtent(std::uint64_t tile) const;

private:
  std::vector<std::pair<std::string, std::string>> tags_;  // every direct child of the root, in the order of the text
};

}  // namespace hxvoxora
