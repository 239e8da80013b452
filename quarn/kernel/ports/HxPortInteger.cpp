#include "quarn/kernel/ports/HxPortInteger.h"

#include <algorithm>
#include <optional>

#include "quarn/kernel/script/HxCommands.h"

MC_ABSTRACT_CLASS_IMPL(HxPortInteger, HxPort)

namespace {

std::optional<std::int64_t> numberIn(const QString& text) {
  bool isNumber;
  const std::int64_t number = text.trimmed().toLongLong(&isNumber);
  return isNumber ? std::optional(number) : std::nullopt;
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
  const QString word = argc > 1 ? QString::fromUtf8(argv[1]) : QString();
  const auto form = [&](bool wellFormed) { return cmdHelp(interp, argv[1], wellFormed, argc, argv); };

  if (cmdCheck(word, "getValue", "")) {
    if (const int go = form(argc == 2); go != HX_CMD_GO_ON) return go;
    Tcl_VaAppendElement(interp, "%lld", static_cast<long long>(value_));
    return TCL_OK;
  }
  if (cmdCheck(word, "setValue", "NUMBER")) {
    if (const int go = form(argc == 3); go != HX_CMD_GO_ON) return go;
    const std::optional<std::int64_t> number = numberIn(QString::fromUtf8(argv[2]));
    if (!number || *number < minimum_ || *number > maximum_)
      return cmdError(interp, HX_CMD_WRONG_VALUE, QString::fromUtf8(argv[2]));
    setValue(*number);
    return TCL_OK;
  }
  if (cmdCheck(word, "getMinMax", "")) {
    if (const int go = form(argc == 2); go != HX_CMD_GO_ON) return go;
    for (const std::int64_t bound : {minimum_, maximum_})
      Tcl_VaAppendElement(interp, "%lld", static_cast<long long>(bound));
    return TCL_OK;
  }
  return HxPort::parse(interp, argc, argv);
}
