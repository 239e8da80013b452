#include <QString>

#include "hxroi/HxRois.h"
#include "hxroi/commands/SetCommand.h"
#include "hxroi/details/Roi.h"
#include "quarn/base/McException.h"
#include "quarn/base/mcinterface_cast.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/objects/HxBasePool.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/script/HxCommands.h"

/// Commands that bring masks in from other objects.
namespace hxroi::commands {

using details::Roi;

namespace {

/// The data object of that name; null after a word about it.
HxData* findData(const char* name) {
  auto* const data = dynamic_cast<HxData*>(HxBasePool::getTheBasePool()->find(name));
  if (!data) refused("No such object");
  return data;
}

/// Masks whose names are taken stay behind.
void copyAll(HxRois& rois, HxRois& source) {
  const std::size_t wanted = source.getNumberOfMasks(), before = rois.getNumberOfMasks();
  rois.copyAllMasksFrom(&source);
  const std::size_t left = wanted - (rois.getNumberOfMasks() - before);
  if (left > 0) console().printf("%zu masks were not copied: their names are taken.", left);
}

void copyFrom(const SetCommand& call, HxRois& source) {
  if (call.argc == 3) return copyAll(call.rois, source);
  if (const Roi* const roi = source.getRoi(call.name(3))) {
    call.rois.copyAllMasksFrom(roi, source.parameters.getMaterials(0));
  } else {
    console().printf("Roi %s does not exist", call.shown(3).c_str());
  }
}

}  // namespace

/// A ROI that is not there is told, but is no failure.
int copyAndInsertMasksFrom(const SetCommand& call) {
  const int form = call.checkForm(call.argc <= 4);
  if (form != HX_CMD_GO_ON) return form;
  if (call.argc < 3) {
    console().printf("usage: insertRoiFrom hxRoisName [roiName]\n");
    call.rois.fire(1);
    return TCL_OK;
  }
  HxData* const data = findData(call.argv[2]);
  if (!data) return TCL_ERROR;
  auto* const source = mcinterface_cast<HxRois>(data);
  if (!source) return refused("Is not a HxRois");
  try {
    copyFrom(call, *source);
  } catch (const McException& refusal) {
    return refused(refusal);
  }
  call.rois.fire(1);
  return TCL_OK;
}

int createAndInsertRoiFrom(const SetCommand& call) {
  if (call.argc != 3) {
    console().printf("%s", "syntax: createAndInsertRoiFrom <binaryLabelFieldName>");
    return cmdError(call.interp, HX_CMD_WRONG_COUNT, QString::fromUtf8(call.argv[1]));
  }
  HxData* const data = findData(call.argv[2]);
  if (!data) return TCL_ERROR;
  auto* const field = mcinterface_cast<HxUniformLabelField3>(data);
  if (!field) return refused("Is not a HxUniformLabelField3");
  try {
    call.rois.createAndInsertRoiFromBinaryLabelField(field);
  } catch (const McException& refusal) {
    return refused(refusal);
  }
  call.rois.fire(1);
  return TCL_OK;
}

}  // namespace hxroi::commands
