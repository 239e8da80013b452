#include "bench/traffic.h"

#include <algorithm>

namespace bench {

using hxvoxora::TileSnapshot;
using hxvoxora::TruthTable;

namespace {

/// Whether f with one operand fixed is the inverse of the other operand.
bool inverts(TruthTable f, const TileSnapshot::Kind a, const TileSnapshot::Kind b) {
  using Kind = TileSnapshot::Kind;
  if (a == Kind::Mixed) {
    const bool right = b == Kind::One;
    return apply(f, false, right) && !apply(f, true, right);
  }
  const bool left = a == Kind::One;
  return apply(f, left, false) && !apply(f, left, true);
}

struct TileCounts {
  std::size_t combined = 0, copied = 0;
};

TileCounts countTiles(const TileSnapshot& a, const TileSnapshot& b, TruthTable f) {
  TileCounts count;
  for (std::int64_t tile = 0; tile < a.tileCount(); ++tile) {
    const TileSnapshot::Kind left = a.kind(tile), right = b.kind(tile);
    const int mixed = (left == TileSnapshot::Kind::Mixed) + (right == TileSnapshot::Kind::Mixed);
    if (mixed == 2) ++count.combined;
    if (mixed == 1 && inverts(f, left, right)) ++count.copied;
  }
  return count;
}

std::size_t boxBytes(const TileSnapshot& content) {
  const SbBox3i32 box = content.grid().box();
  return static_cast<std::size_t>((box.size(0) * box.size(1) * box.size(2) + 7) / 8);
}

}  // namespace

std::size_t payloadBytes(const TileSnapshot& content) {
  std::size_t tiles = 0;
  for (std::int64_t tile = 0; tile < content.tileCount(); ++tile)
    tiles += content.kind(tile) == TileSnapshot::Kind::Mixed ? 1 : 0;
  return tiles * content.grid().tileByteSize();
}

std::size_t combinedBytes(const TileSnapshot& a, const TileSnapshot& b, TruthTable f) {
  const TileCounts tiles = countTiles(a, b, f);
  return (tiles.combined + tiles.copied) * a.grid().tileByteSize();
}

Limit combineLimit(const TileSnapshot& a, const TileSnapshot& b, TruthTable f) {
  const TileCounts tiles = countTiles(a, b, f);
  return combine(tiles.combined * a.grid().tileByteSize()) + copy(tiles.copied * a.grid().tileByteSize());
}

Limit fetchLimit(const TileSnapshot& content) {
  const std::size_t box = boxBytes(content), payload = std::min(payloadBytes(content), box);
  return copy(payload) + fill(box - payload);
}

Limit replaceLimit(const TileSnapshot& content) {
  const std::size_t box = boxBytes(content), payload = std::min(payloadBytes(content), box);
  return copy(payload) + read(box - payload);
}

}  // namespace bench
