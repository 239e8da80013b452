#include "quarn/voxora/nodes/SoVolumeMask.h"

#include <algorithm>
#include <utility>

#include "quarn/base/McException.h"
#include "quarn/voxora/nodes/SoCpuBufferObject.h"
#include "quarn/voxora/nodes/detail/SoVolumeMaskState.h"
#include "quarn/voxora/tiles/detail/TileSource.h"
#include "quarn/voxora/tiles/detail/boxText.h"

using hxvoxora::makeRef;
using hxvoxora::Ref;
using hxvoxora::StoredTileKind;
using hxvoxora::StoredTileRun;
using hxvoxora::TiledFileReader;
using hxvoxora::TileGrid;
using hxvoxora::detail::TileCell;
using hxvoxora::detail::TileSlot;
using hxvoxora::detail::TileSource;
using hxvoxora::detail::TileTable;
using hxvoxora::detail::TileTableEditor;

namespace {

Ref<const TileTable> tableOf(const Ref<const TileSource>& source, bool defaultValue) {
  TileTableEditor editor(TileTable(source->grid(), defaultValue));
  for (const StoredTileRun& run : source->reader().runs()) {
    // The tiles of lower resolution levels follow those of the volume.
    const auto first = static_cast<std::int64_t>(run.firstTile);
    const std::int64_t count = std::min(static_cast<std::int64_t>(run.tileCount), source->grid().tileCount() - first);
    if (count <= 0) break;
    if (run.kind == StoredTileKind::zero || run.kind == StoredTileKind::one) {
      editor.setRange(first, count, TileSlot::constant(run.kind == StoredTileKind::one));
    } else if (run.kind == StoredTileKind::stored) {
      for (std::int64_t tile = first; tile < first + count; ++tile)
        editor.set(tile, TileSlot::cell(makeRef<const TileCell>(source, static_cast<std::uint64_t>(tile))));
    }
  }
  return editor.publish();
}

}  // namespace

SoVolumeMask::State::State(hxvoxora::FileSystem& files)
    : fileSystem(files), content(makeRef<const TileTable>(TileGrid(), false)) {}

void SoVolumeMask::State::reset(Ref<const TileTable> table, const std::string& path, Ref<SoLDMReader> newReader) {
  transaction.reset();
  content.store(std::move(table));
  unsavedEdits = false;
  fileName = path;
  fileError.clear();
  reader = std::move(newReader);
}

SoVolumeMask::SoVolumeMask() : SoVolumeMask(hxvoxora::FileSystem::current()) {}

SoVolumeMask::SoVolumeMask(hxvoxora::FileSystem& fileSystem) : state_(std::make_unique<State>(fileSystem)) {}

SoVolumeMask::~SoVolumeMask() = default;

void SoVolumeMask::setDefaultValue(bool value) {
  const Ref<const TileTable> old = state_->table();
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
  state_->reset(tableOf(makeRef<const TileSource>(file), defaultValue()), path, makeRef<SoLDMReader>(file));
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

hxvoxora::TileSnapshot SoVolumeMask::snapshot() const {
  return hxvoxora::TileSnapshot(state_->table());
}

SbBox3i32 SoVolumeMask::computeBoundingBox(const SbBox3i32& region) const {
  return snapshot().computeBoundingBox(region);
}

std::uint64_t SoVolumeMask::countSetVoxels(const SbBox3i32& region) const {
  return snapshot().countSetVoxels(region);
}

void SoVolumeMask::fetchBox(const SbBox3i32& box, SoCpuBufferObject& buffer) const {
  const hxvoxora::TileSnapshot content = snapshot();
  hxvoxora::detail::requireRoom(box, content.grid(), buffer.getByteSize());
  content.fetch(box, buffer.bytes());
}
