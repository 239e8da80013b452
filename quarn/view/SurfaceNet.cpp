#include "quarn/view/detail/SurfaceNet.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace quarn::view::detail {

namespace {

/// Corner c of a cell lies at (c & 1, c >> 1 & 1, c >> 2).
constexpr unsigned FACES_BELOW[3] = {0b01010101, 0b00110011, 0b00001111};

constexpr int ROUNDS_IN_CELLS = 3;
constexpr int ROUNDS_FREE = 10;
constexpr float IN = 0.5f;
constexpr float OUT = -0.53f;
/// Pieces of fewer voxels keep their volume.
constexpr float SMALL_PIECE = 64;

using Offset = std::array<float, 3>;

/// The mean of the middles of those edges whose ends differ.
Offset meanOfCrossings(unsigned corners) {
  Offset sum{};
  int count = 0;
  for (unsigned corner = 0; corner < 8; ++corner) {
    for (unsigned axis = 0; axis < 3; ++axis) {
      const unsigned other = corner | (1u << axis);
      if (other == corner || ((corners >> corner) & 1) == ((corners >> other) & 1)) continue;
      for (unsigned i = 0; i < 3; ++i) sum[i] += i == axis ? 0.5f : static_cast<float>((corner >> i) & 1);
      ++count;
    }
  }
  for (float& value : sum) value = count ? value / static_cast<float>(count) : 0.5f;
  return sum;
}

const std::array<Offset, 256>& crossings() {
  static const std::array<Offset, 256> table = [] {
    std::array<Offset, 256> made;
    for (unsigned corners = 0; corners < 256; ++corners) made[corners] = meanOfCrossings(corners);
    return made;
  }();
  return table;
}

unsigned bitAt(const std::uint64_t* row, int x) {
  return static_cast<unsigned>(row[x / 64] >> (x % 64)) & 1;
}

bool givesUp(const CancelCheck& isCancelled) {
  return isCancelled && isCancelled();
}

}  // namespace

bool SurfaceNet::build(const MaskBits& bits, const CancelCheck& isCancelled) {
  width_ = static_cast<std::size_t>(bits.size(0));
  current_.assign(width_ * static_cast<std::size_t>(bits.size(1)), NONE);
  former_ = current_;
  for (int z = 0; z + 1 < bits.size(2); ++z) {
    if (givesUp(isCancelled)) return false;
    addLayer(bits, z);
    std::swap(former_, current_);
  }
  return true;
}

void SurfaceNet::addLayer(const MaskBits& bits, int z) {
  for (int y = 0; y + 1 < bits.size(1); ++y) addRow(bits, y, z);
}

void SurfaceNet::addRow(const MaskBits& bits, int y, int z) {
  const std::uint64_t* rows[4] = {bits.row(y, z), bits.row(y + 1, z), bits.row(y, z + 1), bits.row(y + 1, z + 1)};
  const int words = bits.wordsPerRow();
  const auto any = [&](int w) { return w < words ? rows[0][w] | rows[1][w] | rows[2][w] | rows[3][w] : 0; };
  const auto all = [&](int w) { return w < words ? rows[0][w] & rows[1][w] & rows[2][w] & rows[3][w] : 0; };
  for (int w = 0; w < words; ++w) {
    const std::uint64_t anyOfEight = any(w) | (any(w) >> 1) | (any(w + 1) << 63);
    const std::uint64_t allOfEight = all(w) & ((all(w) >> 1) | (all(w + 1) << 63));
    for (std::uint64_t mixed = anyOfEight & ~allOfEight; mixed; mixed &= mixed - 1) {
      const int x = 64 * w + std::countr_zero(mixed);
      unsigned corners = 0;
      for (unsigned i = 0; i < 4; ++i) corners |= (bitAt(rows[i], x) | (bitAt(rows[i], x + 1) << 1)) << (2 * i);
      addCell(x, y, z, corners);
    }
  }
}

