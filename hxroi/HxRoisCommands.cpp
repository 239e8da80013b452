#include <string>
#include <string_view>
#include <tcl.h>

#include "hxroi/HxRois.h"
#include "hxroi/commands/SetCommand.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/Roi.h"
#include "quarn/kernel/script/HxCommands.h"

using hxroi::commands::SetCommand;
using hxroi::details::Group;
using hxroi::details::Mask;
using hxroi::details::Roi;

namespace {

/// One row of the table of commands.
struct Row {
  const char* name;
  int (*run)(const SetCommand&);
};

/// In the order in which they are asked, and in which help lists them.
constexpr Row kCommands[] = {
    {"getDimensions", &hxroi::commands::getDimensions},
    {"getMaskBoundingBox", &hxroi::commands::getMaskBoundingBox},
    {"allMasks", &hxroi::commands::allMasks},
    {"firstLevelRois", &hxroi::commands::firstLevelRois},
    {"invertMasks", &hxroi::commands::invertMasks},
    {"substractMasks", &hxroi::commands::substractMasks},
    {"mergeMasks", &hxroi::commands::mergeMasks},
    {"splitMask", &hxroi::commands::splitMask},
    {"removeRois", &hxroi::commands::removeRois},
    {"copyAndInsertMasksFrom", &hxroi::commands::copyAndInsertMasksFrom},
    {"createAndInsertRoiFrom", &hxroi::commands::createAndInsertRoiFrom},
    {"getId", &hxroi::commands::getId},
    {"clearGroups", &hxroi::commands::clearGroups},
    {"optimize", &hxroi::commands::optimize},
    {"createGroup", &hxroi::commands::createGroup},
    {"moveToGroup", &hxroi::commands::moveToGroup},
    {"renameRoi", &hxroi::commands::renameRoi},
};

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

}  // namespace

int HxRois::parse(Tcl_Interp* interp, int argc, char** argv) {
  if (argc > 1) {
    if (Roi* roi = claimant(*this, hxroi::commands::latin1(argv[1]))) return route(roi, interp, argc, argv);
  }
  // Without a word nothing runs, but help lists the commands.
  const char* word = argc > 1 ? argv[1] : "";
  const SetCommand call{*this, interp, argc, argv};
  for (const Row& command : kCommands) {
    if (CMD_(word, command.name, "")) return command.run(call);
  }
  if (word == kResourceParameters) return hxroi::commands::getLDAResourceParameters(call);
  return HxData::parse(interp, argc, argv);
}
