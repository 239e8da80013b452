#include "hxroi/detail/SaveStopped.h"

namespace hxroi {

SaveStopped::~SaveStopped() = default;

}  // namespace hxroi
