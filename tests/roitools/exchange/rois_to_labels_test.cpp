#include <QDir>

#include "hxroi/HxUniformLabelField3ToHxRois.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "roitools/HxRoisToLabels.h"
#include "roitools/ShownProgress.h"
#include "tests/roitools/exchange/ExchangeTest.h"
#include "tests/support/RecordingProgress.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

const McVec3i kGrid(40, 9, 20);

class RoisToLabels : public ExchangeTest {
protected:
  RoisToLabels() {
    HxRoisToLabels::initClass();
    HxUniformLabelField3ToHxRois::initClass();
    rois_ = new HxRois;
    rois_->setLabel("Rois");
    module_ = new HxRoisToLabels;
    module_->setLabel("Labels");
    EXPECT_TRUE(module_->dataConnection.connect(rois_.get()));
  }

  void addBar(const char* name, int x, int length, const McColor& color = McColor(0.25F, 0.5F, 1)) {
    const McHandle<Mask> mask = makeMask(name, kGrid, color);
    if (length > 0) draw(*mask, McVec3i(x, 1, 2), McVec3i(length, 2, 15));
    rois_->addRoi(mask);
  }

  HxUniformLabelField3* run() {
    module_->portDoIt.hit(0);
    module_->fire();
    return dynamic_cast<HxUniformLabelField3*>(module_->resultObject(0));
  }

  McHandle<HxRois> rois_;
  McHandle<HxRoisToLabels> module_;
};

TEST_F(RoisToLabels, ComeBackAsASet) {
  addBar("b", 10, 5, McColor(0.1F, 0.2F, 0.3F));
  addBar("a", 0, 10);
  addBar("Exterior", 20, 1);
  const HxGeometry3 geometry{{1, 2, 3}, {0.5, 1, 2}, {0, 1, 0, 1, 0, 0, 0, 0, -1}};
  ASSERT_TRUE(rois_->portData.connect(addField(kGrid, geometry)));
  HxUniformLabelField3* const field = run();
  ASSERT_TRUE(field);
  EXPECT_EQ(field->getLabel(), "Rois-labels");
  EXPECT_EQ(field->geometry(), geometry);
  EXPECT_EQ(field->value(12, 2, 5), 1);
  EXPECT_EQ(field->value(5, 1, 16), 2);
  EXPECT_EQ(field->value(20, 1, 2), 3);
  EXPECT_EQ(field->value(20, 3, 2), 0);
  EXPECT_THAT(messages_.consoleText(),
              HasSubstr("Rois: materials have other names than masks: Exterior -> Exterior-3"));

  const McHandle<HxUniformLabelField3ToHxRois> back(new HxUniformLabelField3ToHxRois);
  ASSERT_TRUE(back->dataConnection.connect(field));
  back->portDoIt.hit(0);
  back->fire();
  auto* const rois = dynamic_cast<HxRois*>(back->resultObject(0));
  ASSERT_TRUE(rois);
  rois_->getMask("Exterior")->setName("Exterior-3");
  expectEqual(*rois, *rois_);
}

TEST_F(RoisToLabels, RefuseOverlapsAndNameThem) {
  addBar("a", 0, 10);
  addBar("b", 8, 10);
  addBar("c", 17, 3);
  addBar("d", 30, 3);
  module_->portDoIt.hit(0);
  EXPECT_EQ(refusal([&] { module_->fire(); }),
            "Rois: a label field cannot hold masks that overlap; set \"overlaps\" to flatten them.\n"
            "a and b share 60 voxels\nb and c share 30 voxels");
  EXPECT_EQ(module_->resultObject(0), nullptr);
}

TEST_F(RoisToLabels, FlattenWhenTold) {
  addBar("a", 0, 10);
  addBar("b", 8, 10);
  module_->portOverlaps.setValue(HxRoisToLabels::Flattened);
  const HxUniformLabelField3* const field = run();
  ASSERT_TRUE(field);
  EXPECT_EQ(field->value(7, 1, 2), 1);
  EXPECT_EQ(field->value(8, 1, 2), 2) << "the last mask wins";
  EXPECT_THAT(messages_.consoleText(), HasSubstr("a and b share 60 voxels: the first loses them\n"));
}

TEST_F(RoisToLabels, TellEveryPairThatIsFlattened) {
  for (int i = 0; i < 20; ++i) addBar(("m" + std::to_string(i)).c_str(), i, 20);
  module_->portOverlaps.setValue(HxRoisToLabels::Flattened);
  ASSERT_TRUE(run());
  const QString text = QString::fromStdString(messages_.consoleText());
  EXPECT_EQ(text.count(": the first loses them\n"), 190);
  EXPECT_TRUE(text.contains("m18 and m19 share 570 voxels"));
}

TEST_F(RoisToLabels, TellWhatDoesNotComeBack) {
  addBar("a", 0, 10);
  addBar("empty", 0, 0);
  EXPECT_TRUE(run());
  EXPECT_THAT(messages_.consoleText(), HasSubstr("Rois: masks without voxels have a material, but no label: empty"));
  EXPECT_THAT(messages_.consoleText(), Not(HasSubstr("groups")));
  rois_->addRoi(new Group("g", McColor(), nullptr));
  EXPECT_TRUE(run());
  EXPECT_THAT(messages_.consoleText(), HasSubstr("Rois: labels have no groups; their masks stand alone: g"));
}

TEST_F(RoisToLabels, KeepTheFormerResultWhenInterrupted) {
  addBar("a", 0, 10);
  const HxUniformLabelField3* const field = run();
  RecordingProgress progress;
  progress.interruptAfter = 1;
  const ProgressScope scope(progress);
  const roitools::ShownProgress::EagerScope eager;
  module_->portDoIt.hit(0);
  EXPECT_EQ(refusal([&] { module_->fire(); }), "The conversion was interrupted.");
  EXPECT_EQ(module_->resultObject(0), field);
}

TEST_F(RoisToLabels, NeedASetWithMasks) {
  module_->portDoIt.hit(0);
  EXPECT_EQ(refusal([&] { module_->fire(); }), "Rois: the set has no masks, and thus no grid");
}

TEST_F(RoisToLabels, WorkInScripts) {
  addBar("a", 0, 10);
  addBar("b", 8, 10);
  HxObjectPool::instance().add(rois_, "rois");
  HxInterpreter& interpreter = HxInterpreter::instance();
  const auto error = interpreter.evaluate(
      "create HxRoisToLabels labels; labels data connect rois; labels overlaps setValue 1; labels doIt hit; labels "
      "fire;"
      "[labels getResult] getRange");
  EXPECT_FALSE(error) << error->message.toStdString();
  EXPECT_EQ(interpreter.result().toStdString(), "0.0 2.0");
}

}  // namespace
