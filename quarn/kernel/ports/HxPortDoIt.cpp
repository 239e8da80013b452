#include "quarn/kernel/ports/HxPortDoIt.h"

#include <algorithm>

#include "quarn/kernel/script/HxWordCommands.h"

MC_ABSTRACT_CLASS_IMPL(HxPortDoIt, HxPort)

namespace {

QString choicesOf(int buttons) {
  return buttons > 1 ? QStringLiteral("a number from 0 to %1").arg(buttons - 1) : QStringLiteral("0");
}

}  // namespace

HxPortDoIt::HxPortDoIt(HxObject* owner, const QString& name, const QString& label, int buttons)
    : HxPort(owner, name, label), buttons_(std::clamp(buttons, 1, 32)) {}

HxPortDoIt::~HxPortDoIt() = default;

void HxPortDoIt::hit(int button) {
  if (button < 0 || button >= buttons_) return;
  hits_.raise(1u << button);
  touch();
}

bool HxPortDoIt::wasHit(int button) const {
  return button >= 0 && button < buttons_ && hits_.has(1u << button);
}

int HxPortDoIt::parse(Tcl_Interp* interp, int argc, char** argv) {
  static constexpr HxWordCommand<HxPortDoIt> kCommands[] = {
      {{"hit", "?BUTTON?", 0, 1, "Presses a button, the first one unless its number is given; fire does the work."},
       [](HxPortDoIt& port, const HxWords& words) {
         bool isNumber = true;
         const int button = words.count() > 0 ? words.text(0).toInt(&isNumber) : 0;
         if (!isNumber || button < 0 || button >= port.buttons_)
           return words.refuse(words.text(0), choicesOf(port.buttons_));
         port.hit(button);
         return TCL_OK;
       }},
  };
  getCmdInfo().note("hit", "BUTTON is " + choicesOf(buttons_));
  const auto code = runWordCommand(kCommands, "HxPortDoIt", *this, HxWords{interp, argc, argv});
  return code ? *code : HxPort::parse(interp, argc, argv);
}

void HxPortDoIt::settleMarks() {
  HxPort::settleMarks();
  hits_.settle();
}

void HxPortDoIt::clearMarks() {
  HxPort::clearMarks();
  hits_.clearSettled();
}
