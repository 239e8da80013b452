#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/objects/HxObject.h"
#include "quarn/kernel/ports/HxConnection.h"
#include "quarn/kernel/script/HxCommands.h"
#include "quarn/kernel/script/detail/TclText.h"

namespace {

int appendResultName(const HxObject& object, Tcl_Interp* interp, int slot) {
  const HxData* result = object.resultObject(slot);
  if (!result) {
    HxMessage::printf("\"%s\" has no result.", qUtf8Printable(object.describe()));
    return TCL_ERROR;
  }
  Tcl_VaAppendElement(interp, "%s", qUtf8Printable(result->getName()));
  return TCL_OK;
}

int getResult(const HxObject& object, Tcl_Interp* interp, int argc, char** argv) {
  bool isNumber = true;
  const int slot = argc > 2 ? QString::fromUtf8(argv[2]).toInt(&isNumber) : 0;
  return isNumber ? appendResultName(object, interp, slot) : cmdError(interp, HX_CMD_WRONG_VALUE, "getResult");
}

int appendPorts(const HxObject& object, Tcl_Interp* interp) {
  for (const HxPort* port : object.ports()) Tcl_VaAppendElement(interp, "%s", qUtf8Printable(port->getName()));
  return TCL_OK;
}

/// All but the connection of a result to its module.
void disconnectAll(HxObject& object) {
  auto* data = dynamic_cast<HxData*>(&object);
  for (HxPort* port : object.ports()) {
    auto* connection = dynamic_cast<HxConnection*>(port);
    if (!connection || (data && connection == &data->baseConnection)) continue;
    if (connection->isEditingAllowed()) connection->disconnect();
  }
}

bool asksForHelp(const QString& word) {
  return word.isEmpty() || word == "help";
}

}  // namespace

int HxObject::parse(Tcl_Interp* interp, int argc, char** argv) {
  const QString word = argc > 1 ? QString::fromUtf8(argv[1]) : QString();
  const auto is = [&](const char* name, const char* synopsis) { return cmdCheck(word, name, synopsis) != 0; };
  const auto run = [&](int words, auto command) {
    const int form = cmdHelp(interp, argv[1], argc <= words, argc, argv);
    return form == HX_CMD_GO_ON ? command() : form;
  };
  const auto answer = [&](const QString& text) {
    Tcl_SetObjResult(interp, quarn::detail::newTclText(text));
    return TCL_OK;
  };
  const auto evaluate = [&] {
    fire(1);
    return TCL_OK;
  };

  if (is("fire", "")) return run(2, evaluate);
  if (is("compute", "")) return run(2, evaluate);
  if (is("getResult", "?SLOT?")) return run(3, [&] { return getResult(*this, interp, argc, argv); });
  if (is("getLabel", "")) return run(2, [&] { return answer(getLabel()); });
  if (is("setLabel", "?LABEL?")) {
    return run(3, [&] {
      setLabel(argc > 2 ? QString::fromUtf8(argv[2]) : QString());
      return TCL_OK;
    });
  }
  if (is("getClass", "")) return run(2, [&] { return answer(QString::fromStdString(getTypeId().getName())); });
  if (is("disconnectAll", "")) {
    return run(2, [&] {
      disconnectAll(*this);
      return TCL_OK;
    });
  }
  if (is("ports", "")) return run(2, [&] { return appendPorts(*this, interp); });
  if (HxPort* port = findPort(word)) return parsePort(*port, interp, argc, argv);
  cmdCheck(word, "PORT", "COMMAND ?ARGUMENT...?");
  if (asksForHelp(word)) return cmdUsage(interp, argc, argv);

  HxMessage::printf("\"%s\" has neither a command nor a port \"%s\".", qUtf8Printable(describe()),
                    McException::excerpt(argv[1]).c_str());
  return TCL_ERROR;
}

int HxObject::parsePort(HxPort& port, Tcl_Interp* interp, int argc, char** argv) {
  // Help lists what the port knows, not the object.
  getCmdInfo().clear();
  return port.parse(interp, argc - 1, argv + 1);
}
