#include "quarn/base/McInterfaceOwner.h"

#include "quarn/base/McHandable.h"
#include "quarn/base/McInterface.h"

namespace {

bool isReferredTo(const McInterface* interface) {
  const auto* handable = dynamic_cast<const McHandable*>(interface);
  return handable && handable->refCount() > 0;
}

}  // namespace

MC_ROOT_CLASS_IMPL(McInterfaceOwner)

McInterfaceOwner::~McInterfaceOwner() {
  deleteInterfaces();
}

void McInterfaceOwner::deleteInterfaces() {
  // An interface may take others along when it dies, so the list is looked at anew each time.
  while (!interfaces_.empty()) {
    McInterface* last = interfaces_.back();
    if (last->isOwned() && !isReferredTo(last)) {
      delete last;
    } else {
      interfaces_.pop_back();
      last->owner_ = nullptr;
    }
  }
}
