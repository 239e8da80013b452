#include "hxroi/detail/RoiSaver.h"

#include <QCoreApplication>
#include <exception>
#include <utility>

#include "hxroi/HxRois.h"
#include "hxroi/detail/RoiDescription.h"
#include "hxroi/detail/SetFileLayout.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/base/McProgressInterface.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/TiledFileReader.h"

namespace hxroi {

using details::Group;
using details::Mask;
using details::Roi;

namespace {

/// Whether files are there from which this mask can be loaded, if only in a former state.
bool hasGoodFiles(const boost::filesystem::path& prefix, const Mask& mask) {
  try {
    const auto file = hxvoxora::TiledFileReader::open(hxvoxora::FileSystem::current(), prefix.string() + ".ldm");
    return file->header().dimensions == mask.dimensions();
  } catch (const McException&) {
    return false;
  }
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

RoiSaver::RoiSaver(path masksDir, SavingProgress* progress) : masksDir_(std::move(masksDir)), progress_(progress) {}

std::unique_ptr<HxParamBundle> RoiSaver::saveMask(Mask& mask) {
  const std::string name = mask.name();
  HxMessage::printf("Saving mask %s", name.c_str());
  auto bundle = RoiDescription::of(mask);
  bundle->set(setfile::kFilename, name);
  try {
    mask.writeToFile(masksDir_ / name);
  } catch (const std::exception& failure) {
    noteFailure(mask, failure.what());
  }
  if (progress_) progress_->maskDone();
  return bundle;
}

std::unique_ptr<HxParamBundle> RoiSaver::saveGroup(Group& group) {
  auto bundle = RoiDescription::of(group);
  for (Mask& member : group) bundle->insert(saveMask(member));
  return bundle;
}

void RoiSaver::saveAll(const HxRois& rois, HxParamBundle& bundles) {
  for (const auto& roi : rois) {
    if (auto* group = dynamic_cast<Group*>(roi.get())) {
      auto bundle = saveGroup(*group);
      for (const Mask& member : *group) removeLost(*bundle, member);
      bundles.insert(std::move(bundle));
    } else {
      bundles.insert(saveMask(dynamic_cast<Mask&>(*roi)));
      removeLost(bundles, *roi);
    }
  }
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
  if (!hasGoodFiles(masksDir_ / name, mask)) lost_.insert(name);
}

void RoiSaver::removeLost(HxParamBundle& bundles, const Roi& mask) const {
  if (lost_.contains(mask.name())) bundles.remove(mask.name());
}

}  // namespace hxroi
