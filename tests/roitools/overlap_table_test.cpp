#include <QFile>
#include <QTemporaryDir>
#include <gmock/gmock.h>

#include "hxroi/HxRois.h"
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
#include "roitools/HxRoiOverlap.h"
#include "roitools/ShownProgress.h"
#include "tests/support/RecordingProgress.h"

namespace {

using hxroi::details::Group;
using hxroi::details::Mask;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Cell = HxTable::Cell;

class RoiOverlapModule : public ::testing::Test {
protected:
  RoiOverlapModule() {
    HxApplication::instance()->settings()->getPreferences()->setTemporaryDirectory(folder_.path());
    HxRois::initClass();
    HxRoiOverlap::initClass();
    rois_ = new HxRois;
    other_ = new HxRois;
    module_ = new HxRoiOverlap;
    module_->setLabel("Overlap");
    EXPECT_TRUE(module_->dataConnection.connect(rois_.get()));
  }

  /// The voxels first to last of a row.
  static Mask* newMask(const char* name, int first, int last, const McVec3i& grid = {20, 10, 8}) {
    auto* mask = new Mask(name, grid, false, McColor(1, 0.5F, 0), nullptr);
    if (first <= last) mask->getBox(McVec3i(first, 3, 4), McVec3i(last - first + 1, 1, 1), hxroi::AccessMode(2)) = true;
    return mask;
  }

  const HxTable& run() {
    module_->portDoIt.hit(0);
    module_->fire();
    return dynamic_cast<HxTable&>(*module_->resultObject(0));
  }

  std::string refusal() {
    module_->portDoIt.hit(0);
    try {
      module_->fire();
    } catch (const McException& exception) {
      return exception.what();
    }
    return "nothing was refused";
  }

  static Cell cell(const HxTable& table, int row, const char* column) {
    const int at = table.findColumn(column);
    EXPECT_GE(at, 0) << column;
    return at < 0 ? Cell() : table.cell(row, at);
  }

  static std::string text(const Cell& cell) {
    const auto* held = std::get_if<std::string>(&cell);
    return held ? *held : std::string();
  }

  static std::vector<std::string> pairs(const HxTable& table) {
    std::vector<std::string> found;
    for (int row = 0; row < table.rowCount(); ++row)
      found.push_back(text(cell(table, row, "a")) + "+" + text(cell(table, row, "b")));
    return found;
  }

