#include "quarn/kernel/ports/HxPortText.h"

#include "quarn/kernel/script/HxCommands.h"

MC_ABSTRACT_CLASS_IMPL(HxPortText, HxPort)

HxPortText::HxPortText(HxObject* owner, const QString& name, const QString& label) : HxPort(owner, name, label) {}

HxPortText::~HxPortText() = default;

void HxPortText::setValue(const QString& value) {
  if (value == value_) return;
  value_ = value;
  showValue();
  touch();
}

bool HxPortText::setState(const QString& state) {
  setValue(state);
  return true;
}

int HxPortText::parse(Tcl_Interp* interp, int argc, char** argv) {
  const QString word = argc > 1 ? QString::fromUtf8(argv[1]) : QString();
  if (cmdCheck(word, "getValue", "")) {
    if (const int go = cmdHelp(interp, argv[1], argc == 2, argc, argv); go != HX_CMD_GO_ON) return go;
    Tcl_SetObjResult(interp, Tcl_NewStringObj(qUtf8Printable(value_), -1));
    return TCL_OK;
  }
  if (cmdCheck(word, "setValue", "TEXT")) {
    if (const int go = cmdHelp(interp, argv[1], argc == 3, argc, argv); go != HX_CMD_GO_ON) return go;
    setValue(QString::fromUtf8(argv[2]));
    return TCL_OK;
  }
  return HxPort::parse(interp, argc, argv);
}
