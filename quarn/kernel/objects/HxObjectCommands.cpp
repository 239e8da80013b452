#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/objects/HxObject.h"
#include "quarn/kernel/ports/HxConnection.h"
#include "quarn/kernel/script/HxWordCommands.h"

namespace {

int getResult(const HxObject& object, const HxWords& words) {
  bool isNumber = true;
  const int slot = words.count() > 0 ? words.text(0).toInt(&isNumber) : 0;
  if (!isNumber) return words.refuse(words.text(0), "the number of a slot");
  if (const HxData* result = object.resultObject(slot)) return words.append(result->getName());
  HxMessage::printf("\"%s\" has no result.", qUtf8Printable(object.describe()));
  return TCL_ERROR;
}

int appendPorts(const HxObject& object, const HxWords& words) {
  for (const HxPort* port : object.ports()) words.append(port->getName());
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

int evaluate(HxObject& object, const HxWords&) {
  object.fire(1);
  return TCL_OK;
}

constexpr HxWordCommand<HxObject> kCommands[] = {
    {{"fire", "", 0, 0, "Evaluates the object and all that depend on it."}, evaluate},
    {{"compute", "", 0, 0, "The same as fire."}, evaluate},
    {{"getResult", "?SLOT?", 0, 1,
      "Returns the name of a result of a module; its first slot is 0, which is meant without a number."},
     [](HxObject& object, const HxWords& words) { return getResult(object, words); }},
    {{"getLabel", "", 0, 0, "Returns the label, which windows and texts show."},
     [](HxObject& object, const HxWords& words) { return words.answer(object.getLabel()); }},
    {{"setLabel", "?LABEL?", 0, 1, "Gives the object another label; an empty one stands for its name."},
     [](HxObject& object, const HxWords& words) {
       object.setLabel(words.count() > 0 ? words.text(0) : QString());
       return TCL_OK;
     }},
    {{"getClass", "", 0, 0, "Returns the class of the object."},
     [](HxObject& object, const HxWords& words) {
       return words.answer(QString::fromStdString(object.getTypeId().getName()));
     }},
    {{"disconnectAll", "", 0, 0, "Takes all connections of its ports away."},
     [](HxObject& object, const HxWords&) {
       disconnectAll(object);
       return TCL_OK;
     }},
    {{"ports", "", 0, 0, "Returns the names of the ports."},
     [](HxObject& object, const HxWords& words) { return appendPorts(object, words); }},
};

constexpr HxCommandText kPort{"PORT", "COMMAND ?ARGUMENT...?", 0, -1,
                              "Runs a command of a port; \"PORT help\" lists them."};
constexpr HxCommandText kHelp{"help", "?COMMAND?", 0, 1,
                              "Lists the commands, or tells what one of them does and takes."};

/// Words that are commands are no ports.
void leadToPorts(const HxObject& object) {
  HxCmdInfo& info = getCmdInfo();
  for (const HxPort* port : object.ports())
    if (!info.find(port->getName())) info.lead({port->getName()});
}

}  // namespace

int HxObject::parse(Tcl_Interp* interp, int argc, char** argv) {
  const HxWords words{interp, argc, argv};
  if (const auto code = runWordCommand(kCommands, "HxObject", *this, words)) return *code;
  const QString word = words.command();
  if (HxPort* port = findPort(word)) return parsePort(*port, interp, argc, argv);
  cmdCheck(word, kPort, "HxObject");
  if (cmdCheck(word, kHelp, "HxObject") || word.isEmpty()) {
    leadToPorts(*this);
    const int form = word.isEmpty() ? HX_CMD_GO_ON : words.checkForm(kHelp);
    return form == HX_CMD_GO_ON ? cmdUsage(interp, argc, argv) : form;
  }

  HxMessage::printf("\"%s\" has neither a command nor a port \"%s\".", qUtf8Printable(describe()),
                    McException::excerpt(argv[1]).c_str());
  return TCL_ERROR;
}

int HxObject::parsePort(HxPort& port, Tcl_Interp* interp, int argc, char** argv) {
  // Help lists what the port knows, not the object.
  getCmdInfo().clear();
  return port.parse(interp, argc - 1, argv + 1);
}
