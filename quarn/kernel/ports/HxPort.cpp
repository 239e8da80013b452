#include "quarn/kernel/ports/HxPort.h"

#include <algorithm>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/objects/HxObject.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/ports/detail/PortListWatch.h"
#include "quarn/kernel/script/HxCommands.h"
#include "quarn/kernel/script/detail/TclText.h"

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
  const QString word = argc > 1 ? QString::fromUtf8(argv[1]) : QString();
  const auto is = [&](const char* name) { return cmdCheck(word, name, "") != 0; };
  const auto run = [&](auto command) {
    const int form = cmdHelp(interp, argv[1], argc == 2, argc, argv);
    if (form == HX_CMD_GO_ON) command();
    return form == HX_CMD_GO_ON ? TCL_OK : form;
  };

  if (is("getState")) {
    return run([&] {
      QString state;
      getState(state);
      Tcl_SetObjResult(interp, quarn::detail::newTclText(state));
    });
  }
  if (cmdCheck(word, "setState", "TEXT")) {
    const int form = cmdHelp(interp, argv[1], argc == 3, argc, argv);
    return form == HX_CMD_GO_ON ? parseSetState(QString::fromUtf8(argv[2])) : form;
  }
  if (is("touch")) return run([&] { touch(); });
  if (is("send")) return run([&] { send(); });
  if (is("getLabel")) return run([&] { Tcl_SetObjResult(interp, quarn::detail::newTclText(label_)); });
  if (is("show")) return run([&] { show(); });
  if (is("hide")) return run([&] { hide(); });
  if (is("isVisible")) return run([&] { Tcl_VaAppendElement(interp, "%d", visible_ ? 1 : 0); });
  if (word.isEmpty() || word == "help") return cmdUsage(interp, argc, argv);

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
