#pragma once

#include "quarn/base/McHandle.h"
#include "quarn/kernel/objects/HxObject.h"
#include "quarn/view/export.h"

namespace quarn::view {

/// Objects that hold masks need not offer them to a renderer themselves: another one, connected to them, may do that.

/// The object of the pool that offers the masks of `source`; null when there is none.
QUARN_VIEW_API HxObject* findMaskOffer(const HxObject* source);

/// A new object, not connected and not in the pool, that could do it; null when no class can.
QUARN_VIEW_API McHandle<HxObject> newMaskOffer(HxObject* source);

/// Finds or makes that object, connects and evaluates it, and puts it into the pool. Null when no class can.
QUARN_VIEW_API HxObject* provideMaskOffer(HxObject* source);

/// Evaluates an object with masks and, before it, what is at its "data", where there are marks, each with what is
/// connected to it: an object may answer wrongly, or work long, when it is asked before. Throws what the evaluation
/// throws; may run events.
QUARN_VIEW_API void bringMasksUpToDate(HxObject& object);

}  // namespace quarn::view
