#include "quarn/base/McHandable.h"

#include <cassert>

McHandable::~McHandable() = default;

void McHandable::notifyDelete() {
  delete this;
}

void McHandable::unref() const {
  const int before = count_.fetch_sub(1, std::memory_order_acq_rel);
  assert(before > 0);
  if (before == 1) const_cast<McHandable*>(this)->notifyDelete();
}
