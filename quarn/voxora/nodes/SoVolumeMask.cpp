#include "quarn/voxora/nodes/SoVolumeMask.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "quarn/base/McException.h"
#include "quarn/voxora/nodes/SoCpuBufferObject.h"
#include "quarn/voxora/nodes/detail/SoVolumeMaskState.h"
#include "quarn/voxora/tiles/detail/TileSource.h"
#include "quarn/voxora/tiles/detail/boxText.h"
#include "quarn/voxora/tiles/detail/coarserTable.h"

using hxvoxora::makeRef;
using hxvoxora::Ref;
using hxvoxora::StoredTileKind;
using hxvoxora::StoredTileRun;
using hxvoxora::TiledFileReader;
using hxvoxora::TileGrid;
using hxvoxora::VolumeHeader;
using hxvoxora::detail::coarserGrid;
using hxvoxora::detail::TileCell;
using hxvoxora::detail::TileSlot;
using hxvoxora::detail::TileSource;
using hxvoxora::detail::TileTable;
using hxvoxora::detail::TileTableEditor;

namespace {

/// The content of one level of a file, whose tiles are numbered from `firstTile` on.
class LevelInFile {
public:
  LevelInFile(const Ref<const TileSource>& source, const TileGrid& grid, std::int64_t firstTile, bool defaultValue)
      : source_(source), firstTile_(firstTile), endTile_(firstTile + grid.tileCount()), editor_({grid, defaultValue}) {}

  Ref<const TileTable> read() {
    for (const StoredTileRun& run : source_->reader().runs()) add(run);
    return editor_.publish();
  }

private:
  void add(const StoredTileRun& run) {
    const auto runFirst = static_cast<std::int64_t>(run.firstTile);
    const std::int64_t first = std::max(runFirst, firstTile_);
    const std::int64_t end = std::min(runFirst + static_cast<std::int64_t>(run.tileCount), endTile_);
    if (first >= end) return;
    if (run.kind == StoredTileKind::zero || run.kind == StoredTileKind::one) {
      editor_.setRange(first - firstTile_, end - first, TileSlot::constant(run.kind == StoredTileKind::one));
    } else if (run.kind == StoredTileKind::stored) {
      for (std::int64_t tile = first; tile < end; ++tile)
        editor_.set(tile - firstTile_,
                    TileSlot::cell(makeRef<const TileCell>(source_, static_cast<std::uint64_t>(tile))));
    }
  }

  const Ref<const TileSource>& source_;
  const std::int64_t firstTile_, endTile_;
  TileTableEditor editor_;
};

std::vector<Ref<const TileTable>> levelsOf(const Ref<const TileSource>& source, bool defaultValue) {
  std::vector<Ref<const TileTable>> tables;
  const VolumeHeader& header = source->reader().header();
  TileGrid grid = source->grid();
  for (int level = 0; level < header.levels; ++level) {
    if (level > 0) grid = coarserGrid(grid);
    const auto firstTile = static_cast<std::int64_t>(header.levelFirstTile(level));
    tables.push_back(LevelInFile(source, grid, firstTile, defaultValue).read());
  }
  return tables;
}

}  // namespace

SoVolumeMask::State::State(hxvoxora::FileSystem& files)
    : fileSystem(files), content(makeRef<const TileTable>(TileGrid(), false)) {}

void SoVolumeMask::State::reset(Ref<const TileTable> table, const std::string& path, Ref<SoLDMReader> newReader) {
  transaction.reset();
  content.store(std::move(table));
  levels.adopt({});
  levelsInFile = 0;
  unsavedEdits = false;
  fileName = path;
  fileError.clear();
  reader = std::move(newReader);
}

void SoVolumeMask::State::reset(std::vector<Ref<const TileTable>> tables, const std::string& path,
                                Ref<SoLDMReader> newReader) {
  reset(tables.front(), path, std::move(newReader));
  levelsInFile = static_cast<int>(tables.size());
  levels.adopt(std::move(tables));
}

SoVolumeMask::SoVolumeMask() : SoVolumeMask(hxvoxora::FileSystem::current()) {}

SoVolumeMask::SoVolumeMask(hxvoxora::FileSystem& fileSystem) : state_(std::make_unique<State>(fileSystem)) {}

SoVolumeMask::~SoVolumeMask() = default;

void SoVolumeMask::setDefaultValue(bool value) {
  const Ref<const TileTable> old = state_->table();
  if (old->defaultValue() == value && !state_->transaction) return;
  state_->content.store(makeRef<const TileTable>(old->grid(), value, old->root()));
  if (state_->transaction) state_->transaction->table.setDefaultValue(value);
}

bool SoVolumeMask::defaultValue() const {
  return state_->table()->defaultValue();
}

void SoVolumeMask::initializeInMemory(const SbVec3i32& dimensions, const SbVec3i32& tileDimensions, int) {
  state_->reset(makeRef<const TileTable>(TileGrid(dimensions, tileDimensions), defaultValue()), std::string(), nullptr);
}

void SoVolumeMask::setFileName(const std::string& path) {
  std::string error;
  if (!path.empty()) {
    try {
      return bindTo(path);
    } catch (const McException& failure) {
      error = failure.what();
    }
  }
  state_->reset(makeRef<const TileTable>(TileGrid(), defaultValue()), path, nullptr);
  state_->fileError = error;
}

void SoVolumeMask::bindTo(const std::string& path) {
  const std::shared_ptr<const TiledFileReader> file = TiledFileReader::open(state_->fileSystem, path);
  state_->reset(levelsOf(makeRef<const TileSource>(file), defaultValue()), path, makeRef<SoLDMReader>(file));
}

const std::string& SoVolumeMask::fileName() const {
  return state_->fileName;
}

const std::string& SoVolumeMask::fileError() const {
  return state_->fileError;
}

SoVolumeReader* SoVolumeMask::reader() const {
  return state_->reader.get();
}

SbVec3i32 SoVolumeMask::dataDimension() const {
  return state_->table()->grid().dimensions();
}

SbVec3i32 SoVolumeMask::getTileDimension() const {
  return state_->table()->grid().tileDimensions();
}

bool SoVolumeMask::hasUnsavedEdits() const {
  return state_->unsavedEdits;
}

int SoVolumeMask::levelCount() const {
  return hxvoxora::detail::levelCount(state_->table()->grid());
}

hxvoxora::TileSnapshot SoVolumeMask::snapshot(int level) const {
  const Ref<const TileTable> content = state_->table();
  if (level == 0) return hxvoxora::TileSnapshot(content);
  const int levels = hxvoxora::detail::levelCount(content->grid());
  if (level < 0 || level >= levels) {
    throw McException("The volume has no resolution level " + std::to_string(level) + "; the last one is level " +
                      std::to_string(std::max(0, levels - 1)) + ".");
  }
  return hxvoxora::TileSnapshot(state_->levels.at(level, content));
}

SbBox3i32 SoVolumeMask::computeBoundingBox(const SbBox3i32& region) const {
  return snapshot().computeBoundingBox(region);
}

std::uint64_t SoVolumeMask::countSetVoxels(const SbBox3i32& region) const {
  return snapshot().countSetVoxels(region);
}

void SoVolumeMask::fetchBox(int level, const SbBox3i32& box, SoCpuBufferObject& buffer) const {
  const hxvoxora::TileSnapshot content = snapshot(level);
  if (box.isEmpty()) return;
  hxvoxora::detail::requireRoom(box, content.grid(), buffer.getByteSize());
  content.fetch(box, buffer.bytes());
}
