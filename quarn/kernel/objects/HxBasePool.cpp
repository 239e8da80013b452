#include "quarn/kernel/objects/HxBasePool.h"

#include "quarn/kernel/objects/HxObjectPool.h"

HxBasePool* HxBasePool::getTheBasePool() {
  return &HxObjectPool::instance();
}
