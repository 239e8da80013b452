#include "quarn/voxora/files/TiledFileReader.h"

#include <xxhash.h>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/detail/ScratchBytes.h"
#include "quarn/voxora/files/detail/TileIndex.h"
#include "quarn/voxora/files/detail/tilePacking.h"
#include "quarn/voxora/files/detail/tilePadding.h"
#include "quarn/voxora/files/fileSetParts.h"

namespace hxvoxora {

namespace {

/// Calls `read` and puts the tile's number into its failures.
template <class Read>
void readNamingTile(const std::string& path, std::uint64_t tile, Read read) {
  std::string reason;
  try {
    reason = read();
  } catch (const McException& failure) {
    reason = failure.what();
  }
  if (!reason.empty()) throw McException(McException::excerpt(path) + ": tile " + std::to_string(tile) + ": " + reason);
}

std::string checksumObjection(std::span<const std::byte> bytes, std::uint64_t expected) {
  return XXH3_64bits(bytes.data(), bytes.size()) == expected ? std::string() : "the checksum is wrong";
}

constexpr std::size_t checkedPieceBytes = std::size_t{4} << 20;

/// A save that replaces the set while it is being opened shows as parts of different generations.
constexpr int maxAttempts = 10;

}  // namespace

std::shared_ptr<TiledFileReader> TiledFileReader::open(FileSystem& fileSystem, const std::string& ldmPath) {
  VolumeHeader header = VolumeHeader::read(fileSystem, ldmPath);
  for (int attempt = 1;; ++attempt) {
    try {
      return open(fileSystem, ldmPath, header);
    } catch (const McException&) {
      VolumeHeader current = VolumeHeader::read(fileSystem, ldmPath);
      if (attempt == maxAttempts || current.generation == header.generation) throw;
      header = std::move(current);
    }
  }
}

std::shared_ptr<TiledFileReader> TiledFileReader::open(FileSystem& fileSystem, const std::string& ldmPath,
                                                       const VolumeHeader& header) {
  if (header.border != 0) {
    throw McException(McException::excerpt(ldmPath) + ": element TileBorder \"" + std::to_string(header.border) +
                      "\": a file of the older layout, whose tiles cannot be read");
  }
  std::unique_ptr<InputFile> data = openDataFile(fileSystem, ldmPath, header);
  const std::unique_ptr<InputFile> indexFile = openIndexFile(fileSystem, ldmPath, header);
  const FileIdentity readIndex = indexFile->identity();
  auto index = std::make_unique<const TileIndex>(TileIndex::read(*indexFile, header, data->identity().size));
  return std::shared_ptr<TiledFileReader>(
      new TiledFileReader(ldmPath, header, std::move(index), readIndex, std::move(data)));
}

TiledFileReader::TiledFileReader(std::string path, VolumeHeader header, std::unique_ptr<const TileIndex> index,
                                 const FileIdentity& readIndex, std::unique_ptr<const InputFile> data)
    : path_(std::move(path)),
      header_(std::move(header)),
      index_(std::move(index)),
      readIndex_(readIndex),
      data_(std::move(data)),
      opened_(data_->identity()) {}

TiledFileReader::~TiledFileReader() = default;

StoredTileKind TiledFileReader::kind(std::uint64_t tile) const {
  checkNumber(tile);
  return index_->kind(tile);
}

const std::vector<StoredTileRun>& TiledFileReader::runs() const {
  return index_->runs();
}

std::uint64_t TiledFileReader::storedCount() const {
  return index_->stored().size();
}

void TiledFileReader::read(std::uint64_t tile, std::span<std::byte> out) const {
  const StoredTile& entry = stored(tile);
  readNamingTile(data_->path(), tile, [&]() -> std::string {
    if (out.size() != header_.tileBytes()) return std::to_string(out.size()) + " bytes of room do not fit";
    thread_local detail::ScratchBytes scratch;
    const bool isRaw = entry.form == TileForm::raw;
    const std::span<std::byte> bytes = isRaw ? out : scratch.get(entry.length);
    readBytes(entry.offset, bytes);
    std::string objection = checksumObjection(bytes, entry.checksum);
    if (objection.empty() && !isRaw) objection = detail::unpackTile(entry.form, bytes, header_.tileDimensions, out);
    if (!objection.empty()) return objection;
    const bool clear = detail::isPaddingClear(out, header_.tileDimensions, header_.tileExtent(tile));
    return clear ? "" : "bits outside the level are set";
  });
}

CompressedTile TiledFileReader::readCompressed(std::uint64_t tile) const {
  const StoredTile& entry = stored(tile);
  CompressedTile packed{std::vector<std::byte>(entry.length), entry.form, entry.checksum};
  readNamingTile(data_->path(), tile, [&] {
    readBytes(entry.offset, packed.bytes);
    return checksumObjection(packed.bytes, packed.checksum);
  });
  return packed;
}

CompressedTiles TiledFileReader::readCompressed(std::span<const std::uint64_t> tiles) const {
  CompressedTiles packed;
  readCompressed(tiles, packed);
  return packed;
}

void TiledFileReader::readCompressed(std::span<const std::uint64_t> tiles, CompressedTiles& packed) const {
  packed.tiles.clear();
  std::size_t size = 0;
  for (const std::uint64_t tile : tiles) {
    const StoredTile& entry = stored(tile);
    packed.tiles.push_back({tile, entry.length, entry.form, entry.checksum});
    size += entry.length;
  }
  packed.bytes.resize(size);
  std::span<std::byte> rest = packed.bytes;
  for (std::size_t i = 0; i < tiles.size();) {
    const std::uint64_t first = tiles[i], begin = stored(first).offset;
    std::uint64_t end = begin;
    for (; i < tiles.size() && stored(tiles[i]).offset == end; ++i) end += stored(tiles[i]).length;
    const auto length = static_cast<std::size_t>(end - begin);
    readNamingTile(data_->path(), first, [&]() -> std::string {
      readBytes(begin, rest.first(length));
      return {};
    });
    rest = rest.subspan(length);
  }
  checkBytes(packed);
}

void TiledFileReader::checkBytes(const CompressedTiles& packed) const {
  std::span<const std::byte> rest = packed.bytes;
  for (const CompressedTiles::Tile& tile : packed.tiles) {
    readNamingTile(data_->path(), tile.number,
                   [&] { return checksumObjection(rest.first(tile.length), tile.checksum); });
    rest = rest.subspan(tile.length);
  }
}

void TiledFileReader::checkStoredTiles() const {
  CompressedTiles packed;
  std::vector<std::uint64_t> tiles;
  std::size_t bytes = 0;
  const auto check = [&] {
    readCompressed(tiles, packed);
    tiles.clear();
    bytes = 0;
  };
  for (const StoredTileRun& run : runs()) {
    if (run.kind != StoredTileKind::stored) continue;
    for (std::uint64_t tile = run.firstTile; tile < run.firstTile + run.tileCount; ++tile) {
      tiles.push_back(tile);
      bytes += storedBytes(tile);
      if (bytes >= checkedPieceBytes) check();
    }
  }
  check();
}

std::uint32_t TiledFileReader::storedBytes(std::uint64_t tile) const {
  return stored(tile).length;
}

std::uint64_t TiledFileReader::checksum(std::uint64_t tile) const {
  return stored(tile).checksum;
}

const StoredTile& TiledFileReader::stored(std::uint64_t tile) const {
  checkNumber(tile);
  if (const StoredTile* entry = index_->find(tile)) return *entry;
  throw McException(McException::excerpt(data_->path()) + ": tile " + std::to_string(tile) + ": is not stored");
}

void TiledFileReader::checkNumber(std::uint64_t tile) const {
  if (tile < header_.tileCount()) return;
  throw McException(McException::excerpt(path_) + ": tile " + std::to_string(tile) + ": there are only " +
                    std::to_string(header_.tileCount()) + " tiles");
}

void TiledFileReader::readBytes(std::uint64_t offset, std::span<std::byte> out) const {
  if (data_->identity() != opened_) throw McException("the file was changed by somebody else since it was opened");
  data_->readFully(offset, out);
}

}  // namespace hxvoxora
