#include <algorithm>
#include <iterator>

#include "hxroi/HxRois.h"
#include "hxroi/commands/SetCommand.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/script/HxCommands.h"

/// Commands that change voxels or make masks of others.
namespace hxroi::commands {

using details::Mask;

namespace {

using Combination = Mask* (HxRois::*)(const std::string&, const std::vector<std::string>&) const;

int insertCombination(const SetCommand& call, Combination combine, const char* syntax) {
  if (call.argc < 4) return refused(syntax);
  try {
    call.refuseImpossibleNames(2);
    const McHandle<Mask> result((call.rois.*combine)(call.name(2), call.namesFrom(3)));
    if (isInterrupted()) return TCL_OK;
    call.rois.addRoi(result);
  } catch (const McException& refusal) {
    return refused(refusal);
  }
  call.rois.rebuildPortList();
  return TCL_OK;
}

/// What was inverted before an interruption is inverted once more.
void invertAll(const HxRois& rois, const std::vector<std::string>& names) {
  const auto invert = [&rois](const std::string& name) { rois.getMask(name)->negate(); };
  for (auto name = names.begin(); name != names.end(); ++name) {
    if (isInterrupted()) {
      std::for_each(names.begin(), name, invert);
      return;
    }
    invert(*name);
  }
}

}  // namespace

/// All or none; a mask that is named twice is as before.
int invertMasks(const SetCommand& call) {
  if (call.argc < 3) return refused("syntax: invertMasks <mask> <masks...>");
  const std::vector<std::string> names = call.namesFrom(2);
  try {
    call.refuseImpossibleNames(2);
    for (const std::string& name : names) call.rois.namedMask(name);
  } catch (const McException& refusal) {
    return refused(refusal);
  }
  invertAll(call.rois, names);
  return TCL_OK;
}

int substractMasks(const SetCommand& call) {
  return insertCombination(call, &HxRois::substractMasks, "syntax: substractMasks <fromMask> <masks...>");
}

int mergeMasks(const SetCommand& call) {
  return insertCombination(call, &HxRois::mergeMasks, "syntax: mergeMasks <toMask> <masks...>");
}

/// The mask stays. A piece that the set refuses ends the command, as any failure does for the interpreter; those before
/// it stay in the set.
int splitMask(const SetCommand& call) {
  const int form = call.checkForm(call.argc == 3);
  if (form != HX_CMD_GO_ON) return form;
  std::vector<McHandle<Mask>> pieces;
  try {
    call.refuseImpossibleNames(2);
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

}  // namespace hxroi::commands
