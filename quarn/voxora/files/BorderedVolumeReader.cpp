#include "quarn/voxora/files/BorderedVolumeReader.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <optional>

#include "quarn/base/McException.h"
#include "quarn/voxora/bits/BitRows.h"
#include "quarn/voxora/files/InputFile.h"
#include "quarn/voxora/files/detail/BorderedBlocks.h"
#include "quarn/voxora/files/detail/TileIndex.h"
#include "quarn/voxora/files/fileSetParts.h"
#include "quarn/voxora/tiles/MemoryBudget.h"
#include "quarn/voxora/tiles/TileGrid.h"

namespace hxvoxora {

namespace {

constexpr std::size_t mostKeptBytes = std::size_t{64} << 20;

SbVec3i32 toolkitVector(const McVec3i& v) {
  return {v.x, v.y, v.z};
}

std::string voxelText(const SbVec3i32& v) {
  return "(" + std::to_string(v[0]) + ", " + std::to_string(v[1]) + ", " + std::to_string(v[2]) + ")";
}

/// The tiles of one level, with borders.
class BorderedLevel {
public:
  BorderedLevel(const VolumeHeader& header, int level)
      : grid(toolkitVector(header.levelDimensions(level)), toolkitVector(header.tileDimensions)),
        firstTile(header.levelFirstTile(level)),
        border_(header.border),
        blockSize_(header.storedTileDimensions()) {}

  /// Where the voxels of the level lie in the block of a tile.
  BitLayout blockLayout(std::int64_t tile) const {
    const SbVec3i32 low = grid.tileBox(tile).getMin();
    return {{low[0] - border_, low[1] - border_, low[2] - border_},
            blockSize_.x,
            std::int64_t{blockSize_.x} * blockSize_.y};
  }

  /// The voxels of the level that the block of a tile repeats or holds.
  SbBox3i32 blockBox(std::int64_t tile) const {
    const SbBox3i32 own = grid.tileBox(tile);
    SbVec3i32 low, high;
    for (int axis = 0; axis < 3; ++axis) {
      const std::int64_t last = std::int64_t{own.getMin()[axis]} + grid.tileDimensions()[axis] + border_ - 1;
      low[axis] = std::max(own.getMin()[axis] - border_, 0);
      high[axis] = static_cast<std::int32_t>(std::min<std::int64_t>(last, grid.dimensions()[axis] - 1));
    }
    return {low, high};
  }

  TileGrid grid;
  std::uint64_t firstTile;  ///< its number in the file

private:
  int border_;
  McVec3i blockSize_;
};

}  // namespace

struct BorderedVolumeReader::State {
  State(std::string ldmPath, VolumeHeader volumeHeader, TileIndex tileIndex, std::unique_ptr<InputFile> dataFile)
      : path(std::move(ldmPath)),
        header(std::move(volumeHeader)),
        index(std::move(tileIndex)),
        data(std::move(dataFile)),
        blocks(header, index, *data, std::min(mostKeptBytes, memoryBudget() / 4)) {
    for (int level = 0; level < header.levels; ++level) levels.emplace_back(header, level);
  }

  void read(std::uint64_t tile, std::span<std::byte> out) {
    const BorderedLevel& level = levels[static_cast<std::size_t>(header.levelOf(tile))];
    const auto place = static_cast<std::int64_t>(tile - level.firstTile);
    const detail::BorderedBlocks::Block block = blocks.get(tile);
    checkBorders(level, place, *block);
    std::ranges::fill(out, std::byte{0});
    copyRows(out.data(), level.grid.tileLayout(place), block->data(), level.blockLayout(place),
             level.grid.tileBox(place));
  }

  /// Compares a block with what its own voxels and those of the neighbours make of it.
  void checkBorders(const BorderedLevel& level, std::int64_t tile, const std::vector<std::byte>& block) {
    const BitLayout layout = level.blockLayout(tile);
    const SbBox3i32 box = level.blockBox(tile);
    expected.assign(block.size(), std::byte{0});
    const TileGrid::Range tiles = level.grid.tilesOf(box);
    for (std::int64_t i = 0; i < tiles.size(); ++i) {
      const SbBox3i32 shared = box.intersection(level.grid.tileBox(tiles[i]));
      if (tiles[i] == tile) {
        copyRows(expected.data(), layout, block.data(), layout, shared);
      } else {
        addNeighbour(level, tiles[i], layout, shared);
      }
    }
    if (std::memcmp(expected.data(), block.data(), block.size()) != 0) refuseBorder(level, tile, block);
  }

