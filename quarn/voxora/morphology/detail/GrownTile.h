#pragma once

#include <vector>

#include "quarn/voxora/morphology/detail/Growth.h"
#include "quarn/voxora/morphology/detail/SliceShape.h"
#include "quarn/voxora/tiles/TilePayload.h"
#include "quarn/voxora/tiles/detail/TileSlot.h"

namespace hxvoxora::detail {

/// Collects the slices of a tile that was grown. Bits are made from the first slice on that differs from those before.
class GrownTile {
public:
  /// What is given must outlive this object.
  GrownTile(const SliceShape& shape, const UniformSlices& uniform, const Growth& growth);

  /// Begins a tile with so many voxels along the axes inside of the volume.
  void begin(const SbVec3i32& size);

  /// Takes the next slice, 0 <= z < size along z, which has one value all over.
  void addUniform(int z, Slice::Kind kind);

  /// Takes the next slice, whose columns are what spreads from sources(column).
  template <typename SourcesOf>
  void addSpread(int z, unsigned distance, const SourcesOf& sources) {
    makeBits(z);
    for (int column = 0; column < shape_.tileColumns; ++column) spreadInto(z, column, sources(column), distance);
    clearBehindRows(z);
  }

  /// What the tile is now; `before` when that is the same constant. A tile with voxels of both values always changes:
  /// somewhere the front stands beside the rest.
  TileSlot finish(const TileSlot& before, bool defaultValue);

private:
  void makeBits(int z);
  RowsToWrite rowsOf(int z, int column) const;
  void writeUniform(int z, Slice::Kind kind);
  void spreadInto(int z, int column, const SpreadSources& sources, unsigned distance);
  void clearBehindRows(int z);
  TileSlot settled();

  const SliceShape& shape_;
  const UniformSlices& uniform_;
  const ColumnKernels& kernels_;
  const bool isErosion_;
  SbVec3i32 size_;
  Slice::Kind kindSoFar_ = Slice::Kind::Clear;
  Ref<TilePayload> payload_;
  std::vector<Word> inside_;
  std::vector<Word> narrowColumn_;
  WordSummary seen_;
};

}  // namespace hxvoxora::detail
