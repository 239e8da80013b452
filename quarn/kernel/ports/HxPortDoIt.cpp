#include "quarn/kernel/ports/HxPortDoIt.h"

#include <algorithm>

#include "quarn/kernel/script/HxCommands.h"

MC_ABSTRACT_CLASS_IMPL(HxPortDoIt, HxPort)

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
  const QString word = argc > 1 ? QString::fromUtf8(argv[1]) : QString();
  if (!cmdCheck(word, "hit", buttons_ > 1 ? "?BUTTON?" : "")) return HxPort::parse(interp, argc, argv);
  const int form = cmdHelp(interp, argv[1], argc <= 3, argc, argv);
  if (form != HX_CMD_GO_ON) return form;

  bool isNumber = true;
  const int button = argc == 3 ? QString::fromUtf8(argv[2]).toInt(&isNumber) : 0;
  if (!isNumber || button < 0 || button >= buttons_) return cmdError(interp, HX_CMD_WRONG_VALUE, word);
  hit(button);
  return TCL_OK;
}

void HxPortDoIt::settleMarks() {
  HxPort::settleMarks();
  hits_.settle();
}

void HxPortDoIt::clearMarks() {
  HxPort::clearMarks();
  hits_.clearSettled();
}
