#include "roitools/HxRangeToLabels.h"
#include "roitools/HxRoiOverlap.h"
#include "roitools/HxRoiSplit.h"
#include "roitools/HxRoiStatistics.h"
#include "roitools/HxRoisToLabels.h"
#include "roitools/exchange/exchangeFormats.h"

/// Entry points that the host calls after opening and before closing the package.
extern "C" {
ROITOOLS_API void quarnpackage_roitools_init() {
  HxRangeToLabels::initClass();
  HxRoiOverlap::initClass();
  HxRoiSplit::initClass();
  HxRoiStatistics::initClass();
  HxRoisToLabels::initClass();
  roitools::registerExchangeFormats();
}
ROITOOLS_API void quarnpackage_roitools_finish() {
  roitools::unregisterExchangeFormats();
  HxRoisToLabels::exitClass();
  HxRoiStatistics::exitClass();
  HxRoiSplit::exitClass();
  HxRoiOverlap::exitClass();
  HxRangeToLabels::exitClass();
}
}
