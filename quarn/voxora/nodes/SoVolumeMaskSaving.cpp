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

using Levels = std::vector<Ref<const TileTable>>;  // level 0 first

/// Tells the writer of the tiles without bits, and adds those with bits to `cells` in ascending order. Tiles that were
/// never written go into the file as what they read as, since a file has no default value.
void writeKinds(const TileTable& table, int level, TiledFileWriter& writer, std::vector<StoredCell>& cells) {
  const std::uint64_t firstOfLevel = writer.header().levelFirstTile(level);
  table.forEachRun([&](std::int64_t first, std::int64_t count, const TileSlot& slot) {
    const std::uint64_t tile = firstOfLevel + static_cast<std::uint64_t>(first);
    if (slot.isReference()) {
      cells.push_back({tile, &slot.cell(), level});
    } else if (!slot.isUnwritten() || table.defaultValue()) {
      const bool set = TileTable::resolved(slot, table.defaultValue()).value();
      writer.setKind(tile, set ? StoredTileKind::one : StoredTileKind::zero, static_cast<std::uint64_t>(count));
    }
  });
}

/// The same content of a level, its cells backed by the new file. Bits in memory stay there.
Ref<const TileTable> rebacked(const TileTable& table, int level, const std::vector<StoredCell>& cells,
                              const Ref<const TileSource>& source) {
  TileTableEditor editor(table);
  const std::uint64_t firstOfLevel = source->reader().header().levelFirstTile(level);
  for (const StoredCell& stored : cells) {
    if (stored.level != level) continue;
    editor.set(static_cast<std::int64_t>(stored.tile - firstOfLevel),
               TileSlot::cell(makeRef<const TileCell>(source, stored.tile, stored.cell->inMemory())));
  }
  if (table.defaultValue()) {
    table.forEachRun([&](std::int64_t first, std::int64_t count, const TileSlot& slot) {
      if (slot.isUnwritten()) editor.setRange(first, count, TileSlot::constant(true));
    });
  }
  return editor.publish();
}

}  // namespace

bool SoVolumeMask::saveEditing(const std::string& ldmPath, bool allLevels, const std::vector<std::string>& parameters,
                               const SaveCallback& callback, hxvoxora::FileSystem::Access access,
                               hxvoxora::FileSystem::Durability durability) {
  if (state_->transaction) throw McException("A mask cannot be saved inside an editing transaction.");
  const Ref<const TileTable> table = state_->table();
  if (ldmPath.empty() || table->grid().isEmpty()) return true;
  const bool hasLevels = !allLevels || state_->levelsInFile == levelCount();
  if (!hasUnsavedEdits() && ldmPath == state_->fileName && hasLevels) return true;

  const TileCompression compression = compressionFrom(parameters);
  const Levels levels = allLevels ? state_->levels.all(table) : Levels{table};
  VolumeHeader header = headerFor(table->grid(), compression);
  header.levels = static_cast<int>(levels.size());
  if (VolumeHeader::isContentName(getName().text())) header.contentName = getName().text();
  PassingFileSystem passing(state_->fileSystem);
  const bool isPassing = durability == hxvoxora::FileSystem::Durability::passing;
  std::vector<StoredCell> cells;
  {
    hxvoxora::FileSystem& files = isPassing ? passing : state_->fileSystem;
    TiledFileWriter writer(files, ldmPath, header, access);
    for (std::size_t level = 0; level < levels.size(); ++level)
      writeKinds(*levels[level], static_cast<int>(level), writer, cells);
    if (!writeCells(cells, table->grid(), writer, callback)) return false;
    writer.commit();
  }
  const std::shared_ptr<const TiledFileReader> file = TiledFileReader::open(state_->fileSystem, ldmPath);
  const auto source = makeRef<const TileSource>(file);
  Levels saved;
  for (std::size_t level = 0; level < levels.size(); ++level)
    saved.push_back(rebacked(*levels[level], static_cast<int>(level), cells, source));
  state_->reset(std::move(saved), ldmPath, makeRef<SoLDMReader>(file));
  return true;
}
