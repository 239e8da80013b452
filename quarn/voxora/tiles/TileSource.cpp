#include "quarn/voxora/tiles/detail/TileSource.h"

#include <utility>

namespace hxvoxora::detail {

namespace {

SbVec3i32 toolkitVector(const McVec3i& v) {
  return {v.x, v.y, v.z};
}

}  // namespace

TileSource::TileSource(std::shared_ptr<const TiledFileReader> reader)
    : reader_(std::move(reader)),
      grid_(toolkitVector(reader_->header().dimensions), toolkitVector(reader_->header().tileDimensions)) {}

Ref<const TilePayload> TileSource::load(std::uint64_t tile) const {
  const Ref<TilePayload> payload = TilePayload::make(grid_.tileByteSize(), TilePayload::Purpose::Load);
  reader_->read(tile, {payload->bits(), payload->byteSize()});
  return payload;
}

}  // namespace hxvoxora::detail
