#include <algorithm>
#include <atomic>
#include <memory>
#include <tbb/parallel_pipeline.h>
#include <tbb/task_arena.h>
#include <utility>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/PassingFileSystem.h"
#include "quarn/voxora/files/TiledFileReader.h"
#include "quarn/voxora/files/TiledFileWriter.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "quarn/voxora/nodes/detail/SoVolumeMaskState.h"
#include "quarn/voxora/tiles/detail/TileSource.h"

/// Writing a mask into a file set, and binding the node to it.

using hxvoxora::CompressedTile;
using hxvoxora::makeRef;
using hxvoxora::PassingFileSystem;
using hxvoxora::Ref;
using hxvoxora::StoredTileKind;
using hxvoxora::TileCompression;
using hxvoxora::TiledFileReader;
using hxvoxora::TiledFileWriter;
using hxvoxora::TileGrid;
using hxvoxora::TilePayload;
using hxvoxora::VolumeHeader;
using hxvoxora::detail::TileCell;
using hxvoxora::detail::TileSlot;
using hxvoxora::detail::TileSource;
using hxvoxora::detail::TileTable;
using hxvoxora::detail::TileTableEditor;

namespace {

/// Tiles that may be packed and waiting at once.
constexpr std::size_t tilesInFlight = 64;

struct StoredCell {
  std::uint64_t tile;
  const TileCell* cell;
};

TileCompression compressionFrom(const std::vector<std::string>& parameters) {
  const auto option = std::find(parameters.begin(), parameters.end(), "-c");
  const bool gzip = option != parameters.end() && std::next(option) != parameters.end() && *std::next(option) == "gzip";
  return gzip ? TileCompression::gzip : TileCompression::none;
}

VolumeHeader headerFor(const TileGrid& grid, TileCompression compression) {
  const auto vector = [](const SbVec3i32& v) { return McVec3i(v[0], v[1], v[2]); };
  VolumeHeader header;
  header.dimensions = vector(grid.dimensions());
  header.tileDimensions = vector(grid.tileDimensions());
  header.compression = compression;
  return header;
}

/// Tells the writer of the tiles without bits, and returns those with bits in ascending order. Tiles that were never
/// written go into the file as what they read as, since a file has no default value.
std::vector<StoredCell> writeKinds(const TileTable& table, TiledFileWriter& writer) {
  std::vector<StoredCell> cells;
  table.forEachRun([&](std::int64_t first, std::int64_t count, const TileSlot& slot) {
    if (slot.isReference()) {
      cells.push_back({static_cast<std::uint64_t>(first), &slot.cell()});
    } else if (!slot.isUnwritten() || table.defaultValue()) {
      const bool set = TileTable::resolved(slot, table.defaultValue()).value();
      writer.setKind(static_cast<std::uint64_t>(first), set ? StoredTileKind::one : StoredTileKind::zero,
                     static_cast<std::uint64_t>(count));
    }
  });
  return cells;
}

/// A cell in the form of the new file. One that stands in a file of the same form is taken from there as it is.
CompressedTile packed(const TileCell& cell, const TileGrid& grid, TileCompression compression) {
  const TileSource* source = cell.source();
  if (source && source->grid() == grid && source->reader().header().compression == compression)
    return source->reader().readCompressed(cell.tileInSource());
  // A tile that was not in memory does not get there by being saved.
  const Ref<const TilePayload> payload = cell.pinForOnce();
  return TiledFileWriter::compress({payload->bits(), payload->byteSize()}, headerFor(grid, compression));
}

/// Packs tiles in parallel and writes them in order. False when `progress` gave up.
bool writeCells(const std::vector<StoredCell>& cells, const TileGrid& grid, TileCompression compression,
                TiledFileWriter& writer, const SoVolumeMask::SaveCallback& progress) {
  struct Packed {
    std::uint64_t tile = 0;
    CompressedTile content;
  };
  std::size_t next = 0, written = 0;
  std::atomic<bool> cancelled = false;
  const auto take = [&](tbb::flow_control& control) {
    if (next == cells.size() || cancelled) {
      control.stop();
      return next;
    }
    return next++;
  };
  const auto pack = [&](std::size_t i) {
    return std::make_shared<const Packed>(Packed{cells[i].tile, packed(*cells[i].cell, grid, compression)});
  };
  const auto write = [&](const std::shared_ptr<const Packed>& tile) {
    writer.putCompressed(tile->tile, tile->content);
    ++written;
    if (progress && !progress(static_cast<double>(written) / static_cast<double>(cells.size()))) cancelled = true;
  };
  using tbb::filter_mode;
  tbb::this_task_arena::isolate([&] {
    tbb::parallel_pipeline(
        tilesInFlight, tbb::make_filter<void, std::size_t>(filter_mode::serial_in_order, take) &
                           tbb::make_filter<std::size_t, std::shared_ptr<const Packed>>(filter_mode::parallel, pack) &
                           tbb::make_filter<std::shared_ptr<const Packed>, void>(filter_mode::serial_in_order, write));
  });
  return !cancelled;
}

/// The same content, its cells backed by the new file. Bits in memory stay there.
Ref<const TileTable> rebacked(const TileTable& table, const std::vector<StoredCell>& cells,
                              const Ref<const TileSource>& source) {
  TileTableEditor editor(table);
  for (const StoredCell& stored : cells)
    editor.set(static_cast<std::int64_t>(stored.tile),
               TileSlot::cell(makeRef<const TileCell>(source, stored.tile, stored.cell->inMemory())));
  if (table.defaultValue()) {
    table.forEachRun([&](std::int64_t first, std::int64_t count, const TileSlot& slot) {
      if (slot.isUnwritten()) editor.setRange(first, count, TileSlot::constant(true));
    });
  }
  return editor.publish();
}

}  // namespace

bool SoVolumeMask::saveEditing(const std::string& ldmPath, bool, const std::vector<std::string>& parameters,
                               const SaveCallback& callback, hxvoxora::FileSystem::Access access,
                               hxvoxora::FileSystem::Durability durability) {
  if (state_->transaction) throw McException("A mask cannot be saved inside an editing transaction.");
  const Ref<const TileTable> table = state_->table();
  if (ldmPath.empty() || table->grid().isEmpty()) return true;
  if (!hasUnsavedEdits() && ldmPath == state_->fileName) return true;

  const TileCompression compression = compressionFrom(parameters);
  VolumeHeader header = headerFor(table->grid(), compression);
  if (VolumeHeader::isContentName(getName().text())) header.contentName = getName().text();
  PassingFileSystem passing(state_->fileSystem);
  const bool isPassing = durability == hxvoxora::FileSystem::Durability::passing;
  std::vector<StoredCell> cells;
  {
    hxvoxora::FileSystem& files = isPassing ? passing : state_->fileSystem;
    TiledFileWriter writer(files, ldmPath, header, access);
    cells = writeKinds(*table, writer);
    if (!writeCells(cells, table->grid(), compression, writer, callback)) return false;
    writer.commit();
  }
  const std::shared_ptr<const TiledFileReader> file = TiledFileReader::open(state_->fileSystem, ldmPath);
  const auto source = makeRef<const TileSource>(file);
  state_->reset(rebacked(*table, cells, source), ldmPath, makeRef<SoLDMReader>(file));
  return true;
}
