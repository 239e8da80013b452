#include "examples/package/HxHistogram.h"

/// What the host calls after opening the library, and before closing it.
extern "C" {
__attribute__((visibility("default"))) void quarnpackage_histogram_init() {
  HxHistogram::initClass();
}
__attribute__((visibility("default"))) void quarnpackage_histogram_finish() {
  HxHistogram::exitClass();
}
}
