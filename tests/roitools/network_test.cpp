#include <QFile>
#include <QTemporaryDir>
#include <gmock/gmock.h>

#include "hxroi/HxRois.h"
#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/Mask.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxPreferences.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/app/HxSettingsMgr.h"
#include "quarn/kernel/fields/HxTable.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/network/HxNetwork.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "roitools/HxRoiOverlap.h"
#include "roitools/HxRoiSplit.h"
#include "roitools/HxRoiStatistics.h"

namespace {

using hxroi::details::Mask;

/// A set in a file, split into its pieces, which are measured.
class RoiToolsNetwork : public ::testing::Test {
protected:
  RoiToolsNetwork() {
    HxApplication::instance()->settings()->getPreferences()->setTemporaryDirectory(folder_.path());
    for (auto* init :
         {&HxRois::initClass, &HxRoiOverlap::initClass, &HxRoiSplit::initClass, &HxRoiStatistics::initClass})
      init();
    HxFileTypes::instance().registerQuarnMeshReader("HxRois", ".ROIs.qm", &HxRois::readQuarnMesh_s);
    const McHandle<HxRois> rois(new HxRois);
    auto* mask = new Mask("Two", McVec3i(20, 10, 8), false, McColor(1, 0.5F, 0), nullptr);
    mask->getBox(McVec3i(1, 1, 1), McVec3i(3, 3, 3), hxroi::AccessMode(2)) = true;
    mask->getBox(McVec3i(10, 5, 5), McVec3i(2, 2, 2), hxroi::AccessMode(2)) = true;
    rois->addRoi(mask);
    HxObjectPool::instance().add(rois, "rois");
    EXPECT_EQ(rois->writeQuarnMesh(qPrintable(folder_.filePath("set.ROIs.qm"))), 1);
    EXPECT_EQ(
        evaluate("rois fire; create HxRoiSplit splitter; splitter data connect rois; splitter doIt hit; splitter fire;"
                 "create HxRoiStatistics measure; measure data connect [splitter getResult];"
                 "measure doIt hit; measure fire; objects"),
        "RoiStatistics measure rois rois-components splitter");
  }
  ~RoiToolsNetwork() override {
    HxObjectPool::instance().clear();
    HxFileTypes::instance().unregisterQuarnMeshReader("HxRois");
  }

  static std::string evaluate(const QString& script) {
    HxInterpreter& interpreter = HxInterpreter::instance();
    if (const auto error = interpreter.evaluate(script)) return "error: " + error->message.toStdString();
    return interpreter.result().toStdString();
  }

  std::string save() {
    QFile::remove(file_);
    return evaluate("saveNetwork {" + file_ + "}");
  }

  QByteArray text() const {
    QFile file(file_);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
  }

  QTemporaryDir folder_;
  const QString file_ = folder_.filePath("a.quarn");
  HxRecordingSink messages_;
};

TEST_F(RoiToolsNetwork, IsSavedAtOnceAfterItWasLoaded) {
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(save(), "");
    const QByteArray former = text();
    HxObjectPool::instance().clear();
    EXPECT_EQ(evaluate("llength [load {" + file_ + "}]"), "5");
    const auto* table = dynamic_cast<HxTable*>(HxObjectPool::instance().find("RoiStatistics"));
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->rowCount(), 2);
    EXPECT_EQ(save(), "");
    EXPECT_EQ(text().toStdString(), former.toStdString());
  }
}

TEST_F(RoiToolsNetwork, BringsOverlapsBack) {
  EXPECT_EQ(evaluate("create HxRoiOverlap o; o data connect rois; o other connect rois-components; o doIt hit; o fire;"
                     "o getResult"),
            "RoiOverlap");
  EXPECT_EQ(save(), "");
  HxObjectPool::instance().clear();
  evaluate("load {" + file_ + "}");
  const auto* table = dynamic_cast<HxTable*>(HxObjectPool::instance().find("RoiOverlap"));
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->rowCount(), 2);
}

TEST_F(RoiToolsNetwork, IsSavedWhenAResultWasPutIntoAFile) {
  auto* pieces = dynamic_cast<HxRois*>(HxObjectPool::instance().find("rois-components"));
  ASSERT_NE(pieces, nullptr);
  EXPECT_EQ(pieces->writeQuarnMesh(qPrintable(folder_.filePath("pieces.ROIs.qm"))), 1);
  EXPECT_EQ(evaluate("splitter largest setValue 1"), "");
  EXPECT_EQ(save(), "");
  EXPECT_THAT(text().toStdString(), ::testing::HasSubstr("\nrois-components resultOf splitter\n"));
  HxObjectPool::instance().clear();
  evaluate("load {" + file_ + "}");
  EXPECT_EQ(evaluate("splitter doIt hit; splitter fire; objects"),
            "RoiStatistics measure rois rois-components splitter");
  EXPECT_THAT(save(), ::testing::HasSubstr("\n  RoiStatistics: rois-components changed since measure made it\n"));
}

TEST_F(RoiToolsNetwork, IsNotSavedWhenTheSplitHasOtherSettings) {
  EXPECT_EQ(evaluate("splitter largest setValue 1"), "");
  const std::string refusal = save();
  EXPECT_THAT(refusal, ::testing::HasSubstr(
                           "\n  rois-components: port \"largest\" of splitter changed since splitter made it\n"
                           "  RoiStatistics: it was made from rois-components, which does not come back as it is\n"));
}

TEST_F(RoiToolsNetwork, IsNotSavedWhenWhatWasMeasuredHasChanged) {
  auto* rois = dynamic_cast<HxRois*>(HxObjectPool::instance().find("rois"));
  ASSERT_NE(rois, nullptr);
  rois->getMask("Two")->getBox(McVec3i(0, 0, 0), McVec3i(1, 1, 1), hxroi::AccessMode(2)) = true;
  EXPECT_EQ(rois->writeQuarnMesh(qPrintable(folder_.filePath("set.ROIs.qm"))), 1);
  EXPECT_THAT(save(), ::testing::HasSubstr("\n  rois-components: rois changed since splitter made it\n"));
}

}  // namespace
