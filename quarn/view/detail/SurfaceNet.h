#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "quarn/view/Surface.h"

namespace quarn::view::detail {

/// One point for each cell of eight voxels that are not all alike, and a quad for each pair of unlike neighbours.
/// Coordinates are those of MaskBits: voxels, the shell counted.
class SurfaceNet {
public:
  /// False when cancelled.
  bool build(const MaskBits& bits, const CancelCheck& isCancelled);
  /// Takes the steps out of the surface; points hardly leave their cells. Small pieces keep their volume. False when
  /// cancelled.
  bool smooth(const CancelCheck& isCancelled);

  std::vector<std::array<float, 3>> points;
  std::vector<std::array<std::uint32_t, 4>> quads;

private:
  static constexpr std::uint32_t NONE = ~std::uint32_t{0};

  void addLayer(const MaskBits& bits, int z);
  void addRow(const MaskBits& bits, int y, int z);
  void addCell(int x, int y, int z, unsigned corners);
  void link(std::uint32_t point, std::uint32_t other, unsigned direction);
  std::array<float, 3> towardsNeighbours(std::size_t point) const;
  bool drawTogether(const std::vector<bool>& isSmall, const CancelCheck& isCancelled);
  bool moveFreely(float part, const CancelCheck& isCancelled);
  std::vector<std::uint32_t> findPieces() const;
  std::vector<float> volumesOf(const std::vector<std::uint32_t>& pieces, std::uint32_t count) const;
  std::vector<float> countVoxels(const std::vector<std::uint32_t>& pieces);
  void restoreVolumes(const std::vector<float>& former, const std::vector<std::uint32_t>& pieces);
  void addQuads(std::size_t place, unsigned corners);

  std::size_t width_ = 0;
  std::vector<std::uint32_t> former_, current_;  ///< the point of each cell of two layers
  std::vector<std::array<std::uint32_t, 6>> neighbours_;
  std::vector<std::array<float, 3>> cells_;  ///< the lowest corner of each point's cell
};

}  // namespace quarn::view::detail
