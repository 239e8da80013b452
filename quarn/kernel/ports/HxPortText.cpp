#include "quarn/kernel/ports/HxPortText.h"

#include "quarn/kernel/script/HxWordCommands.h"

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
  static constexpr HxWordCommand<HxPortText> kCommands[] = {
      {{"getValue", "", 0, 0, "Returns the text."},
       [](HxPortText& port, const HxWords& words) { return words.answer(port.value_); }},
      {{"setValue", "TEXT", 1, 1, "Sets the text."},
       [](HxPortText& port, const HxWords& words) {
         port.setValue(words.text(0));
         return TCL_OK;
       }},
  };
  const auto code = runWordCommand(kCommands, "HxPortText", *this, HxWords{interp, argc, argv});
  return code ? *code : HxPort::parse(interp, argc, argv);
}