  void addNeighbour(const BorderedLevel& level, std::int64_t neighbour, const BitLayout& layout,
                    const SbBox3i32& shared) {
    const std::uint64_t number = level.firstTile + static_cast<std::uint64_t>(neighbour);
    switch (index.kind(number)) {
      case StoredTileKind::unwritten:
      case StoredTileKind::zero:
        return;
      case StoredTileKind::one:
        return fillRows(expected.data(), layout, shared, true);
      case StoredTileKind::stored:
        break;
    }
    try {
      copyRows(expected.data(), layout, blocks.get(number)->data(), level.blockLayout(neighbour), shared);
    } catch (const McException& failure) {
      throw McException("its neighbour, tile " + std::to_string(number) + ": " + failure.what());
    }
  }

  /// Names the first voxel that is not what it should be.
  [[noreturn]] void refuseBorder(const BorderedLevel& level, std::int64_t tile,
                                 const std::vector<std::byte>& block) const {
    const auto [wrong, right] = std::ranges::mismatch(block, expected);
    const auto byte = static_cast<std::uint64_t>(wrong - block.begin());
    const auto bit = static_cast<std::uint64_t>(std::countl_zero(std::to_integer<std::uint8_t>(*wrong ^ *right)));
    const auto at = static_cast<std::int64_t>(byte * 8 + bit);
    const BitLayout layout = level.blockLayout(tile);
    const SbVec3i32 voxel(static_cast<std::int32_t>(layout.origin[0] + at % layout.rowStride),
                          static_cast<std::int32_t>(layout.origin[1] + at % layout.sliceStride / layout.rowStride),
                          static_cast<std::int32_t>(layout.origin[2] + at / layout.sliceStride));
    const TileGrid::Range owner = level.grid.tilesOf({voxel, voxel});
    if (owner.size() == 0) throw McException("voxel " + voxelText(voxel) + " outside the level is set");
    throw McException("its border at voxel " + voxelText(voxel) + " contradicts tile " +
                      std::to_string(level.firstTile + static_cast<std::uint64_t>(owner[0])));
  }

  const std::string path;
  const VolumeHeader header;
  const TileIndex index;
  const std::unique_ptr<const InputFile> data;
  detail::BorderedBlocks blocks;
  std::vector<BorderedLevel> levels;
  std::vector<std::byte> expected;  // room for checkBorders
};

std::unique_ptr<BorderedVolumeReader> BorderedVolumeReader::open(FileSystem& fileSystem, const std::string& ldmPath) {
  VolumeHeader header = VolumeHeader::read(fileSystem, ldmPath);
  if (header.border == 0) {
    throw McException(McException::excerpt(ldmPath) + ": element TileBorder \"0\": not a file of the older layout");
  }
  std::unique_ptr<InputFile> data = openDataFile(fileSystem, ldmPath, header);
  const std::unique_ptr<InputFile> indexFile = openIndexFile(fileSystem, ldmPath, header);
  TileIndex index = TileIndex::read(*indexFile, header, data->identity().size);
  auto state = std::make_unique<State>(ldmPath, std::move(header), std::move(index), std::move(data));
  return std::unique_ptr<BorderedVolumeReader>(new BorderedVolumeReader(std::move(state)));
}

BorderedVolumeReader::BorderedVolumeReader(std::unique_ptr<State> state) : state_(std::move(state)) {}

BorderedVolumeReader::~BorderedVolumeReader() = default;

const std::string& BorderedVolumeReader::path() const {
  return state_->path;
}

const VolumeHeader& BorderedVolumeReader::header() const {
  return state_->header;
}

const std::vector<StoredTileRun>& BorderedVolumeReader::runs() const {
  return state_->index.runs();
}

void BorderedVolumeReader::read(std::uint64_t tile, std::span<std::byte> out) {
  const auto fail = [&](const std::string& reason) {
    throw McException(McException::excerpt(state_->data->path()) + ": tile " + std::to_string(tile) + ": " + reason);
  };
  if (tile >= header().tileCount()) fail("there are only " + std::to_string(header().tileCount()) + " tiles");
  if (out.size() != header().tileBytes()) fail(std::to_string(out.size()) + " bytes of room do not fit");
  try {
    state_->read(tile, out);
  } catch (const McException& failure) {
    fail(failure.what());
  }
}

}  // namespace hxvoxora
