#include "quarn/voxora/files/TiledFileWriter.h"

#include <algorithm>
#include <mutex>
#include <vector>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/detail/FileSetSwap.h"
#include "quarn/voxora/files/detail/TileIndexBuilder.h"
#include "quarn/voxora/files/detail/abandonedFiles.h"
#include "quarn/voxora/files/detail/filePrelude.h"
#include "quarn/voxora/files/detail/tilePacking.h"
#include "quarn/voxora/files/fileNames.h"
#include "quarn/voxora/files/fileSetParts.h"

namespace hxvoxora {

namespace {

constexpr std::string_view headerSuffix = ".ldm";
constexpr std::size_t bufferBytes = std::size_t{1} << 20;
/// Written without going through the buffer.
constexpr std::size_t largePieceBytes = bufferBytes / 8;

/// The header to be written: that of the caller with names and generation.
VolumeHeader completed(const std::string& ldmPath, const VolumeHeader& header) {
  std::string stem = bareName(ldmPath);
  if (!stem.ends_with(headerSuffix) || stem.size() == headerSuffix.size()) {
    throw McException(McException::excerpt(ldmPath) + ": the name of a volume must end in " +
                      std::string(headerSuffix));
  }
  stem.resize(stem.size() - headerSuffix.size());
  VolumeHeader result;
  result.dimensions = header.dimensions;
  result.tileDimensions = header.tileDimensions;
  result.levels = header.levels;
  result.compression = header.compression;
  result.contentName = header.contentName;
  result.dataFile = stem + ".dat";
  result.indexFile = stem + ".fcp";
  result.generation = drawGeneration();
  result.validate(ldmPath);
  if (asideName(result.dataFile, result.generation).size() > maxNameBytes) {
    throw McException(McException::excerpt(ldmPath) + ": the name is too long");
  }
  return result;
}

/// Only regular files are replaced.
void checkTarget(FileSystem& fileSystem, const std::string& path) {
  const FileKind kind = fileSystem.kind(path);
  if (kind == FileKind::missing || kind == FileKind::regular) return;
  const char* what = kind == FileKind::directory ? "a folder" : kind == FileKind::link ? "a link" : "a device or pipe";
  throw McException(McException::excerpt(path) + ": is " + what + " and is not replaced");
}

}  // namespace

struct TiledFileWriter::State {
  State(FileSystem& files, const std::string& ldmPath, const VolumeHeader& wanted, FileSystem::Access whoMayUse)
      : fileSystem(files),
        path(ldmPath),
        folder(folderPrefix(ldmPath)),
        header(completed(ldmPath, wanted)),
        access(whoMayUse) {}

  ~State() { removeNewFiles(); }

  std::string newPath(const std::string& name) const { return folder + asideName(name, header.generation); }

  void start() {
    for (const std::string& name : {bareName(path), header.dataFile, header.indexFile}) {
      checkTarget(fileSystem, folder + name);
    }
    detail::removeAbandoned(fileSystem, path, header);
    data = create(header.dataFile);
    lockData();
    detail::appendPrelude(buffer, detail::dataMagic, header.generation);
    dataBytes = buffer.size();
  }

  /// Tells other saves that the new files are in use. Where files cannot be locked nobody removes any either.
  void lockData() {
    const std::string dataPath = newPath(header.dataFile);
    try {
      lock = fileSystem.tryLock(dataPath);
    } catch (const McException&) {
      return;
    }
    if (!lock)
      throw McException(McException::excerpt(dataPath) + ": another save has just locked this file; save again");
  }

  std::unique_ptr<OutputFile> create(const std::string& name) {
    std::unique_ptr<OutputFile> file = fileSystem.createExclusively(newPath(name), access);
    created.push_back(newPath(name));
    return file;
  }

  void write(const std::string& name, std::span<const std::byte> bytes) {
    const std::unique_ptr<OutputFile> file = create(name);
    file->append(bytes);
    file->sync();
    file->close();
  }

  void append(std::span<const std::byte> bytes) {
    const bool isLarge = bytes.size() >= largePieceBytes;
    if (isLarge || buffer.size() + bytes.size() > bufferBytes) flush();
    if (isLarge) {
      data->append(bytes);
    } else {
      buffer.insert(buffer.end(), bytes.begin(), bytes.end());
    }
    dataBytes += bytes.size();
  }

  void flush() {
    if (buffer.empty()) return;
    data->append(buffer);
    buffer.clear();
  }

  void checkTiles(std::uint64_t firstTile, std::uint64_t count) const {
    const std::uint64_t tiles = header.tileCount();
    if (firstTile < tiles && count <= tiles - firstTile) return;
    throw McException(McException::excerpt(path) + ": tile " + std::to_string(firstTile) + " (" +
                      std::to_string(count) + " tiles): there are only " + std::to_string(tiles) + " tiles");
  }

  void checkSize(std::uint64_t tile, TileForm form, std::size_t size) const {
    const std::uint64_t tileBytes = header.tileBytes();
    const bool mayPack = header.compression == TileCompression::gzip;
    const bool fits = form == TileForm::raw ? size == tileBytes : mayPack && size > 0 && size < tileBytes;
    if (!fits) failSize(tile, size, form == TileForm::raw ? "" : " packed");
  }

