#include "quarn/kernel/ports/HxPortRadioBox.h"

#include "quarn/kernel/script/HxCommands.h"

MC_ABSTRACT_CLASS_IMPL(HxPortRadioBox, HxPort)

HxPortRadioBox::HxPortRadioBox(HxObject* owner, const QString& name, const QString& label, int buttons)
    : HxPort(owner, name, label), labels_(buttons, QString()) {}

HxPortRadioBox::~HxPortRadioBox() = default;

void HxPortRadioBox::setLabel(int button, const QString& label) {
  if (button >= 0 && button < buttons()) labels_[button] = label;
  showValue();
}

void HxPortRadioBox::setValue(int value) {
  if (value == value_) return;
  value_ = value;
  showValue();
  touch();
}

void HxPortRadioBox::getState(QString& state) const {
  state = QString::number(value_);
}

bool HxPortRadioBox::setState(const QString& state) {
  bool isNumber;
  const int value = state.trimmed().toInt(&isNumber);
  if (isNumber) setValue(value);
  return isNumber;
}

int HxPortRadioBox::parse(Tcl_Interp* interp, int argc, char** argv) {
  const QString word = argc > 1 ? QString::fromUtf8(argv[1]) : QString();
  const auto run = [&](bool wellFormed, auto command) {
    const int form = cmdHelp(interp, argv[1], wellFormed, argc, argv);
    return form == HX_CMD_GO_ON ? command() : form;
  };

  if (cmdCheck(word, "getValue", "")) {
    return run(argc == 2, [&] {
      Tcl_VaAppendElement(interp, "%d", value_);
      return TCL_OK;
    });
  }
  if (cmdCheck(word, "setValue", "BUTTON|LABEL")) {
    return run(argc == 3, [&] { return parseSetValue(interp, QString::fromUtf8(argv[2])); });
  }
  if (cmdCheck(word, "getLabels", "")) {
    return run(argc == 2, [&] {
      for (const QString& label : labels_) Tcl_VaAppendElement(interp, "%s", qUtf8Printable(label));
      return TCL_OK;
    });
  }
  return HxPort::parse(interp, argc, argv);
}

int HxPortRadioBox::parseSetValue(Tcl_Interp* interp, const QString& word) {
  bool isNumber;
  int button = word.toInt(&isNumber);
  // A label may be a number, too.
  if (!isNumber || button < 0 || button >= buttons()) button = static_cast<int>(labels_.indexOf(word));
  if (button < 0 || button >= buttons()) return cmdError(interp, HX_CMD_WRONG_VALUE, word);
  setValue(button);
  return TCL_OK;
}
