#include <algorithm>
#include <memory>
#include <utility>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/PassingFileSystem.h"
#include "quarn/voxora/files/TiledFileReader.h"
#include "quarn/voxora/files/TiledFileWriter.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "quarn/voxora/nodes/detail/SoVolumeMaskState.h"
#include "quarn/voxora/nodes/detail/storedCells.h"
#include "quarn/voxora/tiles/detail/TileSource.h"

/// Writing a mask into a file set, and binding the node to it.

using hxvoxora::makeRef;
using hxvoxora::PassingFileSystem;
using hxvoxora::Ref;
using hxvoxora::StoredTileKind;
using hxvoxora::TileCompression;
using hxvoxora::TiledFileReader;
using hxvoxora::TiledFileWriter;
using hxvoxora::TileGrid;
using hxvoxora::VolumeHeader;
using hxvoxora::detail::StoredCell;
using hxvoxora::detail::TileCell;
using hxvoxora::detail::TileSlot;
using hxvoxora::detail::TileSource;
using hxvoxora::detail::TileTable;
using hxvoxora::detail::TileTableEditor;

namespace {

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
    if (!writeCells(cells, table->grid(), writer, callback)) return false;
    writer.commit();
  }
  const std::shared_ptr<const TiledFileReader> file = TiledFileReader::open(state_->fileSystem, ldmPath);
  const auto source = makeRef<const TileSource>(file);
  state_->reset(rebacked(*table, cells, source), ldmPath, makeRef<SoLDMReader>(file));
  return true;
}
