#include <algorithm>
#include <array>

#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/script/HxWordCommands.h"

namespace {

constexpr HxCommandText kParameters{"parameters", "COMMAND ?ARGUMENT...?", 0, -1,
                                    "Runs a command of the parameters; \"parameters help\" lists them."};

}  // namespace

int HxData::parse(Tcl_Interp* interp, int argc, char** argv) {
  static constexpr HxWordCommand<HxData> kCommands[] = {
      {{"save", "?FORMAT? FILE", 1, 2, "Saves the object; the first of its formats unless one is given."},
       [](HxData& data, const HxWords& words) { return data.parseSave(words.argc, words.argv); }},
      {{"formats", "", 0, 0, "Returns the formats in which the object can be saved."},
       [](HxData& data, const HxWords& words) { return data.parseFormats(words.interp); }},
  };
  const HxWords words{interp, argc, argv};
  const bool isParameters = cmdCheck(words.command(), kParameters, "HxData");
  if (isParameters) return parseParameters(interp, argc - 1, argv + 1);
  getCmdInfo().lead({kParameters.name});
  if (const auto code = runWordCommand(kCommands, "HxData", *this, words)) return *code;
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
