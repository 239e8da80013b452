#pragma once

#include <cstdint>
#include <gtest/gtest.h>

#include "quarn/voxora/files/MemoryFileSystem.h"
#include "quarn/voxora/tiles/MemoryBudget.h"
#include "tests/voxora/nodes/maskSupport.h"

/// Masks that are a row of tiles of 4 KiB, each of which can be told by its number of set voxels.

constexpr std::size_t tileBytes = 4096;

inline std::uint64_t voxelsIn(std::int64_t tile) {
  return static_cast<std::uint64_t>(tile % 32) + 1;
}

inline Ref<SoVolumeMask> makeRow(hxvoxora::FileSystem& files, int tiles) {
  auto mask = hxvoxora::makeRef<SoVolumeMask>(files);
  mask->initializeInMemory({32 * tiles, 32, 32}, {32, 32, 32});
  for (int tile = 0; tile < tiles; ++tile) fill(*mask, {{32 * tile, 0, 0}, {32 * tile, tile % 32, 0}}, true);
  return mask;
}

/// The same in a file, with no tile in memory.
inline Ref<SoVolumeMask> storedRow(hxvoxora::MemoryFileSystem& files, int tiles) {
  makeRow(files, tiles)->saveEditing("row.ldm", false, {});
  auto mask = hxvoxora::makeRef<SoVolumeMask>(files);
  mask->bindTo("row.ldm");
  return mask;
}

inline std::uint64_t countIn(const hxvoxora::TileSnapshot& content, std::int64_t tile) {
  return content.countSetVoxels(content.tileBox(tile));
}

inline void expectRow(const hxvoxora::TileSnapshot& content) {
  for (std::int64_t tile = 0; tile < content.tileCount(); ++tile)
    ASSERT_EQ(countIn(content, tile), voxelsIn(tile)) << "tile " << tile;
}

/// Whether looking at a tile loads it.
inline bool isLoadedBy(const hxvoxora::TileSnapshot& content, std::int64_t tile) {
  const std::uint64_t before = hxvoxora::cacheStatistics().loads;
  EXPECT_EQ(countIn(content, tile), voxelsIn(tile));
  return hxvoxora::cacheStatistics().loads > before;
}
