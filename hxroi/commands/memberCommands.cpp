#include <QCoreApplication>
#include <map>
#include <utility>

#include "hxroi/HxRois.h"
#include "hxroi/commands/SetCommand.h"
#include "hxroi/detail/MovedMasks.h"
#include "hxroi/detail/RemovedRois.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McColor.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/script/detail/commandListing.h"

/// Commands about what belongs where and how it is called.
namespace hxroi::commands {

using details::Group;
using details::Mask;
using details::Roi;

namespace {

/// The mark of a tree for another selection.
constexpr unsigned int kSelection = 512;

QString tr(const char* text) {
  return QCoreApplication::translate("HxRois", text);
}

/// Runs a change; what refuses it is printed.
template <class Change>
int attempt(Change change) {
  try {
    change();
  } catch (const McException& refusal) {
    return refused(refusal);
  }
  return TCL_OK;
}

/// The set routes a word to its ROIs before it looks at its commands and ports.
void tellOfHiddenWord(const SetCommand& call, const std::string& name) {
  const QString word = QString::fromStdString(utf8(name));
  const bool isCommand = quarn::detail::commandListing(call.rois, {call.rois.getLabel()}).find(word);
  if (!isCommand && !call.rois.findPort(word)) return;
  console().printf("%s: the ROI now hides the %s of this name", qUtf8Printable(word), isCommand ? "command" : "port");
}

/// Moves all masks or none, and makes the ports anew.
int moveAll(const SetCommand& call, int first, Group* target) {
  const int code = attempt([&] {
    call.refuseImpossibleNames(first);
    // A mask that moves and comes back would be the last of the masks.
    for (const std::string& name : call.namesFrom(first)) call.rois.namedMask(name);
    MovedMasks moved(call.rois);
    try {
      for (const std::string& name : call.namesFrom(first)) moved.move(name, target);
    } catch (...) {
      moved.undo();
      throw;
    }
  });
  call.rois.rebuildPortList();
  return code;
}

}  // namespace

/// All or nothing, without a text of its own; what was removed comes back at the end of the list, in its colours.
int removeRois(const SetCommand& call) {
  if (call.argc < 3) return refused("syntax: removeRois <roiName...>");
  int code = TCL_OK;
  RemovedRois removed(call.rois);
  try {
    for (const std::string& name : call.namesFrom(2)) removed.remove(name);
  } catch (const McException&) {
    removed.putBack();
    code = TCL_ERROR;
  }
  // The ports of what went and came back are gone all the same.
  call.rois.rebuildPortList();
  return code;
}

/// Forgets the group masks of the groups. What a group gives away comes back when a later one refuses.
int clearGroups(const SetCommand& call) {
  if (call.argc < 3) return refused("syntax: clearGroup <groupName...>");
  std::map<std::string, Group::Members> cleared;
  try {
    for (const std::string& name : call.namesFrom(2)) {
      Group* const group = call.rois.getGroup(name);
      if (!group) continue;
      Group::Members members = group->clear();
      if (!members.empty()) cleared[name] = std::move(members);
    }
  } catch (const McException&) {
    for (const auto& [name, members] : cleared)
      for (const McHandle<Mask>& member : members) call.rois.getGroup(name)->addMask(member);
    return TCL_ERROR;
  }
  return TCL_OK;
}

/// A refused mask leaves no group behind.
int createGroup(const SetCommand& call) {
  if (call.argc < 3) return refused("syntax: createGroup <group> <masks...>");
  const McHandle<Group> group(new Group(call.name(2), McColor::nextHtmlColor(), nullptr));
  if (attempt([&] { call.rois.addRoi(group); }) != TCL_OK) return TCL_ERROR;
  const int code = moveAll(call, 3, group);
  if (code != TCL_OK) {
    call.rois.removeRoi(group->name());
  } else {
    tellOfHiddenWord(call, group->name());
  }
  return code;
}

/// An empty name stands for the top level.
int moveToGroup(const SetCommand& call) {
  if (call.argc < 4) return refused("syntax: moveToGroup <group> <masks...>");
  const std::string name = call.name(2);
  Group* const group = call.rois.getGroup(name);
  if (group || name.empty()) return moveAll(call, 3, group);
  const QString text = tr("No group named %1 has been inserted inside this HxRois (%2).");
  return refused(hxException(text.arg(QString::fromStdString(call.shown(2)), call.rois.getLabel())));
}

int renameRoi(const SetCommand& call) {
  if (call.argc != 4) return refused("syntax: renameRoi <roiName> <newName>");
  Roi* const roi = call.rois.getRoi(call.name(2));
  if (!roi) {
    console().printf("Roi %s doesn't exist", call.shown(2).c_str());
    return TCL_ERROR;
  }
  const int code = attempt([&] { roi->setName(call.name(3)); });
  call.rois.rebuildPortList();
  // New ports are hidden until the selection is asked for.
  HxPortRoiTreeView& tree = call.rois.portRoiVisibility;
  if (tree.getSelectedRois().size() == 1) tree.touch(kSelection), tree.send();
  if (code == TCL_OK) tellOfHiddenWord(call, call.name(3));
  return code;
}

}  // namespace hxroi::commands