void SurfaceNet::addCell(int x, int y, int z, unsigned corners) {
  const auto point = static_cast<std::uint32_t>(points.size());
  const std::size_t place = static_cast<std::size_t>(y) * width_ + static_cast<std::size_t>(x);
  const Offset cell{static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
  const Offset& offset = crossings()[corners];
  points.push_back({cell[0] + offset[0], cell[1] + offset[1], cell[2] + offset[2]});
  cells_.push_back(cell);
  neighbours_.push_back({NONE, NONE, NONE, NONE, NONE, NONE});
  current_[place] = point;

  const auto isMixed = [corners](unsigned face) { return (corners & face) != 0 && (corners & face) != face; };
  if (isMixed(FACES_BELOW[0])) link(point, current_[place - 1], 0);
  if (isMixed(FACES_BELOW[1])) link(point, current_[place - width_], 1);
  if (isMixed(FACES_BELOW[2])) link(point, former_[place], 2);
  addQuads(place, corners);
}

void SurfaceNet::link(std::uint32_t point, std::uint32_t other, unsigned direction) {
  neighbours_[point][2 * direction] = other;
  neighbours_[other][2 * direction + 1] = point;
}

/// The quads around the three edges that leave the lowest corner of the cell.
void SurfaceNet::addQuads(std::size_t place, unsigned corners) {
  const bool inside = corners & 1;
  const auto add = [&](std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    if (inside)
      quads.push_back({a, b, c, d});
    else
      quads.push_back({a, d, c, b});
  };
  const auto differs = [&](unsigned corner) { return static_cast<bool>((corners >> corner) & 1) != inside; };
  const std::size_t left = place - 1, back = place - width_;
  if (differs(1)) add(former_[back], former_[place], current_[place], current_[back]);
  if (differs(2)) add(former_[left], current_[left], current_[place], former_[place]);
  if (differs(4)) add(current_[back - 1], current_[back], current_[place], current_[left]);
}

/// The mean way to the neighbours.
std::array<float, 3> SurfaceNet::towardsNeighbours(std::size_t point) const {
  std::array<float, 3> sum{};
  float count = 0;
  for (const std::uint32_t other : neighbours_[point]) {
    if (other == NONE) continue;
    for (std::size_t i = 0; i < 3; ++i) sum[i] += points[other][i] - points[point][i];
    ++count;
  }
  for (float& value : sum) value = count > 0 ? value / count : 0;
  return sum;
}

/// Draws the points together, each within its cell. What is small would shrink to a point and is left alone.
bool SurfaceNet::drawTogether(const std::vector<bool>& isSmall, const CancelCheck& isCancelled) {
  std::vector<std::array<float, 3>> moved(points.size());
  for (int round = 0; round < ROUNDS_IN_CELLS; ++round) {
    if (givesUp(isCancelled)) return false;
    for (std::size_t p = 0; p < points.size(); ++p) {
      moved[p] = points[p];
      if (isSmall[p]) continue;
      const std::array<float, 3> way = towardsNeighbours(p);
      for (std::size_t i = 0; i < 3; ++i)
        moved[p][i] = std::clamp(points[p][i] + way[i], cells_[p][i], cells_[p][i] + 1);
    }
    points.swap(moved);
  }
  return true;
}

/// Moves the points a part of the way to their neighbours, or away from them when it is negative.
bool SurfaceNet::moveFreely(float part, const CancelCheck& isCancelled) {
  if (givesUp(isCancelled)) return false;
  std::vector<std::array<float, 3>> moved(points.size());
  for (std::size_t p = 0; p < points.size(); ++p) {
    const std::array<float, 3> way = towardsNeighbours(p);
    for (std::size_t i = 0; i < 3; ++i) moved[p][i] = points[p][i] + part * way[i];
  }
  points.swap(moved);
  return true;
}

/// The number of the connected piece of each point, from 0.
std::vector<std::uint32_t> SurfaceNet::findPieces() const {
  std::vector<std::uint32_t> pieces(points.size(), NONE);
  std::vector<std::uint32_t> open;
  std::uint32_t count = 0;
  for (std::uint32_t first = 0; first < points.size(); ++first) {
    if (pieces[first] != NONE) continue;
    pieces[first] = count;
    open.push_back(first);
    while (!open.empty()) {
      const std::uint32_t point = open.back();
      open.pop_back();
      for (const std::uint32_t other : neighbours_[point]) {
        if (other == NONE || pieces[other] != NONE) continue;
        pieces[other] = count;
        open.push_back(other);
      }
    }
    ++count;
  }
  return pieces;
}

std::vector<float> SurfaceNet::volumesOf(const std::vector<std::uint32_t>& pieces, std::uint32_t count) const {
  std::vector<float> volumes(count);
  const auto addTriangle = [&](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    const auto &p = points[a], &q = points[b], &r = points[c];
    volumes[pieces[a]] +=
        (p[0] * (q[1] * r[2] - q[2] * r[1]) + p[1] * (q[2] * r[0] - q[0] * r[2]) + p[2] * (q[0] * r[1] - q[1] * r[0])) /
        6;
  };
  for (const auto& quad : quads) {
    addTriangle(quad[0], quad[1], quad[2]);
    addTriangle(quad[0], quad[2], quad[3]);
  }
  return volumes;
}

/// Smoothing would make single voxels vanish.
void SurfaceNet::restoreVolumes(const std::vector<float>& former, const std::vector<std::uint32_t>& pieces) {
  const std::vector<float> present = volumesOf(pieces, static_cast<std::uint32_t>(former.size()));
  std::vector<std::array<float, 4>> middles(former.size(), {0, 0, 0, 0});
  for (std::size_t p = 0; p < points.size(); ++p) {
    for (std::size_t i = 0; i < 3; ++i) middles[pieces[p]][i] += points[p][i];
    ++middles[pieces[p]][3];
  }
  for (std::size_t p = 0; p < points.size(); ++p) {
    const std::uint32_t piece = pieces[p];
    if (std::abs(former[piece]) > SMALL_PIECE || std::abs(present[piece]) >= std::abs(former[piece])) continue;
    const float scale = std::cbrt(std::abs(former[piece]) / std::max(std::abs(present[piece]), 1e-3f));
    for (std::size_t i = 0; i < 3; ++i) {
      const float middle = middles[piece][i] / middles[piece][3];
      points[p][i] = middle + (points[p][i] - middle) * scale;
    }
  }
}

/// With a point in the middle of each cell the net runs along the faces of the voxels, and holds exactly them.
std::vector<float> SurfaceNet::countVoxels(const std::vector<std::uint32_t>& pieces) {
  const std::vector<std::array<float, 3>> started = points;
  for (std::size_t p = 0; p < points.size(); ++p)
    for (std::size_t i = 0; i < 3; ++i) points[p][i] = cells_[p][i] + 0.5f;
  const std::uint32_t count = pieces.empty() ? 0 : *std::max_element(pieces.begin(), pieces.end()) + 1;
  std::vector<float> voxels = volumesOf(pieces, count);
  for (std::size_t p = 0; p < points.size(); ++p)
    if (std::abs(voxels[pieces[p]]) > SMALL_PIECE) points[p] = started[p];
  return voxels;
}

bool SurfaceNet::smooth(const CancelCheck& isCancelled) {
  const std::vector<std::uint32_t> pieces = findPieces();
  const std::vector<float> voxels = countVoxels(pieces);
  std::vector<bool> isSmall(points.size());
  for (std::size_t p = 0; p < points.size(); ++p) isSmall[p] = std::abs(voxels[pieces[p]]) <= SMALL_PIECE;
  if (!drawTogether(isSmall, isCancelled)) return false;
  // In turns, so that the surface neither shrinks nor grows.
  for (int round = 0; round < ROUNDS_FREE; ++round)
    if (!moveFreely(IN, isCancelled) || !moveFreely(OUT, isCancelled)) return false;
  restoreVolumes(voxels, pieces);
  return true;
}

}  // namespace quarn::view::detail
