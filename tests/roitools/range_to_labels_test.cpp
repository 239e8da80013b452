#include <QTemporaryDir>
#include <cmath>
#include <gmock/gmock.h>
#include <limits>
#include <numeric>

#include "hxroi/HxRois.h"
#include "hxroi/HxUniformLabelField3ToHxRois.h"
#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxPreferences.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/app/HxSettingsMgr.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "roitools/HxRangeToLabels.h"
#include "roitools/ShownProgress.h"
#include "tests/support/RecordingProgress.h"

namespace {

using hxroi::details::Group;
using hxroi::details::Mask;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Labels = std::vector<int>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

class RangeToLabels : public ::testing::Test {
protected:
  RangeToLabels() {
    HxApplication::instance()->settings()->getPreferences()->setTemporaryDirectory(folder_.path());
    for (auto* init : {&HxRois::initClass, &HxRangeToLabels::initClass, &HxUniformLabelField3ToHxRois::initClass})
      init();
    module_ = new HxRangeToLabels;
    module_->setLabel("Threshold");
  }
  ~RangeToLabels() override { HxObjectPool::instance().clear(); }

  /// A row of values.
  McHandle<HxUniformScalarField3> use(const std::vector<double>& values, McPrimType type = McPrimType::Float) {
    McHandle<HxUniformScalarField3> field(
        new HxUniformScalarField3(McDim3l(static_cast<std::int64_t>(values.size()), 1, 1), type));
    for (std::size_t i = 0; i < values.size(); ++i) field->setValue(static_cast<std::int64_t>(i), 0, 0, values[i]);
    field->setLabel("ct");
    EXPECT_TRUE(module_->dataConnection.connect(field));
    field_ = field;
    return field;
  }

  void setRange(double minimum, double maximum) {
    module_->portMinimum.setValue(minimum);
    module_->portMaximum.setValue(maximum);
  }

  HxUniformLabelField3& run() {
    module_->portDoIt.hit(0);
    module_->fire();
    return dynamic_cast<HxUniformLabelField3&>(*module_->resultObject(0));
  }

