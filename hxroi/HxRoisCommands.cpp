#include <QCoreApplication>
#include <optional>
#include <string>
#include <string_view>
#include <tcl.h>

#include "hxroi/HxRois.h"
#include "hxroi/commands/SetCommand.h"
#include "hxroi/commands/setCommands.h"
#include "hxroi/detail/placedGrids.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/Roi.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/objects/hxconnection_cast.h"
#include "quarn/kernel/script/HxCommands.h"

using hxroi::commands::SetCommand;
using hxroi::details::Group;
using hxroi::details::Mask;
using hxroi::details::Roi;

namespace {

using hxroi::commands::kSetCommands;
using hxroi::commands::SetCommandRow;

/// Not among the commands that help lists.
constexpr std::string_view kResourceParameters = "getLDAResourceParameters";

int CMD_(const char* word, const QString& name, const QString& synopsis) {
  return cmdCheck(QString::fromUtf8(word), name, synopsis);
}

/// The ROI whose name is `word`: each top-level one in order, a group before its members.
Roi* claimant(const HxRois& rois, const std::string& word) {
  for (const auto& roi : rois) {
    if (roi->name() == word) return roi;
    auto* group = dynamic_cast<Group*>(roi.get());
    if (!group) continue;
    for (Mask& member : *group) {
      if (member.name() == word) return &member;
    }
  }
  return nullptr;
}

/// The ROI sees its own name in the place of the object's; without a further word it is asked for help.
int route(Roi* roi, Tcl_Interp* interp, int argc, char** argv) {
  const McHandle<Roi> alive(roi);
  getCmdInfo().clear();
  if (argc > 2) return roi->parse(interp, argc - 1, argv + 1);
  std::string help = "help";
  char* words[] = {argv[0], help.data(), nullptr};
  return roi->parse(interp, 2, words);
}

/// Another field at "data" may take the masks to another place.
void tellOfMove(const HxRois& rois, std::optional<hxroi::PlacedGrid> former) {
  if (!former) return;
  former->label = QCoreApplication::translate("HxRois", "%1 so far").arg(former->label);
  hxroi::warnOfPlaces(former, hxroi::placedGrid(hxconnection_cast<HxUniformScalarField3>(rois.portData)),
                      QCoreApplication::translate("HxRois", "the masks move with their voxels."));
}

}  // namespace

int HxRois::parse(Tcl_Interp* interp, int argc, char** argv) {
  if (argc > 1) {
    if (Roi* roi = claimant(*this, hxroi::commands::latin1(argv[1]))) return route(roi, interp, argc, argv);
  }
  if (argc < 2) hxroi::commands::offerNames(*this);
  // Without a word nothing runs, but help lists the commands.
  const char* word = argc > 1 ? argv[1] : "";
  const SetCommand call{*this, interp, argc, argv};
  for (const SetCommandRow& row : kSetCommands) {
    const bool isIt = CMD_(word, row.text.name, "");
    getCmdInfo().describe(row.text, "HxRois");
    if (isIt) return row.run(call);
  }
  if (word == kResourceParameters) return hxroi::commands::getLDAResourceParameters(call);
  if (word != portData.getName()) return HxData::parse(interp, argc, argv);
  const auto former = hxroi::placedGrid(*this);
  const int code = HxData::parse(interp, argc, argv);
  tellOfMove(*this, former);
  return code;
}
