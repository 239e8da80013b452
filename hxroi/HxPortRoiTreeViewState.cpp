#include <cstdlib>

#include "hxroi/HxPortRoiTreeView.h"
#include "hxroi/internal/QxRoiTreeModel.h"
#include "hxroi/internal/RoiVisibilityState.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/script/HxCommands.h"

/// \file
/// What of a tree port is saved, and its script commands.

using hxroi::RoiVisibilityState;

namespace {

constexpr unsigned int kNameOrVisibility = 1024;

// Words too many are ignored.
constexpr HxCommandText kSetRoiVisible{
    "setRoiVisible", "NAME_OR_ID NUMBER", 2, -1,
    "Hides the ROI of that name or identifier for 0, shows it for any other number."};
constexpr HxCommandText kIsRoiVisible{"isRoiVisible", "NAME_OR_ID", 1, -1,
                                      "Returns 1 for a visible ROI, else 0. A mask in a hidden group is hidden."};

}  // namespace

void HxPortRoiTreeView::getState(QString& state) const {
  if (roiModule_ == SELECTOR_MODULE && model_) state = RoiVisibilityState::of(*model_);
}

bool HxPortRoiTreeView::setState(const QString& state) {
  const auto visibility = RoiVisibilityState::from(state);
  if (!visibility) return true;
  touch(kNameOrVisibility);
  if (model_) visibility->apply(*model_, [this](bool visible, const QString& word) { setRoiVisible(visible, word); });
  return true;
}

int HxPortRoiTreeView::parse(Tcl_Interp* interp, int argc, char** argv) {
  if (roiModule_ == SELECTOR_MODULE) {
    const QString word = argc > 1 ? QString::fromUtf8(argv[1]) : QString();
    if (model_) getCmdInfo().offer("NAME_OR_ID", model_->roiNames());
    if (cmdCheck(word, kSetRoiVisible, "HxPortRoiTreeView")) return parseSetRoiVisible(argc, argv);
    if (cmdCheck(word, kIsRoiVisible, "HxPortRoiTreeView")) return parseIsRoiVisible(interp, argc, argv);
  }
  return HxPort::parse(interp, argc, argv);
}

int HxPortRoiTreeView::parseSetRoiVisible(int argc, char** argv) {
  if (argc < 4) {
    HxMessage::printf("syntax: setRoiVisible <name_or_id> <new_visibility>");
    return TCL_ERROR;
  }
  setRoiVisible(std::strtol(argv[3], nullptr, 10) != 0, QString::fromLatin1(argv[2]));
  return TCL_OK;
}

int HxPortRoiTreeView::parseIsRoiVisible(Tcl_Interp* interp, int argc, char** argv) {
  if (argc < 3) {
    HxMessage::printf("syntax: isRoiVisible <name_or_id>");
    return TCL_ERROR;
  }
  Tcl_SetObjResult(interp, Tcl_NewStringObj(isRoiVisible(QString::fromLatin1(argv[2])) ? "1" : "0", 1));
  return TCL_OK;
}
