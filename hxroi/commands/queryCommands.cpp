#include <QCoreApplication>
#include <sstream>
#include <string>

#include "hxroi/HxRois.h"
#include "hxroi/commands/SetCommand.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McBox3f.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/script/HxCommands.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "quarn/voxora/utilities/utilities.h"

/// Commands that change nothing.
namespace hxroi::commands {

using details::Mask;
using details::Roi;

namespace {

/// The box of the set; one that lies nowhere is told.
McBox3f boxOfSet(HxRois& rois) {
  McBox3f box;
  rois.getBoundingBox(box.data());
  if (!box.isEmpty()) return box;
  console().printf("%s lies nowhere in the world: no field is connected to its \"data\"; the numbers mean nothing",
                   qUtf8Printable(rois.getLabel()));
  return box;
}

/// The mask that the one word names; null after a word about it.
const Mask* askedMask(const SetCommand& call) {
  if (call.argc != 3) {
    console().printf("syntax: %s <mask>", call.argv[1]);
    return nullptr;
  }
  const Mask* const mask = call.rois.getMask(call.name(2));
  if (!mask) console().printf("no such mask %s", call.shown(2).c_str());
  return mask;
}

}  // namespace

int getDimensions(const SetCommand& call) {
  if (call.rois.getNumberOfMasks() == 0) return refused("Can not query roi dimension with no masks inserted.");
  const McVec3i& dimensions = call.rois.dimensions();
  for (int axis = 0; axis < 3; ++axis) Tcl_VaAppendElement(call.interp, "%i", dimensions[axis]);
  return TCL_OK;
}

int getMaskBoundingBox(const SetCommand& call) {
  const int form = call.checkForm(call.argc == 3);
  if (form != HX_CMD_GO_ON) return form;
  const Mask* mask = call.rois.getMask(call.name(2));
  if (!mask) {
    console().printf("no such mask %s", call.shown(2).c_str());
    return TCL_ERROR;
  }
  const McBox3f box = mask->getBoundingBox(boxOfSet(call.rois));
  for (int i = 0; i < 6; ++i) Tcl_VaAppendElement(call.interp, "%f", static_cast<double>(box[i]));
  return TCL_OK;
}

int getMaskVoxelCount(const SetCommand& call) {
  const Mask* const mask = askedMask(call);
  if (!mask) return TCL_ERROR;
  const McVec3i& n = mask->dimensions();
  const SbBox3i32 whole(SbVec3i32(0, 0, 0), SbVec3i32(n.x - 1, n.y - 1, n.z - 1));
  Tcl_VaAppendElement(call.interp, "%s", std::to_string(mask->volumeMask()->countSetVoxels(whole)).c_str());
  return TCL_OK;
}

int getMaskVoxelBox(const SetCommand& call) {
  const Mask* const mask = askedMask(call);
  if (!mask) return TCL_ERROR;
  const McBox3i box = mask->getBoundingBox();
  for (int bound = 0; bound < 6 && !box.isEmpty(); ++bound) Tcl_VaAppendElement(call.interp, "%i", box[bound]);
  return TCL_OK;
}

int allMasks(const SetCommand& call) {
  for (const Mask* mask : call.rois.masks()) Tcl_VaAppendElement(call.interp, "%s", utf8(mask->name()).c_str());
  return TCL_OK;
}

int firstLevelRois(const SetCommand& call) {
  for (const auto& roi : call.rois) Tcl_VaAppendElement(call.interp, "%s", utf8(roi->name()).c_str());
  return TCL_OK;
}

int getId(const SetCommand& call) {
  if (call.argc < 3) return refused("syntax: getId <roiName>");
  const Roi* roi = call.rois.getRoi(call.name(2));
  if (!roi) {
    console().printf("Roi %s doesn't exist", call.shown(2).c_str());
    return TCL_ERROR;
  }
  Tcl_VaAppendElement(call.interp, "%s", utf8(roi->id()).c_str());
  return TCL_OK;
}

int getLDAResourceParameters(const SetCommand& call) {
  const QString title = QCoreApplication::translate("HxRois", "----LDA resource parameters for ROI");
  for (const Mask* mask : call.rois.masks()) {
    console().printf("%s %s%s", qPrintable(title), utf8(mask->name()).c_str(), "----");
    std::ostringstream parameters;
    hxvoxora::utilities::outputLDMResourceParameters(mask->volumeMask(), parameters);
    console().printf("%s", parameters.str().c_str());
  }
  return TCL_OK;
}

}  // namespace hxroi::commands
