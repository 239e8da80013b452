#include <boost/program_options.hpp>
#include <ostream>

#include "hxroi/HxRois.h"
#include "hxroi/commands/SetCommand.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/base/McProgressInterface.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxMessage.h"

namespace hxroi::commands {

using details::Group;
using details::Mask;
namespace po = boost::program_options;

namespace {

po::options_description describe(const char* caption) {
  const unsigned length = po::options_description::m_default_line_length;
  return po::options_description(caption, length, length / 2);
}

struct Wishes {
  bool help = false;
  bool exactBoxes = false;
  bool levels = false;
};

/// Throws po::error.
Wishes parse(const SetCommand& call, const po::options_description& visible) {
  po::options_description hidden = describe("optimizeInternal"), all = describe("optimize");
  hidden.add_options()("exact-boundingbox", "force exact boundingbox computation")(
      "multiresolution", "recompute masks intermediate resolutions");
  all.add(visible).add(hidden);
  po::variables_map given;
  po::store(po::parse_command_line(call.argc - 1, call.argv + 1, all), given);
  po::notify(given);
  return {given.count("help") > 0, given.count("exact-boundingbox") > 0, given.count("multiresolution") > 0};
}

class Progress {
public:
  explicit Progress(const char* text) { display_.start(text); }
  ~Progress() { display_.stop(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  McProgressInterface* operator->() const { return &display_; }

private:
  McProgressInterface& display_ = *HxApplication::progress();
};

void computeBox(const Mask& mask, bool force) {
  if (mask.cachedBoundingBox()) return;
  if (force || !mask.cachedApproximatedBoundingBox()) mask.getBoundingBox();
}

/// A copy whose files hold all levels takes the place of the mask.
void rebuildLevels(HxRois& rois, Mask& mask) {
  const McHandle<Mask> copy(new Mask(rois.getUniqueName("copy"), mask));
  const std::string name = mask.name();
  if (Group* const group = mask.parent()) {
    group->replaceMask(name, copy);
  } else {
    rois.replaceRoi(name, copy);
  }
  copy->setName(name);
  copy->setId(mask.id());
  copy->flush(Mask::Force | Mask::AllLevels);
}

void optimizeMasks(HxRois& rois, const Wishes& wishes) {
  const Progress progress("Optimizing masks");
  std::vector<McHandle<Mask>> masks;
  for (const Mask* mask : rois.masks()) masks.emplace_back(rois.getMask(mask->name()));
  float done = 0;
  for (const McHandle<Mask>& mask : masks) {
    if (progress->isInterrupted()) return;
    computeBox(*mask, wishes.exactBoxes);
    if (wishes.levels) rebuildLevels(rois, *mask);
    progress->setValue(++done / static_cast<float>(rois.getNumberOfMasks()));
  }
}

}  // namespace

/// Help tells of the option "help" only. What was done stays when the user interrupts: every mask is as it was for him.
int optimize(const SetCommand& call) {
  po::options_description visible = describe("optimize");
  visible.add_options()("help,h", "Show this help page");
  Wishes wishes;
  try {
    wishes = parse(call, visible);
  } catch (const po::error& error) {
    HxMessage::stream() << McException::excerpt(error.what()) << '\n' << visible;
    return TCL_ERROR;
  }
  if (wishes.help) {
    HxMessage::stream() << visible;
    return TCL_OK;
  }
  optimizeMasks(call.rois, wishes);
  call.rois.touch(0xFFFFFFFF);
  call.rois.fire(1);
  return TCL_OK;
}

}  // namespace hxroi::commands
