#pragma once

#include <optional>
#include <vector>

#include "quarn/base/McColor.h"
#include "quarn/base/McDim3l.h"
#include "quarn/base/McHandle.h"
#include "quarn/kernel/fields/HxGeometry3.h"
#include "quarn/kernel/fields/HxISetOfVolumeMask.h"
#include "quarn/view/ColorTransfer.h"
#include "quarn/view/Complaints.h"
#include "quarn/view/export.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "quarn/voxora/tiles/Ref.h"
#include "quarn/voxora/tiles/TileSnapshot.h"

class HxUniformScalarField3;

namespace quarn::view {

/// One mask as it is to be drawn.
struct MaskLook {
  McHandle<HxVolumeData> data;
  hxvoxora::Ref<const SoVolumeMask> node;  ///< kept while progress runs events
  const void* owner = nullptr;             ///< of the set that it belongs to, see MaskSetLook
  hxvoxora::TileSnapshot content;          ///< level 0
  QString name;
  McColor color;
  std::optional<ColorTransfer> transfer;  ///< of the image's values, in place of the colour
};

/// All that is drawn of an object with masks: what it answered at one moment.
struct MaskSetLook {
  const void* owner = nullptr;  ///< tells sets apart; not to be looked into
  std::vector<MaskLook> masks;  ///< the visible ones, in an order that does not depend on that of the set
  McDim3l dimensions;
  HxGeometry3 geometry;
  McHandle<HxUniformScalarField3> image;  ///< what the masks lie over; may be null
  std::optional<HxISetOfVolumeMask::DrawStyle> overlapStyle;
  std::optional<McColor> overlapColor;
  std::optional<ColorTransfer> overlapTransfer;
};

/// Asks an object. Whatever it throws is told once; a mask about which a question fails is left out, and so are those
/// whose grid is not that of the others. `label` names the object in messages.
QUARN_VIEW_API MaskSetLook readMaskSet(const HxISetOfVolumeMask& set, const QString& label, Complaints& complaints);

}  // namespace quarn::view
