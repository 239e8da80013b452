#include <QCoreApplication>
#include <QString>
#include <cstddef>
#include <optional>
#include <utility>

#include "hxroi/HxRois.h"
#include "hxroi/commands/SetCommand.h"
#include "hxroi/detail/SetPlace.h"
#include "hxroi/detail/placedGrids.h"
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

/// Where masks come from and go to while they are copied, as long as that is known. A set that has no place of its own
/// takes that of the first masks that come into it; others keep theirs, and the user is told when it is another one.
class CopiedPlace {
public:
  CopiedPlace(HxRois& rois, std::optional<PlacedGrid> source)
      : rois_(rois),
        source_(std::move(source)),
        wasEmpty_(rois.masks().empty()),
        masksBefore_(rois.getNumberOfMasks()) {}

  void tell() {
    if (!source_ || rois_.getNumberOfMasks() == masksBefore_) return;
    if (wasEmpty_ && !placedGrid(rois_)) return storePlace(source_->geometry, source_->dimensions, rois_.parameters);
    warnOfPlaces(placedGrid(rois_), source_, tr("the voxels were copied by their indices."));
  }

private:
  static QString tr(const char* text) { return QCoreApplication::translate("HxRois", text); }

  HxRois& rois_;
  std::optional<PlacedGrid> source_;
  bool wasEmpty_;
  std::size_t masksBefore_;
};

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
  CopiedPlace place(call.rois, placedGrid(*source));
  try {
    copyFrom(call, *source);
    place.tell();
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
  CopiedPlace place(call.rois, placedGrid(field));
  try {
    call.rois.createAndInsertRoiFromBinaryLabelField(field);
    place.tell();
  } catch (const McException& refusal) {
    return refused(refusal);
  }
  call.rois.fire(1);
  return TCL_OK;
}

}  // namespace hxroi::commands
