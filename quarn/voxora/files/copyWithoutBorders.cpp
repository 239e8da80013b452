#include "quarn/voxora/files/copyWithoutBorders.h"

#include <algorithm>
#include <vector>

#include "quarn/base/McException.h"
#include "quarn/voxora/bits/BitRows.h"
#include "quarn/voxora/tiles/TileGrid.h"
#include "quarn/voxora/tiles/detail/parallel.h"

namespace hxvoxora {

namespace {

constexpr std::uint64_t batchBytes = std::uint64_t{4} << 20;

SbVec3i32 toolkitVector(const McVec3i& v) {
  return {v.x, v.y, v.z};
}

/// One copy: tiles come in batches, which are read one after the other and packed at once.
class Copy {
public:
  Copy(BorderedVolumeReader& from, TiledFileWriter& to, const WorkCallback& callback)
      : from_(from), to_(to), header_(from.header()), callback_(callback), grid_(levelGrid(0)) {
    for (const StoredTileRun& run : from.runs()) total_ += run.kind == StoredTileKind::stored ? run.tileCount : 0;
    tilesPerBatch_ = static_cast<std::size_t>(std::max<std::uint64_t>(1, batchBytes / header_.tileBytes()));
    bits_.resize(tilesPerBatch_ * header_.tileBytes());
  }

  std::optional<SbBox3i32> run() {
    for (const StoredTileRun& run : from_.runs()) {
      if (run.kind != StoredTileKind::stored) {
        to_.setKind(run.firstTile, run.kind, run.tileCount);
        if (run.kind == StoredTileKind::one) extendByRun(run);
        continue;
      }
      for (std::uint64_t done = 0; done < run.tileCount; ++done) {
        if (!add(run.firstTile + done)) return std::nullopt;
      }
    }
    if (!writeBatch()) return std::nullopt;
    return bounds_;
  }

private:
  TileGrid levelGrid(int level) const {
    return {toolkitVector(header_.levelDimensions(level)), toolkitVector(header_.tileDimensions)};
  }

  std::span<std::byte> room(std::size_t place) {
    const auto bytes = static_cast<std::size_t>(header_.tileBytes());
    return std::span(bits_).subspan(place * bytes, bytes);
  }

  bool add(std::uint64_t tile) {
    if (tiles_.size() == tilesPerBatch_ && !writeBatch()) return false;
    from_.read(tile, room(tiles_.size()));
    tiles_.push_back(tile);
    return true;
  }

  bool writeBatch() {
    detail::parallelFor(static_cast<std::int64_t>(tiles_.size()), [this](std::int64_t i) {
      const auto place = static_cast<std::size_t>(i);
      write(tiles_[place], room(place));
    });
    for (std::size_t i = 0; i < tiles_.size(); ++i) extendByTile(tiles_[i], room(i));
    done_ += tiles_.size();
    tiles_.clear();
    return !callback_ || callback_(total_ == 0 ? 1 : static_cast<double>(done_) / static_cast<double>(total_));
  }

  void write(std::uint64_t tile, std::span<const std::byte> bits) const {
    const McVec3i extent = header_.tileExtent(tile);
    const McVec3i size = header_.tileDimensions;
    const BitLayout layout{{0, 0, 0}, size.x, std::int64_t{size.x} * size.y};
    const auto value = uniformValue(bits.data(), layout, {{0, 0, 0}, {extent.x - 1, extent.y - 1, extent.z - 1}});
    if (value) {
      to_.setKind(tile, *value ? StoredTileKind::one : StoredTileKind::zero);
    } else {
      to_.put(tile, bits);
    }
  }

  void extendByTile(std::uint64_t tile, std::span<const std::byte> bits) {
    if (tile >= header_.levelTileCount(0)) return;
    const auto number = static_cast<std::int64_t>(tile);
    const SbBox3i32 box = grid_.tileBox(number);
    if (!bounds_.contains(box)) bounds_.extendBy(boundsOfRows(bits.data(), grid_.tileLayout(number), box));
  }

  /// A run that goes on in the next row of tiles holds the last tile of one row and the first of another; with layers
  /// it is the same.
  void extendByRun(const StoredTileRun& run) {
    const std::uint64_t count =
        std::min(run.tileCount, header_.levelTileCount(0) - std::min(header_.levelTileCount(0), run.firstTile));
    if (count == 0) return;
    SbBox3i32 box = grid_.tileBox(static_cast<std::int64_t>(run.firstTile));
    box.extendBy(grid_.tileBox(static_cast<std::int64_t>(run.firstTile + count - 1)));
    const std::uint64_t perRow = static_cast<std::uint64_t>(header_.tilesPerAxis().x);
    const std::uint64_t perLayer = perRow * static_cast<std::uint64_t>(header_.tilesPerAxis().y);
    const auto crosses = [&](std::uint64_t perUnit) {
      return run.firstTile / perUnit != (run.firstTile + count - 1) / perUnit;
    };
    SbVec3i32 low = box.getMin(), high = box.getMax();
    if (crosses(perRow)) low[0] = 0, high[0] = header_.dimensions.x - 1;
    if (crosses(perLayer)) low[1] = 0, high[1] = header_.dimensions.y - 1;
    bounds_.extendBy({low, high});
  }

  BorderedVolumeReader& from_;
  TiledFileWriter& to_;
  const VolumeHeader& header_;
  const WorkCallback& callback_;
  const TileGrid grid_;  // of level 0
  std::uint64_t total_ = 0;
  std::uint64_t done_ = 0;
  std::size_t tilesPerBatch_ = 1;
  std::vector<std::byte> bits_;
  std::vector<std::uint64_t> tiles_;
  SbBox3i32 bounds_;
};

void requireSameTiles(const VolumeHeader& from, const TiledFileWriter& to, const std::string& path) {
  const VolumeHeader& header = to.header();
  const bool same = header.dimensions == from.dimensions && header.tileDimensions == from.tileDimensions &&
                    header.levels == from.levels;
  if (!same) throw McException(McException::excerpt(path) + ": is copied to a file with other tiles");
}

}  // namespace

std::optional<SbBox3i32> copyWithoutBorders(BorderedVolumeReader& from, TiledFileWriter& to,
                                            const WorkCallback& callback) {
  requireSameTiles(from.header(), to, from.path());
  return Copy(from, to, callback).run();
}

}  // namespace hxvoxora
