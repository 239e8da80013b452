#pragma once

#include <functional>

namespace hxvoxora {

/// Told by long work how much of it is done, from 0 to 1, never less than before; false gives the work up. Calls come
/// from the thread that asked for the work, at least every tenth of a second as long as single steps are shorter, so
/// that a cancel is answered at once. An empty one is never called.
using WorkCallback = std::function<bool(double fractionDone)>;

}  // namespace hxvoxora
