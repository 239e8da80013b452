// A package that registers a class and then cannot go on.

#include <stdexcept>

#include "quarn/kernel/objects/HxData.h"

class HxFailingData : public HxData {
public:
  MC_CLASS_DECL(HxFailingData)
  HxFailingData() = default;
};

MC_CLASS_IMPL(HxFailingData, HxData)

namespace {

/// A type that is gone with the library.
struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace

extern "C" {

__attribute__((visibility("default"))) void quarnpackage_failing_init() {
  HxFailingData::initClass();
  throw Failure("there is no licence for the moon");
}

__attribute__((visibility("default"))) void quarnpackage_failing_finish() {
  HxFailingData::exitClass();
}
}
