#include "quarn/voxora/tiles/Counted.h"

namespace hxvoxora {

Counted::~Counted() = default;

void Counted::dispose() const noexcept {
  delete this;
}

}  // namespace hxvoxora
