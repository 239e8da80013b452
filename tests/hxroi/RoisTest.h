#pragma once

#include <QString>
#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <gmock/gmock.h>
#include <initializer_list>
#include <string>
#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/base/McHandle.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxPreferences.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

/// A ROI set with a folder of its own, in which the temporary storage lies too, and a recorded console.
class RoisTest : public ::testing::Test {
protected:
  using path = boost::filesystem::path;
  using Group = hxroi::details::Group;
  using Mask = hxroi::details::Mask;
  using Roi = hxroi::details::Roi;

  RoisTest() {
    folder = path(::testing::TempDir()) / boost::filesystem::unique_path("rois-%%%%-%%%%-%%%%");
    boost::filesystem::create_directories(folder / "temporary");
    preferences().setTemporaryDirectory(QString::fromStdString((folder / "temporary").string()));
    rois = new HxRois;
    rois->setLabel("atlas");
  }

  ~RoisTest() override {
    rois.reset();
    boost::filesystem::remove_all(folder);
  }

  static HxPreferences& preferences() { return *HxApplication::instance()->settings()->getPreferences(); }

  static McHandle<Mask> makeMask(const std::string& name, const McVec3i& grid = {13, 11, 7}) {
    return new Mask(name, grid, false, McColor(0.5F, 0.25F, 1.0F), nullptr);
  }

  static McHandle<Group> makeGroup(const std::string& name, std::initializer_list<std::string> members = {}) {
    McHandle<Group> group(new Group(name, McColor(1, 0, 0), nullptr));
    for (const std::string& member : members) group->addMask(makeMask(member));
    return group;
  }

  Mask* addMask(const std::string& name, const McVec3i& grid = {13, 11, 7}) {
    rois->addRoi(makeMask(name, grid));
    return rois->getMask(name);
  }

  /// Sets a box of voxels.
  static void fill(Mask& mask, const McVec3i& origin, const McVec3i& size) {
    auto box = mask.getBox(origin, size, hxroi::AccessMode::WriteOnly);
    box = true;
  }

  static std::uint64_t count(const Mask& mask) {
    const McVec3i& n = mask.dimensions();
    return mask.volumeMask()->countSetVoxels(SbBox3i32(SbVec3i32(0, 0, 0), SbVec3i32(n.x - 1, n.y - 1, n.z - 1)));
  }

  static bool voxel(const Mask& mask, int x, int y, int z) {
    const auto box = mask.getConstBox(McVec3i(x, y, z), McVec3i(1, 1, 1));
    return box(0, 0, 0);
  }

  std::vector<std::string> topLevelNames() const {
    std::vector<std::string> names;
    for (const auto& roi : *rois) names.push_back(roi->name());
    return names;
  }

  std::vector<std::string> maskNames() const {
    std::vector<std::string> names;
    for (const Mask* mask : rois->masks()) names.push_back(mask->name());
    return names;
  }

  static McHandle<HxUniformLabelField3> makeLabels(const McDim3l& size, const std::vector<std::uint8_t>& labels) {
    McHandle<HxUniformLabelField3> field(new HxUniformLabelField3(size));
    std::copy(labels.begin(), labels.end(), field->lattice().getLabels());
    return field;
  }

  path folder;
  HxRecordingSink console;
  McHandle<HxRois> rois;
};

/// The text of the McException that `statement` throws; a failure of the test when it throws none.
template <class Statement>
std::string refusalOf(Statement statement) {
  try {
    statement();
  } catch (const McException& refusal) {
    return refusal.what();
  }
  ADD_FAILURE() << "nothing was refused";
  return {};
}
