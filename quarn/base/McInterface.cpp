#include "quarn/base/McInterface.h"

#include <vector>

MC_ROOT_CLASS_IMPL(McInterface)

McInterface::McInterface(McInterfaceOwner* owner, int flag) : owner_(owner), owned_((flag & 1) != 0) {
  if (owner_) owner_->interfaces_.push_back(this);
}

McInterface::~McInterface() {
  if (owner_) std::erase(owner_->interfaces_, this);
}
