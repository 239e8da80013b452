#include "quarn/kernel/ports/HxPortObjects.h"

#include <utility>

#include "quarn/base/McException.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/script/HxWordCommands.h"

MC_ABSTRACT_CLASS_IMPL(HxPortObjects, HxPort)

HxPortObjects::HxPortObjects(HxObject* owner, const QString& name, const QString& label, Face face)
    : HxPort(owner, name, label), face_(std::move(face)) {
  hide();
}

HxPortObjects::~HxPortObjects() = default;

int HxPortObjects::parse(Tcl_Interp* interp, int argc, char** argv) {
  static constexpr HxWordCommand<HxPortObjects> kCommands[] = {
      {{"add", "OBJECT SETTINGS", 2, 2, "Takes an object in, with settings as networks have them."},
       [](HxPortObjects& port, const HxWords& words) {
         HxObject* const object = HxObjectPool::instance().find(words.text(0));
         if (!object)
           throw McException("There is no object \"" + McException::excerpt(words.text(0).toStdString()) + "\".");
         port.face_.add(object, words.text(1));
         return TCL_OK;
       }},
  };
  const auto code = runWordCommand(kCommands, "HxPortObjects", *this, HxWords{interp, argc, argv});
  return code ? *code : HxPort::parse(interp, argc, argv);
}
