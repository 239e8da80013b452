#include "hxroi/detail/RoiSaver.h"

#include <QCoreApplication>
#include <exception>

#include "hxroi/HxRois.h"
#include "hxroi/detail/MaskTarget.h"
#include "hxroi/detail/RoiDescription.h"
#include "hxroi/detail/SaveStopped.h"
#include "hxroi/detail/SetFileLayout.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/base/McProgressInterface.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/params/HxParamBundle.h"

namespace hxroi {

using details::Group;
using details::Mask;
using details::Roi;

namespace {

/// The file has elements of its own under these names.
void warnReplaced(const char* kind, const Roi& roi, const char* element) {
  if (!roi.parameters().findBase(element)) return;
  HxMessage::printf("%s %s: parameter \"%s\" is left out of the file: it has another meaning there", kind,
                    roi.name().c_str(), element);
}

std::unique_ptr<HxParamBundle> describeMask(const Mask& mask) {
  for (const char* element : {setfile::kColor, setfile::kFilename}) warnReplaced("Mask", mask, element);
  auto bundle = RoiDescription::of(mask);
  bundle->set(setfile::kFilename, setfile::maskFileName(mask.name()));
  return bundle;
}

std::unique_ptr<HxParamBundle> describeGroup(const Group& group) {
  warnReplaced("Group", group, setfile::kColor);
  auto bundle = RoiDescription::of(group);
  for (const Mask& member : group) bundle->insert(describeMask(member));
  return bundle;
}

}  // namespace

SavingProgress::SavingProgress(std::size_t masks) : display_(*HxApplication::progress()), masks_(masks) {
  display_.start(QCoreApplication::translate("HxRois", "Saving masks").toStdString());
}

SavingProgress::~SavingProgress() {
  display_.stop();
}

void SavingProgress::maskDone() {
  display_.setValue(static_cast<float>(++done_) / static_cast<float>(masks_));
}

bool SavingProgress::isInterrupted() {
  return display_.isInterrupted();
}

RoiSaver::RoiSaver(MaskTarget& target, SavingProgress* progress) : target_(target), progress_(progress) {}

std::unique_ptr<HxParamBundle> RoiSaver::saveMask(Mask& mask) {
  auto bundle = describeMask(mask);
  writeMask(mask);
  return bundle;
}

std::unique_ptr<HxParamBundle> RoiSaver::saveGroup(Group& group) {
  auto bundle = describeGroup(group);
  for (Mask& member : group) writeMask(member);
  return bundle;
}

void RoiSaver::describeAll(const HxRois& rois, HxParamBundle& bundles) {
  for (const auto& roi : rois) {
    const auto* group = dynamic_cast<const Group*>(roi.get());
    bundles.insert(group ? describeGroup(*group) : describeMask(dynamic_cast<const Mask&>(*roi)));
  }
}

void RoiSaver::writeAll(const HxRois& rois, HxParamBundle& bundles) {
  for (const auto& roi : rois) {
    if (auto* group = dynamic_cast<Group*>(roi.get())) {
      for (Mask& member : *group) writeMask(member);
      for (const Mask& member : *group) removeLost(*bundles.getBundle(group->name()), member);
    } else {
      writeMask(dynamic_cast<Mask&>(*roi));
      removeLost(bundles, *roi);
    }
  }
}

void RoiSaver::writeMask(Mask& mask) {
  HxMessage::printf("Saving mask %s", mask.name().c_str());
  const auto goOn = [this](double) { return !progress_ || !progress_->isInterrupted(); };
  const auto stop = [] { throw SaveStopped(SaveStopped::Reason::interrupt, "The save was interrupted"); };
  try {
    if (!target_.write(mask, goOn)) stop();
  } catch (const SaveStopped&) {
    throw;
  } catch (const std::exception& failure) {
    noteFailure(mask, failure.what());
  }
  if (progress_) progress_->maskDone();
  if (!goOn(1)) stop();
}

void RoiSaver::reportFailures(const path& file) const {
  std::string text = file.string() + ": not all masks were saved, the set stays modified";
  for (const std::string& failure : failures_) text += "\n" + failure;
  for (const std::string& name : lost_) text += "\nMask " + name + " has no good files and is left out of the file";
  HxMessage::printf("%s", text.c_str());
}

void RoiSaver::noteFailure(const Mask& mask, const char* reason) {
  const std::string name = mask.name();
  failures_.push_back("Error while saving mask " + name + " (" + reason + ")");
  HxMessage::printf("%s", failures_.back().c_str());
  if (!target_.hasFormerFiles(mask)) lost_.insert(name);
}

void RoiSaver::removeLost(HxParamBundle& bundles, const Roi& mask) const {
  if (lost_.contains(mask.name())) bundles.remove(mask.name());
}

}  // namespace hxroi