  QTemporaryDir folder_;
  HxRecordingSink messages_;
  McHandle<HxRois> rois_, other_;
  McHandle<HxRoiOverlap> module_;
};

TEST_F(RoiOverlapModule, TellsWhatAPairShares) {
  rois_->addRoi(newMask("Bone", 0, 5));
  rois_->addRoi(newMask("Marrow", 4, 7));
  const HxTable& table = run();
  ASSERT_THAT(pairs(table), ElementsAre("Bone+Marrow"));
  EXPECT_EQ(cell(table, 0, "a_group"), Cell());
  EXPECT_EQ(cell(table, 0, "b_group"), Cell());
  EXPECT_EQ(cell(table, 0, "a_voxels"), Cell(std::int64_t{6}));
  EXPECT_EQ(cell(table, 0, "b_voxels"), Cell(std::int64_t{4}));
  EXPECT_EQ(cell(table, 0, "shared"), Cell(std::int64_t{2}));
  EXPECT_EQ(cell(table, 0, "dice"), Cell(0.4));
  EXPECT_EQ(cell(table, 0, "jaccard"), Cell(0.25));
  EXPECT_EQ(cell(table, 0, "part_of_a"), Cell(2.0 / 6.0));
  EXPECT_EQ(cell(table, 0, "part_of_b"), Cell(0.5));
  EXPECT_EQ(cell(table, 0, "a_id"), Cell(rois_->getRoi("Bone")->id()));
  EXPECT_EQ(cell(table, 0, "b_id"), Cell(rois_->getRoi("Marrow")->id()));
}

TEST_F(RoiOverlapModule, EqualMasksGiveOne) {
  rois_->addRoi(newMask("A", 0, 5));
  rois_->addRoi(newMask("B", 0, 5));
  const HxTable& table = run();
  for (const char* column : {"dice", "jaccard", "part_of_a", "part_of_b"})
    EXPECT_EQ(cell(table, 0, column), Cell(1.0)) << column;
}

TEST_F(RoiOverlapModule, PairsStandInTheOrderOfTheSet) {
  rois_->addRoi(newMask("C", 0, 9));
  rois_->addRoi(newMask("A", 5, 12));
  rois_->addRoi(newMask("Nothing", 1, 0));
  rois_->addRoi(newMask("Apart", 18, 19));
  rois_->addRoi(newMask("B", 0, 19));
  EXPECT_THAT(pairs(run()), ElementsAre("C+A", "C+B", "A+B", "Apart+B"));
}

TEST_F(RoiOverlapModule, AGroupIsTheUnionOfItsMembers) {
  const McHandle<Group> group(new Group("G", McColor(0, 1, 0), nullptr));
  group->addMask(newMask("M", 0, 3));
  group->addMask(newMask("N", 2, 5));
  rois_->addRoi(group.get());
  rois_->addRoi(newMask("X", 3, 4));
  rois_->addRoi(new Group("Empty", McColor(0, 1, 0), nullptr));
  const HxTable& table = run();
  ASSERT_THAT(pairs(table), ElementsAre("G+X", "M+N", "M+X", "N+X"));
  EXPECT_EQ(cell(table, 0, "a_voxels"), Cell(std::int64_t{6}));
  EXPECT_EQ(cell(table, 0, "shared"), Cell(std::int64_t{2}));
  EXPECT_EQ(cell(table, 1, "a_group"), Cell(std::string("G")));
  EXPECT_EQ(cell(table, 1, "b_group"), Cell(std::string("G")));
  EXPECT_EQ(cell(table, 2, "b_group"), Cell());
}

TEST_F(RoiOverlapModule, NoPairGivesNoRow) {
  EXPECT_EQ(run().rowCount(), 0);
  rois_->addRoi(newMask("A", 0, 3));
  rois_->addRoi(newMask("B", 4, 5));
  const HxTable& table = run();
  EXPECT_EQ(table.rowCount(), 0);
  EXPECT_EQ(table.columnCount(), 13);
}

TEST_F(RoiOverlapModule, ComparesTwoSets) {
  rois_->addRoi(newMask("A", 0, 3));
  rois_->addRoi(newMask("B", 2, 6));
  other_->addRoi(newMask("A", 0, 3));
  other_->addRoi(newMask("C", 3, 9));
  ASSERT_TRUE(module_->portOther.connect(other_.get()));
  EXPECT_THAT(pairs(run()), ElementsAre("A+A", "A+C", "B+A", "B+C"));
  ASSERT_TRUE(module_->portOther.connect(rois_.get()));
  EXPECT_THAT(pairs(run()), ElementsAre("A+A", "A+B", "B+A", "B+B"));
}

TEST_F(RoiOverlapModule, AnEmptySetMeetsNothing) {
  other_->addRoi(newMask("A", 0, 3));
  other_->addRoi(newMask("B", 0, 3));
  ASSERT_TRUE(module_->portOther.connect(other_.get()));
  EXPECT_EQ(run().rowCount(), 0);
}

TEST_F(RoiOverlapModule, SetsOfOtherGridsAreRefused) {
  rois_->addRoi(newMask("A", 0, 3));
  other_->addRoi(newMask("A", 0, 3, {20, 10, 9}));
  const HxTable* before = &run();
  ASSERT_TRUE(module_->portOther.connect(other_.get()));
  EXPECT_THAT(refusal(), HasSubstr("20 x 10 x 8 and 20 x 10 x 9"));
  EXPECT_EQ(module_->resultObject(0), before);
}

TEST_F(RoiOverlapModule, RunningAgainRefillsTheTable) {
  rois_->addRoi(newMask("A", 0, 3));
  rois_->addRoi(newMask("B", 2, 6));
  const HxTable* before = &run();
  rois_->getMask("B")->getBox(McVec3i(0, 0, 0), McVec3i(20, 10, 8), hxroi::AccessMode(2)) = false;
  const HxTable& table = run();
  EXPECT_EQ(&table, before);
  EXPECT_THAT(pairs(table), IsEmpty());
}

TEST_F(RoiOverlapModule, KeepsTheFormerResultWhenInterrupted) {
  rois_->addRoi(newMask("A", 0, 3));
  rois_->addRoi(newMask("B", 2, 6));
  const HxTable& before = run();
  rois_->addRoi(newMask("C", 2, 6));
  RecordingProgress progress;
  progress.interruptAfter = 0;
  const ProgressScope scope(progress);
  EXPECT_EQ(refusal(), "The count was interrupted.");
  EXPECT_EQ(progress.calls, (std::vector<std::string>{"start Counting shared voxels", "stop"}));
  EXPECT_EQ(module_->resultObject(0), &before);
  EXPECT_THAT(pairs(before), ElementsAre("A+B"));
}

TEST_F(RoiOverlapModule, SaysWhenNoSetIsConnectedAndDoesNothingUnlessHit) {
  module_->fire();
  EXPECT_EQ(module_->resultObject(0), nullptr);
  module_->dataConnection.disconnect();
  EXPECT_EQ(refusal(), "Overlap: no ROI set is connected to \"data\".");
}

TEST_F(RoiOverlapModule, PrintsAndSavesTheTable) {
  std::string file = folder_.filePath("overlap.csv").toStdString();
  char* words[] = {const_cast<char*>("Overlap"), const_cast<char*>("save"), file.data()};
  EXPECT_THROW(module_->parse(nullptr, 3, words), McException);
  rois_->addRoi(newMask("Bone", 0, 5));
  rois_->addRoi(newMask("Marrow", 4, 7));
  run();
  EXPECT_THAT(messages_.consoleText(), HasSubstr("0.4000"));
  EXPECT_THAT(messages_.consoleText(), ::testing::Not(HasSubstr(rois_->getRoi("Bone")->id())));
  EXPECT_EQ(module_->parse(nullptr, 3, words), TCL_OK);
  QFile saved(QString::fromStdString(file));
  ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
  EXPECT_THAT(saved.readAll().toStdString(), HasSubstr("\r\nBone,,Marrow,,6,4,2,0.4,0.25,"));
}

TEST_F(RoiOverlapModule, SetsInDifferentPlacesAreTold) {
  const auto fieldAt = [](double x) {
    McHandle<HxUniformScalarField3> field(new HxUniformScalarField3(McDim3l(20, 10, 8), McPrimType::Uint8));
    HxGeometry3 geometry;
    geometry.origin = {x, 0, 0};
    field->setGeometry(geometry);
    field->setLabel(x > 0 ? "moved" : "image");
    return field;
  };
  rois_->setLabel("first");
  other_->setLabel("second");
  const auto image = fieldAt(0), same = fieldAt(0), moved = fieldAt(5);
  rois_->addRoi(newMask("a", 0, 3));
  other_->addRoi(newMask("b", 2, 5));
  EXPECT_TRUE(module_->portOther.connect(other_.get()));
  EXPECT_TRUE(rois_->portData.connect(image));
  EXPECT_TRUE(other_->portData.connect(same));
  HxRecordingSink console;
  EXPECT_EQ(run().findColumn("places"), -1);
  EXPECT_THAT(console.warnings, ::testing::IsEmpty());
  EXPECT_TRUE(other_->portData.connect(moved));
  EXPECT_EQ(cell(run(), 0, "places"), Cell(std::string("differ")));
  ASSERT_EQ(console.warnings.size(), 1U);
  EXPECT_EQ(
      console.warnings.front(),
      "first and second have one grid but lie in different places, the first at (0, 0, 0), voxels of 1 x 1 x 1 mm, "
      "the other at (5, 0, 0), voxels of 1 x 1 x 1 mm: voxels are compared by their indices.");
}

}  // namespace
