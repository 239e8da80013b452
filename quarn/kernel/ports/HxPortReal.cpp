#include "quarn/kernel/ports/HxPortReal.h"

#include <QLocale>
#include <cmath>
#include <optional>

#include "quarn/kernel/script/HxWordCommands.h"

MC_ABSTRACT_CLASS_IMPL(HxPortReal, HxPort)

namespace {

QLocale numbers() {
  QLocale locale = QLocale::c();
  locale.setNumberOptions(QLocale::OmitGroupSeparator | QLocale::RejectGroupSeparator);
  return locale;
}

std::optional<double> numberIn(const QString& text) {
  bool isNumber;
  const double number = numbers().toDouble(text.trimmed(), &isNumber);
  return isNumber && !std::isnan(number) ? std::optional(number) : std::nullopt;
}

}  // namespace

HxPortReal::HxPortReal(HxObject* owner, const QString& name, const QString& label, double value)
    : HxPort(owner, name, label), value_(value) {}

HxPortReal::~HxPortReal() = default;

void HxPortReal::setValue(double value) {
  if (value == value_ || std::isnan(value)) return;
  value_ = value;
  showValue();
  touch();
}

QString HxPortReal::text() const {
  return numbers().toString(value_, 'g', QLocale::FloatingPointShortest);
}

void HxPortReal::getState(QString& state) const {
  state = text();
}

bool HxPortReal::setState(const QString& state) {
  const std::optional<double> number = numberIn(state);
  if (number) setValue(*number);
  return number.has_value();
}

int HxPortReal::parse(Tcl_Interp* interp, int argc, char** argv) {
  static constexpr HxWordCommand<HxPortReal> kCommands[] = {
      {{"getValue", "", 0, 0, "Returns the number."},
       [](HxPortReal& port, const HxWords& words) { return words.answer(port.text()); }},
      {{"setValue", "NUMBER", 1, 1, "Sets the number; inf and -inf are numbers, too."},
       [](HxPortReal& port, const HxWords& words) {
         return port.setState(words.text(0)) ? TCL_OK : words.refuse(words.text(0), "a number");
       }},
  };
  const auto code = runWordCommand(kCommands, "HxPortReal", *this, HxWords{interp, argc, argv});
  return code ? *code : HxPort::parse(interp, argc, argv);
}
