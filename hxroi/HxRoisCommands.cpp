#include <QCoreApplication>
#include <QString>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>
#include <tcl.h>
#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/detail/RemovedRois.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/Roi.h"
#include "quarn/base/McBox3f.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/script/HxCommands.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "quarn/voxora/utilities/utilities.h"

using hxroi::details::Group;
using hxroi::details::Mask;
using hxroi::details::Roi;

namespace {

/// Scripts speak UTF-8, the names of ROIs are Latin-1.
std::string latin1(const char* text) {
  return QString::fromUtf8(text).toLatin1().toStdString();
}

std::string utf8(const std::string& text) {
  return QString::fromLatin1(text).toStdString();
}

/// One call of a command: argv[0] names the set, argv[1] is the command.
struct Call {
  HxRois& rois;
  Tcl_Interp* interp;
  int argc;
  char** argv;

  /// A word, or all from one on, as names of ROIs.
  std::string name(int index) const { return latin1(argv[index]); }
  std::vector<std::string> namesFrom(int index) const {
    std::vector<std::string> names;
    for (; index < argc; ++index) names.push_back(name(index));
    return names;
  }
};

/// One row of the table of commands.
struct Command {
  const char* name;
  int (*run)(const Call&);
};

HxMessage& console() {
  return *HxApplication::instance()->message();
}

int CMD_(const char* word, const QString& name, const QString& synopsis) {
  return cmdCheck(QString::fromUtf8(word), name, synopsis);
}

int refused(const McException& refusal) {
  console().printf("%s", refusal.what());
  return TCL_ERROR;
}

int getDimensions(const Call& call) {
  if (call.rois.getNumberOfMasks() == 0) {
    console().printf("Can not query roi dimension with no masks inserted.");
    return TCL_ERROR;
  }
  const McVec3i& dimensions = call.rois.dimensions();
  for (int axis = 0; axis < 3; ++axis) Tcl_VaAppendElement(call.interp, "%i", dimensions[axis]);
  return TCL_OK;
}

int getMaskBoundingBox(const Call& call) {
  const int form = cmdHelp(call.interp, call.argv[1], call.argc == 3, call.argc, call.argv);
  if (form != HX_CMD_GO_ON) return form;
  const Mask* mask = call.rois.getMask(call.name(2));
  if (!mask) {
    console().printf("no such mask %s", call.argv[2]);
    return TCL_ERROR;
  }
  McBox3f dataBox;
  call.rois.getBoundingBox(dataBox.data());
  const McBox3f box = mask->getBoundingBox(dataBox);
  for (int i = 0; i < 6; ++i) Tcl_VaAppendElement(call.interp, "%f", static_cast<double>(box[i]));
  return TCL_OK;
}

int allMasks(const Call& call) {
  for (const Mask* mask : call.rois.masks()) Tcl_VaAppendElement(call.interp, "%s", utf8(mask->name()).c_str());
  return TCL_OK;
}

int firstLevelRois(const Call& call) {
  for (const auto& roi : call.rois) Tcl_VaAppendElement(call.interp, "%s", utf8(roi->name()).c_str());
  return TCL_OK;
}

using Combination = Mask* (HxRois::*)(const std::string&, const std::vector<std::string>&) const;

int insertCombination(const Call& call, Combination combine, const char* syntax) {
  if (call.argc < 4) {
    console().printf("%s", syntax);
    return TCL_ERROR;
  }
  try {
    const McHandle<Mask> result((call.rois.*combine)(call.name(2), call.namesFrom(3)));
    call.rois.addRoi(result);
  } catch (const McException& refusal) {
    return refused(refusal);
  }
  return TCL_OK;
}

int substractMasks(const Call& call) {
  const int code = insertCombination(call, &HxRois::substractMasks, "syntax: substractMasks <fromMask> <masks...>");
  if (code == TCL_OK) call.rois.rebuildPortList();
  return code;
}

int mergeMasks(const Call& call) {
  const int code = insertCombination(call, &HxRois::mergeMasks, "syntax: mergeMasks <toMask> <masks...>");
  if (code == TCL_OK) call.rois.rebuildPortList();
  return code;
}

/// The mask stays. A piece that the set refuses ends the command, as any failure does for the interpreter; those before
/// it stay in the set.
int splitMask(const Call& call) {
  const int form = cmdHelp(call.interp, call.argv[1], call.argc == 3, call.argc, call.argv);
  if (form != HX_CMD_GO_ON) return form;
  std::vector<McHandle<Mask>> pieces;
  try {
    call.rois.splitMask(call.name(2), std::back_inserter(pieces), HxApplication::progress());
  } catch (const McException& refusal) {
    return refused(refusal);
  }
  for (const McHandle<Mask>& piece : pieces) {
    piece->setName(call.rois.getUniqueName(piece->name()));
    call.rois.addRoi(piece);
  }
  call.rois.rebuildPortList();
  return TCL_OK;
}

/// All or nothing, without a text of its own; what was removed comes back at the end of the list, in its colours.
int removeRois(const Call& call) {
  if (call.argc < 3) {
    console().printf("syntax: removeRois <roiName...>");
    return TCL_ERROR;
  }
  hxroi::RemovedRois removed(call.rois);
  try {
    for (const std::string& name : call.namesFrom(2)) removed.remove(name);
  } catch (const McException&) {
    removed.putBack();
    return TCL_ERROR;
  }
  call.rois.rebuildPortList();
  return TCL_OK;
}

int getId(const Call& call) {
  if (call.argc < 3) {
    console().printf("syntax: getId <roiName>");
    return TCL_ERROR;
  }
  const Roi* roi = call.rois.getRoi(call.name(2));
  if (!roi) {
    console().printf("Roi %s doesn't exist", call.argv[2]);
    return TCL_ERROR;
  }
  Tcl_VaAppendElement(call.interp, "%s", utf8(roi->id()).c_str());
  return TCL_OK;
}

/// Not among the commands that help lists.
constexpr std::string_view kResourceParameters = "getLDAResourceParameters";

int getLDAResourceParameters(const Call& call) {
  const QString title = QCoreApplication::translate("HxRois", "----LDA resource parameters for ROI");
  for (const Mask* mask : call.rois.masks()) {
    console().printf("%s %s%s", qPrintable(title), utf8(mask->name()).c_str(), "----");
    std::ostringstream parameters;
    hxvoxora::utilities::outputLDMResourceParameters(mask->volumeMask(), parameters);
    console().printf("%s", parameters.str().c_str());
  }
  return TCL_OK;
}

constexpr Command kCommands[] = {
    {"getDimensions", &getDimensions},
    {"getMaskBoundingBox", &getMaskBoundingBox},
    {"allMasks", &allMasks},
    {"firstLevelRois", &firstLevelRois},
    {"substractMasks", &substractMasks},
    {"mergeMasks", &mergeMasks},
    {"splitMask", &splitMask},
    {"removeRois", &removeRois},
    {"getId", &getId},
};

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
    if (Roi* roi = claimant(*this, latin1(argv[1]))) return route(roi, interp, argc, argv);
  }
  // Without a word nothing runs, but help lists the commands.
  const char* word = argc > 1 ? argv[1] : "";
  const Call call{*this, interp, argc, argv};
  for (const Command& command : kCommands) {
    if (CMD_(word, command.name, "")) return command.run(call);
  }
  if (word == kResourceParameters) return getLDAResourceParameters(call);
  return HxData::parse(interp, argc, argv);
}
