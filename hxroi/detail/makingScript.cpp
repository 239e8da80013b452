#include "hxroi/detail/makingScript.h"

#include "quarn/kernel/objects/HxCompModule.h"
#include "quarn/kernel/objects/HxData.h"

namespace hxroi {

bool canMakeAgain(const HxCompModule& module, const HxData& data, QString& script) {
  const QByteArray name = module.getName().toUtf8();
  script = QString::asprintf("\"%s\" doIt hit; \"%s\" compute; \"%s\" getResult\n", name.constData(), name.constData(),
                             name.constData());
  const HxResultSlot* const slot = module.findResultSlot(0);
  return slot && slot->getTouchTime() == data.getTouchTime();
}

}  // namespace hxroi
