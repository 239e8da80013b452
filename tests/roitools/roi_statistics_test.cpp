#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include "hxroi/HxRois.h"
#include "hxroi/detail/SetPlace.h"
#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxPreferences.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/app/HxSettingsMgr.h"
#include "quarn/kernel/fields/HxTable.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "roitools/HxRoiStatistics.h"
#include "tests/support/RecordingProgress.h"

namespace {

using hxroi::details::Group;
using hxroi::details::Mask;

const McVec3i kGrid(20, 10, 8);

class RoiStatistics : public ::testing::Test {
protected:
  RoiStatistics() {
    HxApplication::instance()->settings()->getPreferences()->setTemporaryDirectory(folder_.path());
    HxRois::initClass();
    HxRoiStatistics::initClass();
    rois_ = new HxRois;
    rois_->setLabel("Rois");
    module_ = new HxRoiStatistics;
    EXPECT_TRUE(module_->dataConnection.connect(rois_.get()));
  }

  Mask* newMask(const char* name, const McVec3i& origin, const McVec3i& size, McColor color = McColor(1, 0.5F, 0)) {
    auto* mask = new Mask(name, kGrid, false, color, nullptr);
    mask->getBox(origin, size, hxroi::AccessMode(2)) = true;
    return mask;
  }

  /// An image that holds 2 * x at every voxel, with voxels of 0.5 x 1 x 2 from (10, 20, 30) on.
  McHandle<HxUniformScalarField3> newImage(const McVec3i& grid = kGrid) {
    McHandle<HxUniformScalarField3> image(new HxUniformScalarField3(McDim3l(grid), McPrimType::Float));
    for (int z = 0; z < grid[2]; ++z) {
      for (int y = 0; y < grid[1]; ++y) {
        for (int x = 0; x < grid[0]; ++x) image->setValue(x, y, z, 2.0 * x);
      }
    }
    HxGeometry3 geometry;
    geometry.origin = {10, 20, 30};
    geometry.voxelSize = {0.5, 1, 2};
    image->setGeometry(geometry);
    return image;
  }

  HxTable* run() {
    module_->portDoIt.hit(0);
    module_->fire();
    return dynamic_cast<HxTable*>(module_->resultObject(0));
  }

  HxTable::Cell cell(const HxTable& table, int row, const char* column) {
    const int at = table.findColumn(column);
    EXPECT_GE(at, 0) << column;
    return at < 0 ? HxTable::Cell() : table.cell(row, at);
  }

