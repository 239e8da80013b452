#include "quarn/voxora/morphology/detail/growTable.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "quarn/voxora/nodes/detail/SoVolumeMaskState.h"

/// Dilation and erosion of a mask.

using hxvoxora::Ref;
using hxvoxora::detail::TileTable;
using hxvoxora::detail::TileTableEditor;

bool SoVolumeMask::State::grow(std::uint64_t iterations, bool isErosion, const hxvoxora::WorkCallback& progress) {
  const int id = openTransaction().id;
  const Ref<const TileTable> before = openTransaction().table.publish();
  const Ref<const TileTable> grown = hxvoxora::detail::growTable(before, iterations, isErosion, progress);
  if (!grown) return false;
  // Whom the callback asked may have ended the transaction.
  Transaction& open = openTransaction(id);
  open.table = TileTableEditor(*grown);
  open.edited = true;
  return true;
}

bool SoVolumeMask::dilate(std::uint64_t iterations, const hxvoxora::WorkCallback& progress) {
  return state_->grow(iterations, false, progress);
}

bool SoVolumeMask::erode(std::uint64_t iterations, const hxvoxora::WorkCallback& progress) {
  return state_->grow(iterations, true, progress);
}
