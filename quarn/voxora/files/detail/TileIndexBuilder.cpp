#include "quarn/voxora/files/detail/TileIndexBuilder.h"

#include <algorithm>

#include "quarn/base/McException.h"

namespace hxvoxora::detail {

namespace {

bool continues(const StoredTileRun& run, const StoredTileRun& next) {
  return run.kind == next.kind && run.firstTile + run.tileCount == next.firstTile;
}

void appendRun(std::vector<StoredTileRun>& runs, const StoredTileRun& run) {
  if (run.tileCount == 0) return;
  if (!runs.empty() && continues(runs.back(), run)) {
    runs.back().tileCount += run.tileCount;
  } else {
    runs.push_back(run);
  }
}

}  // namespace

void TileIndexBuilder::addRun(const StoredTileRun& run) {
  if (!pieces_.empty() && continues(pieces_.back().run, run)) {
    pieces_.back().run.tileCount += run.tileCount;
  } else if (run.tileCount > 0) {
    pieces_.push_back({run, {}});
  }
}

void TileIndexBuilder::addStored(std::uint64_t tile, const StoredTile& entry) {
  pieces_.push_back({{tile, 1, StoredTileKind::stored}, entry});
}

TileIndex TileIndexBuilder::build(std::uint64_t tileCount, const std::string& path) {
  std::sort(pieces_.begin(), pieces_.end(),
            [](const Piece& a, const Piece& b) { return a.run.firstTile < b.run.firstTile; });
  std::vector<StoredTileRun> runs;
  std::vector<StoredTile> stored;
  std::uint64_t next = 0;
  for (const auto& [run, entry] : pieces_) {
    if (run.firstTile < next) {
      throw McException(McException::excerpt(path) + ": tile " + std::to_string(run.firstTile) + ": written twice");
    }
    appendRun(runs, {next, run.firstTile - next, StoredTileKind::unwritten});
    appendRun(runs, run);
    if (run.kind == StoredTileKind::stored) stored.push_back(entry);
    next = run.firstTile + run.tileCount;
  }
  appendRun(runs, {next, tileCount - next, StoredTileKind::unwritten});
  return {std::move(runs), std::move(stored)};
}

}  // namespace hxvoxora::detail
