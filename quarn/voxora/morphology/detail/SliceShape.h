#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "quarn/voxora/morphology/detail/ColumnKernels.h"
#include "quarn/voxora/nodes/SbTypes.h"

namespace hxvoxora::detail {

/// How a slice of a tile with what surrounds it lies in columns: those of the tile first, then the one of the ends of
/// its rows; one alone for narrow tiles. A column holds the rows from -reach on.
struct SliceShape {
  SliceShape(const SbVec3i32& tileDimensions, int reachOfSweep)
      : tile(tileDimensions),
        reach(reachOfSweep),
        isNarrow(tile[0] < 64),
        tileColumns(isNarrow ? 1 : tile[0] / 64),
        columns(isNarrow ? 1 : tileColumns + 1),
        columnWords(static_cast<std::size_t>(tile[1] + 2 * reach) + ColumnKernels::slack) {}

  std::size_t words() const { return static_cast<std::size_t>(columns) * columnWords; }

  /// Where a row of a column stands.
  std::size_t at(int column, int y) const {
    return static_cast<std::size_t>(column) * columnWords + static_cast<std::size_t>(y + reach);
  }

  /// The columns that continue one before and behind it.
  int before(int column) const { return column == 0 ? columns - 1 : column - 1; }
  int behind(int column) const { return column == columns - 1 ? 0 : column + 1; }

  /// Which bits of a column stand for voxels below `width`, counted along x from the tile's first one.
  Word inside(int column, std::int64_t width) const {
    const auto upper = [](std::int64_t n, int of) {  // the first n bits of a word, but at most `of`
      const auto bits = static_cast<unsigned>(std::clamp<std::int64_t>(n, 0, of));
      return bits == 0 ? Word{0} : topBits(bits);
    };
    if (isNarrow) return upper(width, 32) | upper(width - 32, 16) >> 32 | Word{0xffff};
    if (column < tileColumns) return upper(width - 64 * column, 64);
    return upper(width - tile[0], 32) | ~upperHalf;
  }

  SbVec3i32 tile;
  int reach;
  bool isNarrow;
  int tileColumns, columns;
  std::size_t columnWords;
};

/// A slice in columns; slices of one value all over are known as such, and share their words.
struct Slice {
  enum class Kind : std::uint8_t { Clear, Set, Mixed };

  const Word* words = nullptr;
  Kind kind = Kind::Clear;
};

/// Slices of one value all over.
class UniformSlices {
public:
  explicit UniformSlices(const SliceShape& shape) : clear_(shape.words(), 0), set_(shape.words(), ~Word{0}) {}

  Slice of(Slice::Kind kind) const { return {kind == Slice::Kind::Set ? set_.data() : clear_.data(), kind}; }

private:
  std::vector<Word> clear_, set_;
};

/// The last few slices of a tile, by their z from -reach on.
class SliceRing {
public:
  SliceRing(const SliceShape& shape, int count, int reach)
      : reach_(reach),
        stride_(shape.words()),
        words_(stride_ * static_cast<std::size_t>(count)),
        slices_(static_cast<std::size_t>(count)) {}

  const Slice& at(int z) const { return slices_[place(z)]; }
  void put(int z, const Slice& slice) { slices_[place(z)] = slice; }

  /// Room for the words of a slice, in place of those of an earlier one.
  Word* room(int z) { return words_.data() + place(z) * stride_; }

private:
  std::size_t place(int z) const { return static_cast<std::size_t>(z + reach_) % slices_.size(); }

  int reach_;
  std::size_t stride_;
  std::vector<Word> words_;
  std::vector<Slice> slices_;
};

}  // namespace hxvoxora::detail