  [[noreturn]] void failSize(std::uint64_t tile, std::size_t size, const char* how) const {
    throw McException(McException::excerpt(path) + ": tile " + std::to_string(tile) + ": " + std::to_string(size) +
                      how + " bytes do not fit a tile of " + std::to_string(header.tileBytes()));
  }

  void removeNewFiles() noexcept {
    data.reset();
    for (const std::string& name : created) {
      try {
        fileSystem.remove(name);
      } catch (...) {
        // Nothing more can be done here; the name tells that the file belongs to no set.
      }
    }
    created.clear();
  }

  FileSystem& fileSystem;
  const std::string path;
  const std::string folder;
  const VolumeHeader header;
  const FileSystem::Access access;
  std::mutex mutex;  // guards everything below while tiles come in
  std::unique_ptr<OutputFile> data;
  std::unique_ptr<FileLock> lock;
  std::vector<std::byte> buffer;
  std::uint64_t dataBytes = 0;
  detail::TileIndexBuilder index;
  std::vector<VolumeHeader::Element> elements;
  std::vector<std::string> created;
};

TiledFileWriter::TiledFileWriter(FileSystem& fileSystem, const std::string& ldmPath, const VolumeHeader& header,
                                 FileSystem::Access access)
    : state_(std::make_unique<State>(fileSystem, ldmPath, header, access)) {
  state_->start();
}

TiledFileWriter::~TiledFileWriter() = default;

const VolumeHeader& TiledFileWriter::header() const {
  return state_->header;
}

void TiledFileWriter::setKind(std::uint64_t firstTile, StoredTileKind kind, std::uint64_t count) {
  state_->checkTiles(firstTile, count);
  if (kind == StoredTileKind::stored) {
    throw McException(McException::excerpt(state_->path) + ": tile " + std::to_string(firstTile) +
                      ": its bits are missing");
  }
  const std::lock_guard lock(state_->mutex);
  state_->index.addRun({firstTile, count, kind});
}

void TiledFileWriter::put(std::uint64_t tile, std::span<const std::byte> raw) {
  if (raw.size() != state_->header.tileBytes()) state_->failSize(tile, raw.size(), "");
  putCompressed(tile, compress(raw, state_->header));
}

void TiledFileWriter::putCompressed(std::uint64_t tile, const CompressedTile& packed) {
  state_->checkTiles(tile, 1);
  state_->checkSize(tile, packed.form, packed.bytes.size());
  const std::lock_guard lock(state_->mutex);
  const auto length = static_cast<std::uint32_t>(packed.bytes.size());
  state_->index.addStored(tile, {state_->dataBytes, length, packed.form, packed.checksum});
  state_->append(packed.bytes);
}

void TiledFileWriter::putCompressed(const CompressedTiles& packed) {
  std::size_t size = 0;
  for (const CompressedTiles::Tile& tile : packed.tiles) {
    state_->checkTiles(tile.number, 1);
    state_->checkSize(tile.number, tile.form, tile.length);
    size += tile.length;
  }
  if (size != packed.bytes.size()) {
    throw McException(McException::excerpt(state_->path) + ": " + std::to_string(packed.bytes.size()) +
                      " bytes of packed tiles instead of " + std::to_string(size));
  }
  const std::lock_guard lock(state_->mutex);
  std::uint64_t offset = state_->dataBytes;
  for (const CompressedTiles::Tile& tile : packed.tiles) {
    state_->index.addStored(tile.number, {offset, tile.length, tile.form, tile.checksum});
    offset += tile.length;
  }
  state_->append(packed.bytes);
}

void TiledFileWriter::addElement(const std::string& name, const std::string& text) {
  const std::lock_guard lock(state_->mutex);
  state_->elements.emplace_back(name, text);
}

void TiledFileWriter::requireSpace(std::uint64_t bytes) const {
  const std::uint64_t free = state_->fileSystem.freeSpace(folderOf(state_->path));
  if (free >= bytes) return;
  throw McException(McException::excerpt(state_->path) + ": " + std::to_string(bytes) + " bytes are needed, and only " +
                    std::to_string(free) + " are free in its folder");
}

CompressedTile TiledFileWriter::compress(std::span<const std::byte> raw, const VolumeHeader& header) {
  return detail::packTile(raw, header.tileDimensions, header.compression);
}

void TiledFileWriter::commit() {
  State& state = *state_;
  const std::lock_guard lock(state.mutex);
  const TileIndex index = state.index.build(state.header.tileCount(), state.path);
  state.flush();
  state.data->sync();
  state.data->close();
  state.data.reset();
  state.write(state.header.indexFile, index.toBytes(state.header, state.dataBytes));
  const std::string headerText = state.header.toXml(state.elements);
  state.write(bareName(state.path), std::as_bytes(std::span(headerText)));
  detail::FileSetSwap(state.fileSystem, state.path, state.header, state.header.generation).run();
  state.created.clear();
}

}  // namespace hxvoxora
