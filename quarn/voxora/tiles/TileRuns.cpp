#include "quarn/voxora/tiles/TileRuns.h"

#include <algorithm>
#include <array>

namespace hxvoxora {

namespace {

/// Tiles along one axis: those of the box, and among them those that it holds whole. `end` lies behind the last one.
struct Span {
  std::int64_t begin, end, wholeBegin, wholeEnd, tileCount;

  Span(std::int32_t first, std::int32_t last, std::int32_t dimension, std::int32_t tileSize)
      : begin(first / tileSize),
        end(last / tileSize + 1),
        wholeBegin((std::int64_t{first} + tileSize - 1) / tileSize),
        wholeEnd(last == dimension - 1 ? end : (std::int64_t{last} + 1) / tileSize),
        tileCount((std::int64_t{dimension} + tileSize - 1) / tileSize) {}

  bool isWholeAxis() const { return wholeBegin == 0 && wholeEnd == tileCount; }
  bool holds(std::int64_t place) const { return wholeBegin <= place && place < wholeEnd; }
};

class Collector {
public:
  void add(std::int64_t first, std::int64_t count, bool whole) {
    if (count <= 0) return;
    if (!runs_.empty() && runs_.back().whole == whole && runs_.back().first + runs_.back().count == first) {
      runs_.back().count += count;
    } else {
      runs_.push_back({first, count, whole});
    }
  }

  /// A row of tiles that begins with the tile `first`.
  void addRow(std::int64_t first, const Span& x, bool whole) {
    const std::int64_t wholeBegin = whole ? std::min(x.wholeBegin, x.end) : x.end;
    const std::int64_t wholeEnd = std::max(wholeBegin, x.wholeEnd);
    add(first + x.begin, wholeBegin - x.begin, false);
    add(first + wholeBegin, whole ? wholeEnd - wholeBegin : 0, true);
    add(first + wholeEnd, x.end - wholeEnd, false);
  }

  std::vector<TileRun> take() { return std::move(runs_); }

private:
  std::vector<TileRun> runs_;
};

}  // namespace

std::vector<TileRun> runsOf(const TileGrid& grid, const SbBox3i32& box) {
  const SbBox3i32 inside = box.intersection(grid.box());
  if (inside.isEmpty()) return {};
  const auto span = [&](int axis) {
    return Span(inside.getMin()[axis], inside.getMax()[axis], grid.dimensions()[axis], grid.tileDimensions()[axis]);
  };
  const Span x = span(0), y = span(1), z = span(2);
  const std::int64_t perSlice = x.tileCount * y.tileCount;
  const bool wholeSlices = x.isWholeAxis() && y.isWholeAxis();
  Collector runs;
  for (std::int64_t k = z.begin; k < z.end; ++k) {
    if (wholeSlices) {
      runs.add(k * perSlice, perSlice, z.holds(k));
      continue;
    }
    for (std::int64_t j = y.begin; j < y.end; ++j)
      runs.addRow(k * perSlice + j * x.tileCount, x, z.holds(k) && y.holds(j));
  }
  return runs.take();
}

}  // namespace hxvoxora
