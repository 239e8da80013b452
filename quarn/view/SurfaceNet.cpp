#include "quarn/view/detail/SurfaceNet.h"

#include <algorithm>
#include <bit>

namespace quarn::view::detail {

namespace {

/// Corner c of a cell lies at (c & 1, c >> 1 & 1, c >> 2).
constexpr unsigned FACES_BELOW[3] = {0b01010101, 0b00110011, 0b00001111};

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

bool SurfaceNet::smooth(int rounds, const CancelCheck& isCancelled) {
  std::vector<std::array<float, 3>> moved(points.size());
  for (int round = 0; round < rounds; ++round) {
    if (givesUp(isCancelled)) return false;
    for (std::size_t p = 0; p < points.size(); ++p) {
      std::array<float, 3> sum{};
      float count = 0;
      for (const std::uint32_t other : neighbours_[p]) {
        if (other == NONE) continue;
        for (std::size_t i = 0; i < 3; ++i) sum[i] += points[other][i];
        ++count;
      }
      for (std::size_t i = 0; i < 3; ++i)
        moved[p][i] = count > 0 ? std::clamp(sum[i] / count, cells_[p][i], cells_[p][i] + 1) : points[p][i];
    }
    points.swap(moved);
  }
  return true;
}

}  // namespace quarn::view::detail
