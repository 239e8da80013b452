#include "roitools/saveResult.h"

#include <QCoreApplication>

#include "quarn/kernel/HxException.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/objects/HxCompModule.h"
#include "quarn/kernel/script/HxWordCommands.h"

namespace roitools {

std::optional<int> parseSaveResult(const HxCompModule& module, Tcl_Interp* interp, int argc, char** argv) {
  static constexpr HxCommandText kSave{"save", "?CSV? FILE", 1, 2, "Saves the table that is the result."};
  const HxWords words{interp, argc, argv};
  if (!cmdCheck(words.command(), kSave, "result tables")) return std::nullopt;
  if (const int go = words.checkForm(kSave); go != HX_CMD_GO_ON) return go;
  HxData* result = module.resultObject(0);
  if (!result) {
    const QString text =
        QCoreApplication::translate("HxRoiStatistics", "%1 has no result to save yet: hit \"doIt\" and fire it first.");
    throw hxException(text.arg(module.getLabel()));
  }
  HxFileTypes::instance().save(result, argc == 4 ? QString::fromUtf8(argv[2]) : QString(),
                               QString::fromUtf8(argv[argc - 1]));
  return TCL_OK;
}

}  // namespace roitools
