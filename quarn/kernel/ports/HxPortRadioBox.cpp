#include "quarn/kernel/ports/HxPortRadioBox.h"

#include "quarn/kernel/script/HxWordCommands.h"

MC_ABSTRACT_CLASS_IMPL(HxPortRadioBox, HxPort)

namespace {

/// As help and refusals name the buttons: 0 "volume" or 1 "boundary".
QString choicesOf(const QStringList& labels) {
  QStringList texts;
  for (const QString& label : labels) {
    const QString number = QString::number(texts.size());
    texts += label.isEmpty() ? number : QStringLiteral("%1 \"%2\"").arg(number, label);
  }
  return texts.join(QStringLiteral(" or "));
}

}  // namespace

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
  static constexpr HxWordCommand<HxPortRadioBox> kCommands[] = {
      {{"getValue", "", 0, 0, "Returns the number of the chosen button; the first is 0."},
       [](HxPortRadioBox& port, const HxWords& words) { return words.answer(QString::number(port.value_)); }},
      {{"setValue", "BUTTON", 1, 1, "Chooses a button by its number or its label."},
       [](HxPortRadioBox& port, const HxWords& words) { return port.parseSetValue(words.interp, words.text(0)); }},
      {{"getLabels", "", 0, 0, "Returns the labels of the buttons."},
       [](HxPortRadioBox& port, const HxWords& words) { return words.append(port.labels_); }},
  };
  getCmdInfo().note("setValue", "BUTTON is " + choicesOf(labels_));
  getCmdInfo().offer("BUTTON", labels_);
  const auto code = runWordCommand(kCommands, "HxPortRadioBox", *this, HxWords{interp, argc, argv});
  return code ? *code : HxPort::parse(interp, argc, argv);
}

int HxPortRadioBox::parseSetValue(Tcl_Interp*, const QString& word) {
  bool isNumber;
  int button = word.toInt(&isNumber);
  // A label may be a number, too.
  if (!isNumber || button < 0 || button >= buttons()) button = static_cast<int>(labels_.indexOf(word));
  if (button < 0 || button >= buttons()) return HxWords::refuse("setValue", word, choicesOf(labels_));
  setValue(button);
  return TCL_OK;
}
