#include <algorithm>
#include <array>

#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/script/HxCommands.h"

int HxData::parse(Tcl_Interp* interp, int argc, char** argv) {
  const QString word = argc > 1 ? QString::fromUtf8(argv[1]) : QString();
  const auto run = [&](bool wellFormed, auto command) {
    const int form = cmdHelp(interp, argv[1], wellFormed, argc, argv);
    return form == HX_CMD_GO_ON ? command() : form;
  };

  if (cmdCheck(word, "parameters", "COMMAND ?ARGUMENT...?")) return parseParameters(interp, argc - 1, argv + 1);
  if (cmdCheck(word, "save", "?FORMAT? FILE")) {
    return run(argc == 3 || argc == 4, [&] { return parseSave(argc, argv); });
  }
  if (cmdCheck(word, "formats", "")) return run(argc == 2, [&] { return parseFormats(interp); });
  return HxObject::parse(interp, argc, argv);
}

int HxData::parseParameters(Tcl_Interp* interp, int argc, char** argv) {
  // Help lists what bundles know, not the object.
  getCmdInfo().clear();
  const int result = parameters.parse(interp, argc, argv);
  static constexpr std::array kChanging = {"set", "setText", "remove"};
  const QString word = argc > 1 ? QString::fromUtf8(argv[1]) : QString();
  const bool changes = std::find(kChanging.begin(), kChanging.end(), word) != kChanging.end();
  if (result == TCL_OK && changes) {
    setModified(0xFFFFFFFFu);
    sinceMade_ = 0xFFFFFFFFu;
    // What was made from the object may be another thing now.
    HxData::touch(0);
  }
  return result;
}

int HxData::parseSave(int argc, char** argv) {
  const QString format = argc == 4 ? QString::fromUtf8(argv[2]) : QString();
  HxFileTypes::instance().save(this, format, QString::fromUtf8(argv[argc - 1]));
  return TCL_OK;
}

int HxData::parseFormats(Tcl_Interp* interp) {
  for (const HxSaverEntry& saver : HxFileTypes::instance().saversFor(*this)) {
    Tcl_VaAppendElement(interp, "%s", qUtf8Printable(saver.format));
  }
  return TCL_OK;
}