  static Labels labelsOf(const HxUniformLabelField3& field) {
    const std::uint8_t* labels = field.lattice().getLabels();
    return {labels, labels + field.voxelCount()};
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

  static Mask* newMask(const char* name, int first, int last, int size) {
    auto* mask = new Mask(name, McVec3i(size, 1, 1), false, McColor(), nullptr);
    mask->getBox(McVec3i(first, 0, 0), McVec3i(last - first + 1, 1, 1), hxroi::AccessMode(2)) = true;
    return mask;
  }

  QTemporaryDir folder_;
  HxRecordingSink messages_;
  McHandle<HxUniformScalarField3> field_;
  McHandle<HxRangeToLabels> module_;
};

TEST_F(RangeToLabels, PortsHaveNamesForScripts) {
  std::vector<std::string> names;
  for (const HxPort* port : module_->ports()) names.push_back(port->getName().toStdString());
  EXPECT_THAT(names, ElementsAre("data", "method", "minimum", "maximum", "rois", "mask", "doIt"));
}

TEST_F(RangeToLabels, BothBoundsAreInside) {
  use({1, 2, 3, 4, 5});
  setRange(2, 4);
  EXPECT_EQ(labelsOf(run()), Labels({0, 1, 1, 1, 0}));
  EXPECT_THAT(messages_.consoleText(), HasSubstr("ct: 3 of 5 voxels are inside 2 to 4."));
}

TEST_F(RangeToLabels, EveryTypeOfValues) {
  for (const McPrimType type : {McPrimType::Uint8, McPrimType::Int8, McPrimType::Uint16, McPrimType::Int16,
                                McPrimType::Uint32, McPrimType::Int32, McPrimType::Float, McPrimType::Double}) {
    use({0, 99, 100, 101, 127}, type);
    setRange(99.5, 101);
    EXPECT_EQ(labelsOf(run()), Labels({0, 0, 1, 1, 0})) << HxUniformScalarField3::primTypeName(type);
  }
  use({0, 4294967295.0, 4294967294.0}, McPrimType::Uint32);
  setRange(4294967295.0, kInfinity);
  EXPECT_EQ(labelsOf(run()), Labels({0, 1, 0}));
}

TEST_F(RangeToLabels, ABoundThatIsLeftOutIsNoBound) {
  use({-kInfinity, -1, 0, 1, kInfinity, std::nan("")});
  EXPECT_EQ(labelsOf(run()), Labels({1, 1, 1, 1, 1, 0})) << "what is not a number is never inside";
  setRange(0, kInfinity);
  EXPECT_EQ(labelsOf(run()), Labels({0, 0, 1, 1, 1, 0}));
}

TEST_F(RangeToLabels, AFieldLargerThanOneStretch) {
  const McHandle<HxUniformScalarField3> field(new HxUniformScalarField3(McDim3l(300, 200, 9), McPrimType::Int32));
  field->visitValues([&](auto* values) {
    for (std::int64_t i = 0; i < field->voxelCount(); ++i)
      values[i] = static_cast<std::remove_reference_t<decltype(*values)>>(i % 1000);
  });
  ASSERT_TRUE(module_->dataConnection.connect(field));
  setRange(10, 19);
  const HxUniformLabelField3& labels = run();
  std::int64_t wrong = 0;
  for (std::int64_t i = 0; i < field->voxelCount(); ++i)
    wrong += labels.lattice().getLabels()[i] != (i % 1000 >= 10 && i % 1000 <= 19);
  EXPECT_EQ(wrong, 0);
  EXPECT_THAT(messages_.consoleText(), HasSubstr("5400 of 540000 voxels"));
}

TEST_F(RangeToLabels, OtsuFindsTheLowerBound) {
  use({10, 12, 11, 80, 90, 13, 85});
  module_->portMethod.setValue(HxRangeToLabels::Otsu);
  setRange(1000, 0);  // says nothing here
  EXPECT_EQ(labelsOf(run()), Labels({0, 0, 0, 1, 1, 0, 1}));
  EXPECT_THAT(messages_.consoleText(), HasSubstr("ct: 3 of 7 voxels are inside 80 to inf."));
}

TEST_F(RangeToLabels, OtsuNeedsTwoValues) {
  use({5, 5, 5});
  module_->portMethod.setValue(HxRangeToLabels::Otsu);
  EXPECT_THAT(refusal(), HasSubstr("two different values"));
  EXPECT_EQ(module_->resultObject(0), nullptr);
}

TEST_F(RangeToLabels, OnlyInsideARoi) {
  use({1, 2, 3, 4, 5, 100});
  const McHandle<HxRois> rois(new HxRois);
  rois->setLabel("regions");
  rois->addRoi(newMask("Head", 1, 3, 6));
  ASSERT_TRUE(module_->portRois.connect(rois.get()));
  setRange(2, 100);
  EXPECT_EQ(labelsOf(run()), Labels({0, 1, 1, 1, 0, 0})) << "the only ROI needs no name";
  module_->portMethod.setValue(HxRangeToLabels::Otsu);
  EXPECT_EQ(labelsOf(run()), Labels({0, 0, 1, 1, 0, 0})) << "100 is not looked at";

  rois->addRoi(newMask("Tail", 5, 5, 6));
  EXPECT_EQ(refusal(), "Threshold: \"mask\" must name one of the ROIs of regions.");
  module_->portMask.setValue("Feet");
  EXPECT_EQ(refusal(), "Threshold: there is no ROI \"Feet\" in regions.");
  module_->portMethod.setValue(HxRangeToLabels::Range);
  module_->portMask.setValue("Tail");
  EXPECT_EQ(labelsOf(run()), Labels({0, 0, 0, 0, 0, 1}));
}

TEST_F(RangeToLabels, AGroupIsTheUnionOfItsMembers) {
  use({1, 1, 1, 1, 1, 1});
  const McHandle<HxRois> rois(new HxRois);
  const McHandle<Group> group(new Group("G", McColor(), nullptr));
  group->addMask(newMask("A", 0, 1, 6));
  group->addMask(newMask("B", 4, 4, 6));
  rois->addRoi(group.get());
  rois->addRoi(new Group("None", McColor(), nullptr));
  ASSERT_TRUE(module_->portRois.connect(rois.get()));
  module_->portMask.setValue("G");
  EXPECT_EQ(labelsOf(run()), Labels({1, 1, 0, 0, 1, 0}));
  module_->portMask.setValue("None");
  EXPECT_EQ(labelsOf(run()), Labels({0, 0, 0, 0, 0, 0}));
}

TEST_F(RangeToLabels, ARoiOfAnotherGridIsRefused) {
  use({1, 2, 3});
  const McHandle<HxRois> rois(new HxRois);
  rois->addRoi(newMask("Head", 1, 3, 6));
  ASSERT_TRUE(module_->portRois.connect(rois.get()));
  EXPECT_THAT(refusal(), HasSubstr("different dimension"));
}

TEST_F(RangeToLabels, TheResultLiesWhereTheFieldDoes) {
  HxGeometry3 geometry;
  geometry.origin = {10.1, 20, 30};
  geometry.voxelSize = {0.3, 1, 2};
  geometry.direction = {0, 1, 0, 1, 0, 0, 0, 0, -1};
  use({1, 2, 3})->setGeometry(geometry);
  EXPECT_EQ(run().geometry(), geometry);

  use({1, 2, 3});
  const McBox3f box(5, 8, 0, 1, -2, 2);
  field_->setBoundingBox(box);
  const HxUniformLabelField3& labels = run();
  EXPECT_EQ(labels.boundingBox(), box);
  EXPECT_EQ(labels.parameters.getBundle("Geometry"), nullptr);
}

TEST_F(RangeToLabels, MaterialsNameTheLabels) {
  use({1, 2, 3});
  run();
  const HxParamBundle& materials = *run().materials();
  ASSERT_EQ(materials.bundleCount(), 2);
  EXPECT_EQ(materials.getBundle(0)->name(), "Exterior");
  EXPECT_EQ(materials.getBundle(1)->name(), "Inside");
}

TEST_F(RangeToLabels, TheResultBecomesARoiSet) {
  use({1, 2, 3, 4});
  setRange(2, 3);
  const McHandle<HxUniformLabelField3ToHxRois> convert(new HxUniformLabelField3ToHxRois);
  ASSERT_TRUE(convert->dataConnection.connect(&run()));
  convert->portDoIt.hit(0);
  convert->fire();
  const auto* rois = dynamic_cast<HxRois*>(convert->resultObject(0));
  ASSERT_NE(rois, nullptr);
  ASSERT_EQ(rois->getNumberOfRois(), 1U);
  EXPECT_EQ(rois->getMask("Inside")->getBoundingBox(), McBox3i(1, 2, 0, 0, 0, 0));
}

TEST_F(RangeToLabels, RunningAgainRefillsTheSameField) {
  use({1, 2, 3, 4});
  const HxUniformLabelField3* before = &run();
  use({7, 8});
  setRange(8, 9);
  HxUniformLabelField3& labels = run();
  EXPECT_EQ(&labels, before);
  EXPECT_EQ(labelsOf(labels), Labels({0, 1}));
}

TEST_F(RangeToLabels, RunningAgainKeepsNamesAndColours) {
  use({1, 2, 3, 4});
  HxParamBundle& inside = *run().materials()->getBundle(1);
  inside.setMaterialColor(McColor(1, 0, 0.5F));
  inside.set("Comment", QStringLiteral("mine"));
  setRange(2, 3);
  const HxParamBundle& materials = *run().materials();
  ASSERT_EQ(materials.bundleCount(), 2);
  McColor color;
  EXPECT_TRUE(materials.getBundle(1)->getMaterialColor(color));
  EXPECT_EQ(color, McColor(1, 0, 0.5F));
  EXPECT_TRUE(materials.getBundle(1)->findBase("Comment"));
}

TEST_F(RangeToLabels, BoundsTheWrongWayRoundAreRefused) {
  use({1, 2});
  setRange(2.5, 1);
  EXPECT_EQ(refusal(), "Threshold: \"minimum\" 2.5 is above \"maximum\" 1.");
}

TEST_F(RangeToLabels, SaysWhenNoFieldIsConnectedAndDoesNothingUnlessHit) {
  module_->fire();
  EXPECT_EQ(module_->resultObject(0), nullptr);
  EXPECT_EQ(refusal(), "Threshold: no field is connected to \"data\".");
}

TEST_F(RangeToLabels, KeepsTheFormerResultWhenInterrupted) {
  use({1, 2, 3});
  setRange(2, 3);
  HxUniformLabelField3& before = run();
  setRange(1, 1);
  RecordingProgress progress;
  progress.interruptAfter = 0;
  const ProgressScope scope(progress);
  EXPECT_EQ(refusal(), "The work was interrupted.");
  EXPECT_EQ(progress.calls, (std::vector<std::string>{"start Labelling", "stop"}));
  progress.calls.clear();
  progress.interruptAfter = 0;
  module_->portMethod.setValue(HxRangeToLabels::Otsu);
  EXPECT_EQ(refusal(), "The work was interrupted.");
  EXPECT_EQ(progress.calls, (std::vector<std::string>{"start Finding the threshold", "stop"}));
  EXPECT_EQ(module_->resultObject(0), &before);
  EXPECT_EQ(labelsOf(before), Labels({0, 1, 1}));
}

TEST_F(RangeToLabels, WorksByScript) {
  HxObjectPool::instance().add(use({1, 2, 3, 4}), "ct");
  HxInterpreter& interpreter = HxInterpreter::instance();
  const auto error = interpreter.evaluate(
      "create HxRangeToLabels t; t data connect ct; t method setValue range; t minimum setValue 2;"
      "t maximum setValue 3.5; t doIt hit; t fire; t getResult");
  ASSERT_FALSE(error) << error->message.toStdString();
  EXPECT_EQ(interpreter.result(), "ct-labels");
  const auto* labels = dynamic_cast<HxUniformLabelField3*>(HxObjectPool::instance().find("ct-labels"));
  ASSERT_NE(labels, nullptr);
  EXPECT_EQ(labelsOf(*labels), Labels({0, 1, 1, 0}));
}

}  // namespace
