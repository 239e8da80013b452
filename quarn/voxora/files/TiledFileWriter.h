#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "quarn/voxora/export.h"
#include "quarn/voxora/files/CompressedTile.h"
#include "quarn/voxora/files/CompressedTiles.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/StoredTileKind.h"
#include "quarn/voxora/files/VolumeHeader.h"

namespace hxvoxora {

/// Writes a tiled volume of bits: prefix.ldm, prefix.dat and prefix.fcp (docs/format/).
///
/// Everything is written into new files beside the target; commit() puts them in place, header last. Whatever fails
/// and wherever the process is killed, the set at the target is the old one or the new one, never a mixture. A set
/// that is open for reading, also the one this writer replaces, stays readable for those who have it open. What a
/// killed process left beside the target is removed by the next writer.
///
/// setKind, put and putCompressed may be called from several threads at once, commit by one when they are done. Tiles
/// come in any order; tiles that are never mentioned are unwritten. After an exception only the destructor may follow.
class QUARN_VOXORA_API TiledFileWriter {
public:
  /// Starts a set of the dimensions, tile dimensions, levels, compression and content name of `header`; its other
  /// members are not used: file names follow from the path, and the generation is drawn. `ldmPath` ends in ".ldm".
  /// Throws McException when the header is outside its limits, the target or one of its files is something else than a
  /// regular file, or the new files cannot be made. `access` says who may use the new files.
  TiledFileWriter(FileSystem& fileSystem, const std::string& ldmPath, const VolumeHeader& header,
                  FileSystem::Access access = FileSystem::Access::ownerOnly);

  /// Without commit(): removes the new files; the target stays as it is. Never throws.
  ~TiledFileWriter();

  TiledFileWriter(const TiledFileWriter&) = delete;
  TiledFileWriter& operator=(const TiledFileWriter&) = delete;

  /// The header that is being written, with file names and generation.
  const VolumeHeader& header() const;

  /// Says that `count` tiles from `firstTile` on are unwritten, all clear or all set. `stored` is not allowed here.
  void setKind(std::uint64_t firstTile, StoredTileKind kind, std::uint64_t count = 1);

  /// Stores the bits of a tile: header().tileBytes() bytes as TiledFileReader::read gives them.
  void put(std::uint64_t tile, std::span<const std::byte> raw);

  /// Stores a tile that was packed before, by compress() or TiledFileReader::readCompressed().
  void putCompressed(std::uint64_t tile, const CompressedTile& packed);

  /// Stores several tiles that were packed before, as TiledFileReader::readCompressed() gives them: in one piece.
  void putCompressed(const CompressedTiles& packed);

  /// Puts an element of another program into the header, behind those of the format; `name` is a name of XML. Before
  /// commit().
  void addElement(const std::string& name, const std::string& text);

  /// Throws McException that names both numbers when the folder has no room for `bytes` more: to be asked before the
  /// first tile, when so much is known to come.
  void requireSpace(std::uint64_t bytes) const;

  /// Packs the bits of a tile the way a writer of such a header does: `raw` has header.tileBytes() bytes. Of the header
  /// only tile dimensions and compression count. From any thread.
  static CompressedTile compress(std::span<const std::byte> raw, const VolumeHeader& header);

  /// Completes the files, brings them to stable storage and puts them in place. Throws McException when that fails or
  /// a tile was given twice; the old set is then in place again. (Only when the very last step fails, bringing the
  /// folder to stable storage, the new set is in place already.)
  void commit();

private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace hxvoxora
