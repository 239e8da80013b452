#pragma once

#include "hxroi/HxRois.h"
#include "quarn/base/McHandle.h"

namespace hxroi {

/// Keeps a set alive while views and displays of progress run events. A set without any handle belongs to somebody who
/// deletes it himself.
inline McHandle<HxRois> holdSet(HxRois* rois) {
  return rois && rois->refCount() > 0 ? McHandle<HxRois>(rois) : McHandle<HxRois>();
}

}  // namespace hxroi
