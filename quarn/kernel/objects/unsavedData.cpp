#include "quarn/kernel/objects/unsavedData.h"

#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/objects/HxObjectPool.h"

QStringList unsavedData() {
  QStringList names;
  for (const McHandle<HxObject>& object : HxObjectPool::instance().objects()) {
    auto* const data = dynamic_cast<HxData*>(object.get());
    if (data && data->isModified()) names += data->getName();
  }
  return names;
}
