#include "quarn/kernel/ports/HxPortInteger.h"

#include <algorithm>
#include <optional>

#include "quarn/kernel/script/HxWordCommands.h"

MC_ABSTRACT_CLASS_IMPL(HxPortInteger, HxPort)

namespace {

std::optional<std::int64_t> numberIn(const QString& text) {
  bool isNumber;
  const std::int64_t number = text.trimmed().toLongLong(&isNumber);
  return isNumber ? std::optional(number) : std::nullopt;
}

QString boundsText(std::int64_t minimum, std::int64_t maximum) {
  return QStringLiteral("a whole number from %1 to %2").arg(minimum).arg(maximum);
}

}  // namespace

HxPortInteger::HxPortInteger(HxObject* owner, const QString& name, const QString& label, std::int64_t minimum,
                             std::int64_t maximum)
    : HxPort(owner, name, label),
      minimum_(minimum),
      maximum_(maximum),
      value_(std::clamp<std::int64_t>(0, minimum, maximum)) {}

HxPortInteger::~HxPortInteger() = default;

void HxPortInteger::setValue(std::int64_t value) {
  value = std::clamp(value, minimum_, maximum_);
  if (value == value_) return;
  value_ = value;
  showValue();
  touch();
}

void HxPortInteger::getState(QString& state) const {
  state = QString::number(value_);
}

bool HxPortInteger::setState(const QString& state) {
  const std::optional<std::int64_t> number = numberIn(state);
  if (number) setValue(*number);
  return number.has_value();
}

int HxPortInteger::parse(Tcl_Interp* interp, int argc, char** argv) {
  static constexpr HxWordCommand<HxPortInteger> kCommands[] = {
      {{"getValue", "", 0, 0, "Returns the number."},
       [](HxPortInteger& port, const HxWords& words) { return words.answer(QString::number(port.value_)); }},
      {{"setValue", "NUMBER", 1, 1, "Sets the number; it must lie within the bounds."},
       [](HxPortInteger& port, const HxWords& words) {
         const std::optional<std::int64_t> number = numberIn(words.text(0));
         if (!number || *number < port.minimum_ || *number > port.maximum_)
           return words.refuse(words.text(0), boundsText(port.minimum_, port.maximum_));
         port.setValue(*number);
         return TCL_OK;
       }},
      {{"getMinMax", "", 0, 0, "Returns the bounds."},
       [](HxPortInteger& port, const HxWords& words) {
         return words.append({QString::number(port.minimum_), QString::number(port.maximum_)});
       }},
  };
  getCmdInfo().note("setValue", "NUMBER is " + boundsText(minimum_, maximum_));
  const auto code = runWordCommand(kCommands, "HxPortInteger", *this, HxWords{interp, argc, argv});
  return code ? *code : HxPort::parse(interp, argc, argv);
}
