#include "quarn/voxora/utilities/utilities.h"

#include <atomic>
#include <ostream>
#include <string>

#include "quarn/base/McException.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "quarn/voxora/tiles/MemoryBudget.h"

namespace hxvoxora::utilities {

namespace {

std::atomic<int> defaultTileSize = 64;

void outputVector(std::ostream& out, const char* name, const SbVec3i32& v) {
  out << name << ": " << std::to_string(v[0]) << " x " << std::to_string(v[1]) << " x " << std::to_string(v[2]) << "\n";
}

void outputNumber(std::ostream& out, const char* name, std::uint64_t value) {
  out << name << ": " << std::to_string(value) << "\n";
}

void outputTiles(const TileSnapshot& content, std::ostream& out) {
  const TileSnapshot::TileCounts counts = content.countTiles();
  outputNumber(out, "tiles", static_cast<std::uint64_t>(content.tileCount()));
  outputNumber(out, "written tiles", counts.written);
  outputNumber(out, "tiles with all voxels set", counts.one);
  outputNumber(out, "tiles with voxels of both values", counts.mixed);
  outputNumber(out, "bytes of a tile", content.grid().tileByteSize());
}

/// All volumes of the process.
void outputMemory(std::ostream& out) {
  const CacheStatistics cache = cacheStatistics();
  outputNumber(out, "memory budget in bytes, all volumes", memoryBudget());
  outputNumber(out, "bytes of tiles in memory, all volumes", cache.bytesInMemory);
  outputNumber(out, "bytes reserved for tiles, all volumes", payloadStatistics().bytesReserved);
  outputNumber(out, "bytes of box buffers, all volumes", cache.bytesInBuffers);
  outputNumber(out, "bytes of tiles in spill files, all volumes", cache.bytesSpilled);
  outputNumber(out, "tile hits, all volumes", cache.hits);
  outputNumber(out, "tile loads, all volumes", cache.loads);
  outputNumber(out, "tile evictions, all volumes", cache.evictions);
  outputNumber(out, "tile spills, all volumes", cache.spills);
}

}  // namespace

int getDefaultTileSize() {
  return defaultTileSize;
}

void setDefaultTileSize(int voxels) {
  if (voxels != 32 && voxels != 64 && voxels != 128 && voxels != 256)
    throw McException("The tile size must be 32, 64, 128 or 256, not " + std::to_string(voxels) + ".");
  defaultTileSize = voxels;
}

SbVec3i32 computeLDMTileSize(const McDim3l&) {
  const int side = getDefaultTileSize();
  return {side, side, side};
}

void outputLDMResourceParameters(const SoVolumeData* volume, std::ostream& out) {
  if (!volume) {
    out << "no volume\n";
    return;
  }
  const std::string& file = volume->fileName();
  out << "file: " << (file.empty() ? "in memory" : file) << "\n";
  if (!volume->fileError().empty()) out << "file error: " << volume->fileError() << "\n";
  outputVector(out, "dimensions", volume->dataDimension());
  outputVector(out, "tile dimensions", volume->getTileDimension());
  outputNumber(out, "bits per voxel", static_cast<std::uint64_t>(volume->bitsPerVoxel()));
  if (const auto* mask = dynamic_cast<const SoVolumeMask*>(volume)) {
    outputTiles(mask->snapshot(), out);
    out << "default value: " << (mask->defaultValue() ? "1" : "0") << "\n";
    out << "unsaved edits: " << (mask->hasUnsavedEdits() ? "yes" : "no") << "\n";
  }
  outputMemory(out);
}

}  // namespace hxvoxora::utilities
