#include "quarn/kernel/ports/HxPort.h"

#include <algorithm>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/objects/HxObject.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/ports/detail/PortListWatch.h"
#include "quarn/kernel/script/HxWordCommands.h"

MC_ROOT_CLASS_IMPL(HxPort)

HxPort::HxPort(HxObject* owner, const QString& name, const QString& label)
    : owner_(owner), name_(name), label_(label), newFlags_(0xFFFFFFFFu) {
  owner_->ports_.push_back(this);
  quarn::detail::PortListWatch::tell(owner_);
}

HxPort::~HxPort() {
  HxObjectPool& pool = HxObjectPool::instance();
  if (pool.selectedPort_ == this) pool.selectedPort_ = nullptr;
  if (owner_) std::erase(owner_->ports_, this);
  *alive_ = false;
  dropWidget();
  quarn::detail::PortListWatch::tell(owner_);
}

void HxPort::getState(QString&) const {}

bool HxPort::setState(const QString&) {
  return false;
}

void HxPort::send() {
  if (owner_) owner_->fire(1);
}

int HxPort::parse(Tcl_Interp* interp, int argc, char** argv) {
  static constexpr HxWordCommand<HxPort> kCommands[] = {
      {{"getState", "", 0, 0, "Returns the state as setState takes it; empty for a port without one."},
       [](HxPort& port, const HxWords& words) {
         QString state;
         port.getState(state);
         return words.answer(state);
       }},
      {{"setState", "TEXT", 1, 1, "Takes a state as getState returns it."},
       [](HxPort& port, const HxWords& words) { return port.parseSetState(words.text(0)); }},
      {{"touch", "", 0, 0, "Marks the port as changed."},
       [](HxPort& port, const HxWords&) {
         port.touch();
         return TCL_OK;
       }},
      {{"send", "", 0, 0, "Evaluates the object of the port, as a change by hand does."},
       [](HxPort& port, const HxWords&) {
         port.send();
         return TCL_OK;
       }},
      {{"getLabel", "", 0, 0, "Returns what stands beside the port in a window."},
       [](HxPort& port, const HxWords& words) { return words.answer(port.label_); }},
      {{"show", "", 0, 0, "Shows the port in a window."},
       [](HxPort& port, const HxWords&) {
         port.show();
         return TCL_OK;
       }},
      {{"hide", "", 0, 0, "Hides the port in a window."},
       [](HxPort& port, const HxWords&) {
         port.hide();
         return TCL_OK;
       }},
      {{"isVisible", "", 0, 0, "Returns 1 for a port that is not hidden, else 0."},
       [](HxPort& port, const HxWords& words) { return words.answer(port.visible_ ? "1" : "0"); }},
      {{"help", "?COMMAND?", 0, 1, "Lists the commands, or tells what one of them does and takes."},
       [](HxPort&, const HxWords& words) { return cmdUsage(words.interp, words.argc, words.argv); }},
  };
  const HxWords words{interp, argc, argv};
  if (const auto code = runWordCommand(kCommands, "HxPort", *this, words)) return *code;
  if (words.command().isEmpty()) return cmdUsage(interp, 1, argv);

  const QString owner = owner_ ? owner_->describe() : QString();
  HxMessage::printf("Port \"%s\" of \"%s\" has no command \"%s\".", qUtf8Printable(name_), qUtf8Printable(owner),
                    McException::excerpt(argv[1]).c_str());
  return TCL_ERROR;
}

int HxPort::parseSetState(const QString& state) {
  if (setState(state)) return TCL_OK;
  const QString owner = owner_ ? owner_->describe() : QString();
  HxMessage::printf("Port \"%s\" of \"%s\" cannot take the state \"%s\".", qUtf8Printable(name_), qUtf8Printable(owner),
                    McException::excerpt(state.toStdString()).c_str());
  return TCL_ERROR;
}
