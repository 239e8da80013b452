#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "quarn/voxora/morphology/detail/Growth.h"
#include "quarn/voxora/tiles/detail/TileNumbers.h"
#include "quarn/voxora/tiles/detail/TileTable.h"

namespace hxvoxora::detail {

/// Finds the tiles that a growth may change: those with bits, and constant ones beside others that are not all front or
/// not of their value. Slices and rows of tiles that are alike are passed over as a whole.
class ChangingTiles {
public:
  /// The table must outlive this object.
  ChangingTiles(const TileTable& table, const Growth& growth);

  using Visitor = std::function<bool(std::int64_t tile)>;

  /// Calls visit(tile) in ascending order, and mayGoOn() all the time, also where there is nothing to visit, until
  /// one of them returns false; the result is false then.
  bool forEach(const Visitor& visit, const std::function<bool()>& mayGoOn);

private:
  bool restsAsSlice(std::int64_t z) const;
  std::optional<bool> isFront(std::int64_t first, std::int64_t count) const;
  bool visitRow(std::int64_t y, std::int64_t z, const Visitor& visit);
  bool visitEnds(std::int64_t y, std::int64_t z, const Visitor& visit);
  bool isNearOutside(std::size_t axis, std::int64_t i) const;
  bool isRestAround(std::int64_t y, std::int64_t z) const;
  void lookAt(std::int64_t y, std::int64_t z);
  void noteFront(std::int64_t y, std::int64_t z);

  const TileTable& table_;
  const Growth growth_;
  const TileNumbers numbers_;
  std::array<std::int64_t, 3> nearEnd_;  ///< the first tile along each axis that an erosion reaches from its end

  // Of the row at hand: what each of its tiles is, and where there is a front in it or in the rows around it, with a
  // place more at both ends.
  enum class Kind : std::uint8_t { Rest, Front, Mixed };
  std::vector<Kind> kinds_;
  std::vector<std::uint8_t> hasFront_;
};

}  // namespace hxvoxora::detail
