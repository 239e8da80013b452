#pragma once

#include "roitools/export.h"

namespace roitools {

/// Makes the exchange formats known to HxFileTypes, and takes them back. Each does its work once until the other one
/// has run.
ROITOOLS_API void registerExchangeFormats();
ROITOOLS_API void unregisterExchangeFormats();

}  // namespace roitools
