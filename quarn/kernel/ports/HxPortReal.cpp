#include "quarn/kernel/ports/HxPortReal.h"

#include <QLocale>
#include <cmath>
#include <optional>

#include "quarn/kernel/script/HxCommands.h"

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
  const QString word = argc > 1 ? QString::fromUtf8(argv[1]) : QString();
  if (cmdCheck(word, "getValue", "")) {
    if (const int go = cmdHelp(interp, argv[1], argc == 2, argc, argv); go != HX_CMD_GO_ON) return go;
    Tcl_VaAppendElement(interp, "%s", qUtf8Printable(text()));
    return TCL_OK;
  }
  if (cmdCheck(word, "setValue", "NUMBER")) {
    if (const int go = cmdHelp(interp, argv[1], argc == 3, argc, argv); go != HX_CMD_GO_ON) return go;
    const QString given = QString::fromUtf8(argv[2]);
    return setState(given) ? TCL_OK : cmdError(interp, HX_CMD_WRONG_VALUE, given);
  }
  return HxPort::parse(interp, argc, argv);
}