  QTemporaryDir folder_;
  HxRecordingSink messages_;
  McHandle<HxRois> rois_;
  McHandle<HxRoiStatistics> module_;
};

using Cell = HxTable::Cell;

TEST_F(RoiStatistics, LeaveVolumeAndPositionEmptyWithoutAField) {
  rois_->addRoi(newMask("Bone", McVec3i(2, 3, 4), McVec3i(3, 2, 1)));
  const HxTable* table = run();
  ASSERT_TRUE(table);
  ASSERT_EQ(table->rowCount(), 1);
  EXPECT_EQ(cell(*table, 0, "name"), Cell(std::string("Bone")));
  EXPECT_EQ(cell(*table, 0, "group"), Cell());
  EXPECT_EQ(cell(*table, 0, "voxels"), Cell(std::int64_t{6}));
  EXPECT_EQ(cell(*table, 0, "volume_mm3"), Cell());
  const std::int64_t bounds[] = {2, 4, 3, 4, 4, 4};
  const char* names[] = {"xmin", "xmax", "ymin", "ymax", "zmin", "zmax"};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(cell(*table, 0, names[i]), Cell(bounds[i])) << names[i];
  for (const char* axis : {"centroid_x", "centroid_y", "centroid_z"}) EXPECT_EQ(cell(*table, 0, axis), Cell()) << axis;
  EXPECT_EQ(cell(*table, 0, "color"), Cell(std::string("1 0.5 0")));
  EXPECT_EQ(table->findColumn("mean"), -1);
  EXPECT_NE(messages_.consoleText().find("volumes and world positions are left empty"), std::string::npos);
}

TEST_F(RoiStatistics, MeasureInThePlaceThatTheSetRemembers) {
  rois_->addRoi(newMask("Bone", McVec3i(2, 3, 4), McVec3i(3, 2, 1)));
  const McVec3i& grid = rois_->dimensions();
  hxroi::storePlace(HxGeometry3{{10, 20, 30}, {2, 1, 0.5}}, {grid.x, grid.y, grid.z}, rois_->parameters);
  const HxTable* table = run();
  ASSERT_TRUE(table);
  EXPECT_EQ(cell(*table, 0, "volume_mm3"), Cell(6.0));
  EXPECT_EQ(cell(*table, 0, "centroid_x"), Cell(16.0));
  EXPECT_EQ(cell(*table, 0, "centroid_y"), Cell(23.5));
  EXPECT_EQ(cell(*table, 0, "centroid_z"), Cell(32.0));
  EXPECT_EQ(messages_.consoleText().find("left empty"), std::string::npos);
}

TEST_F(RoiStatistics, MeasureInTheWorldWithAnImage) {
  const auto image = newImage();
  rois_->addRoi(newMask("Bone", McVec3i(2, 3, 4), McVec3i(3, 2, 1)));
  ASSERT_TRUE(module_->portImage.connect(image.get()));
  const HxTable* table = run();
  ASSERT_TRUE(table);
  EXPECT_EQ(cell(*table, 0, "volume_mm3"), Cell(6.0));
  EXPECT_EQ(cell(*table, 0, "centroid_x"), Cell(11.5));
  EXPECT_EQ(cell(*table, 0, "centroid_y"), Cell(23.5));
  EXPECT_EQ(cell(*table, 0, "centroid_z"), Cell(38.0));
  EXPECT_EQ(cell(*table, 0, "mean"), Cell(6.0));
  EXPECT_NEAR(std::get<double>(cell(*table, 0, "sd")), std::sqrt(16.0 / 5.0), 1e-12);
  EXPECT_EQ(cell(*table, 0, "min"), Cell(4.0));
  EXPECT_EQ(cell(*table, 0, "max"), Cell(8.0));
}

TEST_F(RoiStatistics, TakeThePlaceFromTheFieldOfTheSet) {
  const auto image = newImage();
  rois_->addRoi(newMask("Bone", McVec3i(0, 0, 0), McVec3i(1, 1, 1)));
  ASSERT_TRUE(rois_->portData.connect(image.get()));
  const HxTable* table = run();
  ASSERT_TRUE(table);
  EXPECT_EQ(cell(*table, 0, "volume_mm3"), Cell(1.0));
  EXPECT_EQ(cell(*table, 0, "centroid_z"), Cell(30.0));
  EXPECT_EQ(table->findColumn("mean"), -1);
}

TEST_F(RoiStatistics, CountSharedVoxelsOfAGroupOnce) {
  McHandle<Group> group(new Group("Both", McColor(0, 1, 0), nullptr));
  group->addMask(newMask("A", McVec3i(0, 0, 0), McVec3i(4, 1, 1)));
  group->addMask(newMask("B", McVec3i(2, 0, 0), McVec3i(4, 1, 1)));
  rois_->addRoi(group.get());
  rois_->addRoi(newMask("C", McVec3i(0, 5, 0), McVec3i(1, 1, 1)));
  const HxTable* table = run();
  ASSERT_TRUE(table);
  ASSERT_EQ(table->rowCount(), 4);
  const char* names[] = {"Both", "A", "B", "C"};
  const std::int64_t voxels[] = {6, 4, 4, 1};
  for (int row = 0; row < 4; ++row) {
    EXPECT_EQ(cell(*table, row, "name"), Cell(std::string(names[row])));
    EXPECT_EQ(cell(*table, row, "voxels"), Cell(voxels[row]));
    const bool member = row == 1 || row == 2;
    EXPECT_EQ(cell(*table, row, "group"), member ? Cell(std::string("Both")) : Cell());
  }
  EXPECT_EQ(cell(*table, 1, "color"), Cell(std::string("0 1 0")));
}

TEST_F(RoiStatistics, LeavePlaceAndValuesOfEmptyRoisEmpty) {
  const auto image = newImage();
  ASSERT_TRUE(module_->portImage.connect(image.get()));
  rois_->addRoi(new Mask("Nothing", kGrid, false, McColor(), nullptr));
  McHandle<Group> group(new Group("NoMembers", McColor(), nullptr));
  rois_->addRoi(group.get());
  const HxTable* table = run();
  ASSERT_TRUE(table);
  for (int row = 0; row < 2; ++row) {
    EXPECT_EQ(cell(*table, row, "voxels"), Cell(std::int64_t{0}));
    for (const char* column : {"xmin", "zmax", "centroid_x", "mean", "sd", "min", "max"}) {
      EXPECT_EQ(cell(*table, row, column), Cell()) << column;
    }
  }
}

TEST_F(RoiStatistics, MeasureInThePlaceOfTheSetAndTellThatTheImageHasAnother) {
  const auto image = newImage();
  const McHandle<HxUniformScalarField3> place(new HxUniformScalarField3(McDim3l(kGrid), McPrimType::Uint8));
  rois_->addRoi(newMask("Bone", McVec3i(2, 3, 4), McVec3i(4, 5, 2)));
  ASSERT_TRUE(module_->portImage.connect(image.get()));
  ASSERT_TRUE(rois_->portData.connect(place.get()));
  HxRecordingSink console;
  const HxTable* const table = run();
  EXPECT_EQ(cell(*table, 0, "volume_mm3"), HxTable::Cell(40.0));
  EXPECT_EQ(cell(*table, 0, "centroid_x"), HxTable::Cell(3.5));
  EXPECT_EQ(cell(*table, 0, "places"), HxTable::Cell(std::string("differ")));
  ASSERT_EQ(console.warnings.size(), 1U);
  EXPECT_TRUE(console.warnings.front().contains("the other at (10, 20, 30), voxels of 0.5 x 1 x 2 mm"));
}

TEST_F(RoiStatistics, RefuseAnImageOfAnotherGridAndKeepTheFormerResult) {
  rois_->addRoi(newMask("Bone", McVec3i(2, 3, 4), McVec3i(3, 2, 1)));
  const HxTable* before = run();
  ASSERT_TRUE(before);
  const auto image = newImage(McVec3i(20, 10, 9));
  ASSERT_TRUE(module_->portImage.connect(image.get()));
  module_->portDoIt.hit(0);
  try {
    module_->fire();
    FAIL() << "an image of another grid was accepted";
  } catch (const McException& exception) {
    EXPECT_STREQ(exception.what(), "Mask is incompatible with data (different dimension)");
  }
  EXPECT_EQ(module_->resultObject(0), before);
  EXPECT_EQ(before->rowCount(), 1);
}

TEST_F(RoiStatistics, ShowProgressByRow) {
  rois_->addRoi(newMask("A", McVec3i(0, 0, 0), McVec3i(1, 1, 1)));
  rois_->addRoi(newMask("B", McVec3i(0, 0, 0), McVec3i(2, 1, 1)));
  RecordingProgress progress;
  const ProgressScope scope(progress);
  run();
  EXPECT_EQ(progress.calls, (std::vector<std::string>{"start Measuring ROIs", "stop"}));
  EXPECT_EQ(progress.values, (std::vector<float>{0.5F, 1.0F}));
}

TEST_F(RoiStatistics, KeepTheFormerResultWhenInterrupted) {
  rois_->addRoi(newMask("A", McVec3i(0, 0, 0), McVec3i(1, 1, 1)));
  const HxTable* before = run();
  ASSERT_TRUE(before);
  rois_->addRoi(newMask("B", McVec3i(0, 0, 0), McVec3i(2, 1, 1)));
  RecordingProgress progress;
  progress.interruptAfter = 1;
  const ProgressScope scope(progress);
  module_->portDoIt.hit(0);
  try {
    module_->fire();
    FAIL() << "the measurement was not interrupted";
  } catch (const McException& exception) {
    EXPECT_STREQ(exception.what(), "The measurement was interrupted.");
  }
  EXPECT_EQ(progress.calls.back(), "stop");
  EXPECT_EQ(progress.values, (std::vector<float>{0.5F}));
  EXPECT_EQ(module_->resultObject(0), before);
  EXPECT_EQ(before->rowCount(), 1);
}

TEST_F(RoiStatistics, SayWhenNoSetIsConnected) {
  module_->setLabel("Statistics");
  module_->dataConnection.disconnect();
  module_->portDoIt.hit(0);
  try {
    module_->fire();
    FAIL() << "nothing was measured and nothing said";
  } catch (const McException& exception) {
    EXPECT_STREQ(exception.what(), "Statistics: no ROI set is connected to \"data\".");
  }
  EXPECT_FALSE(module_->resultObject(0));
}

TEST_F(RoiStatistics, DoNothingUnlessHit) {
  rois_->addRoi(newMask("Bone", McVec3i(2, 3, 4), McVec3i(3, 2, 1)));
  module_->fire();
  EXPECT_FALSE(module_->resultObject(0));
}

TEST_F(RoiStatistics, ShowNoIdentifiersOnTheConsoleButSaveThem) {
  rois_->addRoi(newMask("Bone", McVec3i(2, 3, 4), McVec3i(3, 2, 1)));
  const HxTable* table = run();
  ASSERT_TRUE(table);
  const std::string id = rois_->getRoi("Bone")->id();
  EXPECT_EQ(messages_.consoleText().find(id), std::string::npos);
  EXPECT_NE(messages_.consoleText().find("Bone"), std::string::npos);
  EXPECT_NE(table->toCsv().find(id), std::string::npos);
}

TEST_F(RoiStatistics, SaveTheirResultByScript) {
  rois_->addRoi(newMask("Bone", McVec3i(2, 3, 4), McVec3i(3, 2, 1)));
  const HxTable* table = run();
  ASSERT_TRUE(table);
  std::string file = folder_.filePath("rois.csv").toStdString();
  char* words[] = {const_cast<char*>("statistics"), const_cast<char*>("save"), const_cast<char*>("CSV"), file.data()};
  EXPECT_EQ(module_->parse(nullptr, 4, words), TCL_OK);
  QFile saved(QString::fromStdString(file));
  ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
  EXPECT_EQ(saved.readAll().toStdString(), table->toCsv());
}

TEST_F(RoiStatistics, HaveNothingToSaveBeforeTheyRan) {
  char* words[] = {const_cast<char*>("statistics"), const_cast<char*>("save"), const_cast<char*>("x.csv")};
  EXPECT_THROW(module_->parse(nullptr, 3, words), McException);
}

TEST_F(RoiStatistics, FollowAnEditOfAMember) {
  McHandle<Group> group(new Group("G", McColor(), nullptr));
  Mask* member = newMask("A", McVec3i(0, 0, 0), McVec3i(4, 1, 1));
  group->addMask(member);
  rois_->addRoi(group.get());
  run();
  member->getBox(McVec3i(0, 1, 0), McVec3i(4, 1, 1), hxroi::AccessMode(2)) = true;
  const HxTable* table = run();
  EXPECT_EQ(cell(*table, 0, "voxels"), Cell(std::int64_t{8}));
}

}  // namespace
