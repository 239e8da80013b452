#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/voxora/export.h"
#include "quarn/voxora/files/CompressedTile.h"
#include "quarn/voxora/files/CompressedTiles.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/StoredTileKind.h"
#include "quarn/voxora/files/VolumeHeader.h"

namespace hxvoxora {

struct StoredTile;
class TileIndex;

/// A tiled volume of bits on disk, opened for reading: header, tile index and data file (docs/format/).
///
/// Nothing changes after opening, so that all operations may be called from several threads at once. Only the data
/// file stays open; the set goes on being readable when its names are removed or given to other files. A data file
/// that somebody writes to in place is noticed and refused.
class QUARN_VOXORA_API TiledFileReader {
public:
  /// Opens the set of the header `ldmPath`. Header and index are read and checked against each other, the sizes in
  /// them against the bytes in the files, before anything of a size told by a file is allocated. Tiles are not read.
  /// Throws McException naming the file, the element or field, and the value.
  static std::shared_ptr<TiledFileReader> open(FileSystem& fileSystem, const std::string& ldmPath);

  /// The same for a header that was read before, or that names files other than the one at `ldmPath` does: the files
  /// are looked for in the folder of `ldmPath`.
  static std::shared_ptr<TiledFileReader> open(FileSystem& fileSystem, const std::string& ldmPath,
                                               const VolumeHeader& header);

  ~TiledFileReader();

  TiledFileReader(const TiledFileReader&) = delete;
  TiledFileReader& operator=(const TiledFileReader&) = delete;

  /// The path the set was opened by.
  const std::string& path() const { return path_; }
  const VolumeHeader& header() const { return header_; }
  /// Same as header().findTag(name).
  std::optional<std::string> findHeaderTag(std::string_view name) const { return header_.findTag(name); }

  /// What the set holds for a tile; 0 <= tile < header().tileCount(), else McException.
  StoredTileKind kind(std::uint64_t tile) const;
  /// The kinds of all tiles in ascending order, without gaps; neighbouring runs differ in kind.
  const std::vector<StoredTileRun>& runs() const;
  /// Number of tiles whose bits are in the data file.
  std::uint64_t storedCount() const;

  /// Reads the bits of a stored tile: header().tileBytes() bytes, first voxel in the most significant bit, x fastest;
  /// bits of voxels outside the volume are 0. `out` must have exactly that size. A tile that is not stored, or whose
  /// bytes are missing, damaged or not what the index says, throws McException naming file and tile; `out` then holds
  /// no voxels to be used.
  void read(std::uint64_t tile, std::span<std::byte> out) const;

  /// The bytes of a stored tile as they are in the file, checked against their checksum: to hand them on to a writer
  /// without packing them anew. Errors as of read().
  CompressedTile readCompressed(std::uint64_t tile) const;

  /// The same for several stored tiles. Those that stand one behind the other in the file, as tiles in ascending order
  /// mostly do, are read in one go.
  CompressedTiles readCompressed(std::span<const std::uint64_t> tiles) const;

  /// The same into `packed`, whose memory is used again. After an exception its content is of no use.
  void readCompressed(std::span<const std::uint64_t> tiles, CompressedTiles& packed) const;

  /// Reads all stored tiles, in large pieces, and compares them with their checksums. Errors as of read(), for the
  /// first tile that is missing or damaged.
  void checkStoredTiles() const;

  /// The data file as it was opened.
  const FileIdentity& dataIdentity() const { return opened_; }

  /// The tile index as it was when it was read.
  const FileIdentity& indexIdentity() const { return readIndex_; }

  /// Bytes that a stored tile takes in the data file.
  std::uint32_t storedBytes(std::uint64_t tile) const;

  /// Checksum of a stored tile, as the index has it (see CompressedTile).
  std::uint64_t checksum(std::uint64_t tile) const;

private:
  TiledFileReader(std::string path, VolumeHeader header, std::unique_ptr<const TileIndex> index,
                  const FileIdentity& readIndex, std::unique_ptr<const InputFile> data);

  const StoredTile& stored(std::uint64_t tile) const;
  void checkNumber(std::uint64_t tile) const;
  void readBytes(std::uint64_t offset, std::span<std::byte> out) const;
  void checkBytes(const CompressedTiles& packed) const;

  const std::string path_;
  const VolumeHeader header_;
  const std::unique_ptr<const TileIndex> index_;
  const FileIdentity readIndex_;
  const std::unique_ptr<const InputFile> data_;
  const FileIdentity opened_;
};

}  // namespace hxvoxora
