#include "quarn/voxora/files/checkVolume.h"

#include <algorithm>
#include <cstddef>

#include "quarn/base/McException.h"
#include "quarn/voxora/bits/BitRows.h"
#include "quarn/voxora/tiles/TileGrid.h"
#include "quarn/voxora/tiles/detail/parallel.h"

namespace hxvoxora {

namespace {

TileGrid gridOf(const VolumeHeader& header) {
  const McVec3i &n = header.dimensions, &tile = header.tileDimensions;
  return {SbVec3i32(n.x, n.y, n.z), SbVec3i32(tile.x, tile.y, tile.z)};
}

std::uint64_t voxelCount(const SbBox3i32& box) {
  std::uint64_t count = 1;
  for (int axis = 0; axis < 3; ++axis) count *= static_cast<std::uint64_t>(box.getMax()[axis] - box.getMin()[axis]) + 1;
  return count;
}

/// The numbers of the tiles that have a kind, in ascending order.
std::vector<std::uint64_t> tilesOfKind(const TiledFileReader& file, StoredTileKind kind) {
  std::vector<std::uint64_t> tiles;
  for (const StoredTileRun& run : file.runs()) {
    for (std::uint64_t i = 0; run.kind == kind && i < run.tileCount; ++i) tiles.push_back(run.firstTile + i);
  }
  return tiles;
}

VolumeCheck joined(VolumeCheck left, const VolumeCheck& right) {
  left.setVoxels += right.setVoxels;
  left.bounds.extendBy(right.bounds);
  left.damagedTiles += right.damagedTiles;
  for (const std::string& text : right.damage) {
    if (left.damage.size() < VolumeCheck::listedTiles) left.damage.push_back(text);
  }
  return left;
}

/// Takes the tiles of one volume into account.
class Reading {
public:
  explicit Reading(const TiledFileReader& file) : file_(file), grid_(gridOf(file.header())) {}

  void addFull(VolumeCheck& check, std::uint64_t tile) const {
    if (!isOfVolume(tile)) return;
    const SbBox3i32 box = grid_.tileBox(static_cast<std::int64_t>(tile));
    check.setVoxels += voxelCount(box);
    check.bounds.extendBy(box);
  }

  void addStored(VolumeCheck& check, std::uint64_t tile) const {
    thread_local std::vector<std::byte> bits;
    bits.resize(grid_.tileByteSize());
    try {
      file_.read(tile, bits);
    } catch (const McException& failure) {
      ++check.damagedTiles;
      if (check.damage.size() < VolumeCheck::listedTiles) check.damage.emplace_back(failure.what());
      return;
    }
    if (!isOfVolume(tile)) return;
    const auto number = static_cast<std::int64_t>(tile);
    const SbBox3i32 box = grid_.tileBox(number);
    const BitLayout layout = grid_.tileLayout(number);
    check.setVoxels += countRows(bits.data(), layout, box);
    if (!check.bounds.contains(box)) check.bounds.extendBy(boundsOfRows(bits.data(), layout, box));
  }

private:
  /// Tiles of the lower resolutions hold no voxels of their own.
  bool isOfVolume(std::uint64_t tile) const { return tile < static_cast<std::uint64_t>(grid_.tileCount()); }

  const TiledFileReader& file_;
  const TileGrid grid_;
};

}  // namespace

VolumeCheck checkVolume(const TiledFileReader& file) {
  const Reading reading(file);
  const auto addAll = [](const std::vector<std::uint64_t>& tiles, auto add) {
    return detail::parallelReduce<VolumeCheck>(
        static_cast<std::int64_t>(tiles.size()),
        [&](VolumeCheck& check, std::int64_t i) { add(check, tiles[static_cast<std::size_t>(i)]); }, joined);
  };
  return joined(addAll(tilesOfKind(file, StoredTileKind::one),
                       [&](VolumeCheck& check, std::uint64_t tile) { reading.addFull(check, tile); }),
                addAll(tilesOfKind(file, StoredTileKind::stored),
                       [&](VolumeCheck& check, std::uint64_t tile) { reading.addStored(check, tile); }));
}

}  // namespace hxvoxora
