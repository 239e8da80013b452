#include "quarn/kernel/objects/HxObjectPoolListener.h"

#include "quarn/kernel/objects/HxObjectPool.h"

HxObjectPoolListener::~HxObjectPoolListener() {
  HxObjectPool::instance().removeListener(this);
}
