#include "SelectorTest.h"
#include "hxroi/HxRoisProviderFromHxUniformLabelField3.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "tests/support/RecordingProgress.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

/// Notes the marks that reach it.
class Watcher : public HxObject {
public:
  Watcher() : input(this, "input", "Input", HxRoiSelector::getClassTypeId()) {}

  void update() override { marks.push_back(input.getNewFlags()); }

  HxConnection input;
  std::vector<unsigned int> marks;
};

class RoiSelector : public SelectorTest {
protected:
  /// Has the selector watched from now on.
  Watcher& watch() {
    watcher = new Watcher;
    EXPECT_TRUE(watcher->input.connect(selector));
    watcher->fire();
    watcher->marks.clear();
    return *watcher;
  }

  /// One mask more than a set can have.
  static McHandle<HxUniformLabelField3> tooManyLabels() {
    std::vector<std::uint8_t> labels(103);
    for (std::size_t i = 0; i < labels.size(); ++i) labels[i] = static_cast<std::uint8_t>(i);
    auto field = makeLabels({103, 1, 1}, labels);
    offerRois(field);
    return field;
  }

  static std::string evaluate(const QString& script) {
    HxInterpreter& interpreter = HxInterpreter::instance();
    if (const auto error = interpreter.evaluate(script)) return "error: " + error->message.toStdString();
    return interpreter.result().toStdString();
  }

  McHandle<Watcher> watcher;
};

// --- Ports and sources --------------------------------------------------------------------------------------------

TEST_F(RoiSelector, Ports) {
  std::vector<std::string> ports;
  for (const HxPort* port : selector->ports())
    ports.push_back(port->getName().toStdString() + "/" + port->getLabel().toStdString());
  EXPECT_THAT(ports, ElementsAre("master/Master", "data/Data", "roiVisibility/Roi Visibility"));
  EXPECT_EQ(selector->portRoiVisibility.getTypeId(), HxPortRoiTreeView::getClassTypeId());
  QString state;
  selector->portRoiVisibility.getState(state);
  EXPECT_EQ(state, "visibility") << "the kind of a selector";
}

TEST_F(RoiSelector, TakesSetsAndWhatProvidesThem) {
  const auto field = makeLabels({3, 1, 1}, {0, 1, 2});
  EXPECT_FALSE(selector->portData.connect(field)) << "it offers no set yet";
  offerRois(field);
  EXPECT_TRUE(selector->portData.connect(field));
  EXPECT_TRUE(selector->portData.connect(rois));
  EXPECT_EQ(selector->getHxRois(), rois.get());
  const McHandle<HxColormap> colormap(new HxColormap);
  EXPECT_FALSE(selector->portData.connect(colormap));
  EXPECT_FALSE(selector->portData.connect(selector));
  EXPECT_EQ(selector->portData.source(), rois.get());
}

TEST_F(RoiSelector, OnNothingShowsNothing) {
  selector->fire();
  EXPECT_EQ(selector->getHxRois(), nullptr);
  EXPECT_THAT(visibleNames(), IsEmpty());
  EXPECT_FALSE(selector->portRoiVisibility.isVisible());
}

TEST_F(RoiSelector, OnASetWithoutRoisShowsAnEmptyTree) {
  show(rois);
  EXPECT_THAT(visibleNames(), IsEmpty());
  EXPECT_TRUE(selector->portRoiVisibility.isVisible());
}

TEST_F(RoiSelector, ShowsEveryMaskAtFirst) {
  showSet();
  EXPECT_THAT(visibleNames(), ElementsAre("A", "B", "C", "D"));
  EXPECT_TRUE(selector->portRoiVisibility.isVisible());
  selector->portData.disconnect();
  selector->fire();
  EXPECT_THAT(visibleNames(), IsEmpty());
  EXPECT_FALSE(selector->portRoiVisibility.isVisible());
  EXPECT_EQ(selector->portRoiVisibility.getHxRois(), nullptr);
}

// --- The choice ---------------------------------------------------------------------------------------------------

TEST_F(RoiSelector, FollowsTheCheckBoxes) {
  showSet();
  setVisible("A", false);
  setVisible("C", false);
  EXPECT_THAT(visibleNames(), ElementsAre("B", "D"));
  setVisible("G", false);
  EXPECT_THAT(visibleNames(), ElementsAre("D"));
  setVisible("A", true);
  setVisible("G", true);
  EXPECT_THAT(visibleNames(), ElementsAre("A", "B", "D"));
  selector->portRoiVisibility.setAllRoisVisible(true);
  EXPECT_THAT(visibleNames(), ElementsAre("A", "B", "D")) << "nothing was evaluated yet";
  selector->fire();
  EXPECT_THAT(visibleNames(), ElementsAre("A", "B", "C", "D"));
}

TEST_F(RoiSelector, GathersGroupsAndMasksInOrder) {
  showSet();
  setVisible("B", false);
  selector->gatherMasks(rois);
  EXPECT_THAT(visibleNames(), ElementsAre("A", "C", "D", "A", "C", "D")) << "they are appended";
}

TEST_F(RoiSelector, FollowsTheSet) {
  showSet();
  setVisible("A", false);
  addMask("E");
  rois->fire();
  EXPECT_THAT(visibleNames(), ElementsAre("B", "C", "D")) << "a new mask is not visible";
  setVisible("E", true);
  EXPECT_THAT(visibleNames(), ElementsAre("B", "C", "D", "E"));
  rois->removeRoi("D");
  rois->getMask("A")->setName("First");
  rois->fire();
  EXPECT_THAT(visibleNames(), ElementsAre("B", "C", "E"));
  setVisible("First", true);
  EXPECT_THAT(visibleNames(), ElementsAre("First", "B", "C", "E"));
}

TEST_F(RoiSelector, KeepsTheChoiceWhenLooksChange) {
  showSet();
  setVisible("A", false);
  const McHandle<HxColormap> colormap(new HxColormap);
  rois->getMask("A")->setAlphaEnabled(false);
  rois->getMask("D")->setColor(McColor(0, 0, 1));
  rois->getMask("D")->setColormap(colormap);
  rois->getMask("D")->setColormapRange({2, 3});
  fill(*rois->getMask("D"), {0, 0, 0}, {2, 2, 2});
  rois->fire();
  EXPECT_THAT(visibleNames(), ElementsAre("B", "C", "D"));
}

TEST_F(RoiSelector, AnotherSetIsShownWhole) {
  showSet();
  setVisible("A", false);
  const McHandle<HxRois> other(new HxRois);
  other->addRoi(makeMask("A", {5, 5, 5}));
  other->addRoi(makeMask("X", {5, 5, 5}));
  show(other);
  EXPECT_THAT(visibleNames(), ElementsAre("A", "X"));
  EXPECT_EQ(selector->getVisibleMasks()[0], other->getMask("A"));
  show(rois);
  EXPECT_THAT(visibleNames(), ElementsAre("A", "B", "C", "D"));
}

TEST_F(RoiSelector, TwoOfThemChooseForThemselves) {
  showSet();
  const McHandle<HxRoiSelector> second(new HxRoiSelector);
  ASSERT_TRUE(second->portData.connect(rois));
  second->fire();
  setVisible("A", false);
  second->portRoiVisibility.setRoiVisible(false, "G");
  second->fire();
  EXPECT_THAT(visibleNames(), ElementsAre("B", "C", "D"));
  EXPECT_THAT(namesOf(*second), ElementsAre("A", "D"));
  addMask("E");
  rois->fire();
  EXPECT_THAT(visibleNames(), ElementsAre("B", "C", "D"));
  EXPECT_THAT(namesOf(*second), ElementsAre("A", "D"));
}

TEST_F(RoiSelector, ShowsAHundredMasks) {
  for (int i = 0; i < 100; ++i) addMask("M" + std::to_string(i));
  show(rois);
  EXPECT_EQ(selector->getVisibleMasks().size(), 100U);
  setVisible("M50", false);
  const auto& visible = selector->getVisibleMasks();
  ASSERT_EQ(visible.size(), 99U);
  EXPECT_EQ(visible[50]->name(), "M51");
}

TEST_F(RoiSelector, OutlivesItsSet) {
  showSet();
  rois.reset();
  EXPECT_EQ(selector->getHxRois(), nullptr);
  EXPECT_EQ(selector->portData.source(), nullptr);
  selector->fire();
  EXPECT_THAT(visibleNames(), IsEmpty());
  EXPECT_FALSE(selector->portRoiVisibility.isVisible());
  QString state;
  selector->portRoiVisibility.getState(state);
  EXPECT_EQ(state, "visibility");
}

// --- Marks --------------------------------------------------------------------------------------------------------

TEST_F(RoiSelector, HandsMarksOn) {
  showSet();
  Watcher& watching = watch();
  rois->getMask("A")->setColor(McColor(0, 0, 1));
  rois->fire();
  rois->getMask("A")->setAlphaEnabled(false);
  rois->fire();
  setVisible("A", false);
  fill(*rois->getMask("A"), {0, 0, 0}, {2, 2, 2});
  rois->fire();
  ASSERT_EQ(watching.marks.size(), 4U);
  EXPECT_EQ(watching.marks[0], 128U);
  EXPECT_EQ(watching.marks[1], 4U) << "bit 1 of the alpha flag is no new connection";
  EXPECT_EQ(watching.marks[2], 1024U);
  EXPECT_EQ(watching.marks[3], 8U | 1024U) << "what is shown may have changed";
}

TEST_F(RoiSelector, TouchTimeIsThatOfWhatIsVisible) {
  showSet();
  const std::uint32_t before = selector->getTouchTime();
  rois->getMask("A")->setColor(McColor(0, 0, 1));
  rois->fire();
  selector->fire();
  EXPECT_EQ(selector->getTouchTime(), before);
  setVisible("A", false);
  EXPECT_NE(selector->getTouchTime(), before);
}

TEST_F(RoiSelector, NeverNeedsSaving) {
  showSet();
  setVisible("A", false);
  selector->touch(0xFFFFFFFF);
  EXPECT_FALSE(selector->isModified());
  selector->setModified(0xFFFFFFFF);
  EXPECT_FALSE(selector->isModified());
}

TEST_F(RoiSelector, CatchesUpAlone) {
  showSet();
  Watcher& watching = watch();
  selector->catchUp();
  selector->portRoiVisibility.setRoiVisible(false, "A");
  EXPECT_THAT(visibleNames(), ElementsAre("A", "B", "C", "D"));
  selector->catchUp();
  EXPECT_THAT(visibleNames(), ElementsAre("B", "C", "D"));
  EXPECT_THAT(watching.marks, IsEmpty());
  watching.fire();
  EXPECT_THAT(watching.marks, ElementsAre(1024U));
}

TEST_F(RoiSelector, CatchesUpWithASetThatChangedMeanwhile) {
  showSet();
  Watcher& watching = watch();
  rois->removeRoi("A");
  rois->addRoi(rois->mergeMasks("B", {"D"}));
  selector->catchUp();
  EXPECT_THAT(visibleNames(), ElementsAre("B", "C", "D"));
  EXPECT_EQ(renderer->getVisibleVolumeMask().size(), 3U);
  EXPECT_FALSE(rois->isNew());
  EXPECT_THAT(watching.marks, IsEmpty());
  selector->catchUp();
  EXPECT_THAT(watching.marks, IsEmpty());
  rois->fire();
  ASSERT_EQ(watching.marks.size(), 1U) << "what is connected hears of it when the set is evaluated for all";
  EXPECT_NE(watching.marks[0] & 1024U, 0U);
}

// --- Through a provider -------------------------------------------------------------------------------------------

TEST_F(RoiSelector, ShowsTheSetOfALabelField) {
  RecordingProgress progress;
  const ProgressScope scope(progress);
  const auto field = boneAndMuscle();
  show(field);
  const auto conversions = [&] { return std::count(progress.calls.begin(), progress.calls.end(), "done"); };
  EXPECT_EQ(conversions(), 1);
  EXPECT_THAT(visibleNames(), ElementsAre("Bone", "Muscle"));
  EXPECT_EQ(selector->getHxRois(), mcinterface_cast<HxRoisProviderInterface>(field)->getHxRois());

  setVisible("Bone", false);
  field->lattice().getLabels()[0] = 7;
  field->notifyChanged();
  field->fire();
  EXPECT_EQ(conversions(), 1);
  EXPECT_THAT(visibleNames(), ElementsAre("Muscle"));
}

TEST_F(RoiSelector, ShowsWhatAFailedConversionHasMade) {
  const auto field = tooManyLabels();
  ASSERT_TRUE(selector->portData.connect(field));
  EXPECT_THAT(refusalOf([&] { selector->fire(); }), HasSubstr("Labels left out: 101"));
  EXPECT_EQ(selector->getVisibleMasks().size(), 100U);
  selector->fire();
  EXPECT_EQ(selector->getVisibleMasks().size(), 100U);
}

TEST_F(RoiSelector, AFailedConversionReachesWhatIsConnected) {
  showSet();
  Watcher& watching = watch();
  const std::uint32_t before = selector->getTouchTime();
  const auto field = tooManyLabels();
  ASSERT_TRUE(selector->portData.connect(field));
  EXPECT_THAT(refusalOf([&] { selector->fire(); }), HasSubstr("Labels left out: 101"));
  ASSERT_EQ(watching.marks.size(), 1U);
  EXPECT_NE(watching.marks[0] & 1024U, 0U);
  EXPECT_EQ(watching.marks[0] & 1U, 0U) << "its own connection is the same";
  EXPECT_NE(selector->getTouchTime(), before);
}

TEST_F(RoiSelector, AFailedConversionWaitsForWhatIsConnectedWhenItCatchesUp) {
  showSet();
  Watcher& watching = watch();
  const auto field = tooManyLabels();
  ASSERT_TRUE(selector->portData.connect(field));
  EXPECT_THAT(refusalOf([&] { selector->catchUp(); }), HasSubstr("Labels left out: 101"));
  EXPECT_THAT(watching.marks, IsEmpty());
  watching.fire();
  ASSERT_EQ(watching.marks.size(), 1U);
  EXPECT_NE(watching.marks[0] & 1024U, 0U);
}

TEST_F(RoiSelector, AFailedConversionLosesNoChoice) {
  const auto field = tooManyLabels();
  ASSERT_TRUE(selector->portData.connect(field));
  QString saved;
  EXPECT_THAT(refusalOf([&] { selector->fire(); }), HasSubstr("Labels left out: 101"));
  const std::vector<std::string> all = visibleNames();
  setVisible(all[7].c_str(), false);
  selector->portRoiVisibility.getState(saved);

  const auto again = tooManyLabels();
  ASSERT_TRUE(selector->portData.connect(again));
  EXPECT_THAT(refusalOf([&] { selector->portRoiVisibility.setState(saved); }), HasSubstr("Labels left out: 101"));
  selector->fire();
  std::vector<std::string> chosen = all;
  chosen.erase(chosen.begin() + 7);
  EXPECT_EQ(visibleNames(), chosen);
}

TEST_F(RoiSelector, AFieldThatCannotBeConvertedShowsNothing) {
  RecordingProgress progress;
  const ProgressScope scope(progress);
  const auto field = boneAndMuscle();
  progress.interruptAfter = 0;
  ASSERT_TRUE(selector->portData.connect(field));
  EXPECT_EQ(refusalOf([&] { selector->fire(); }), "The conversion was interrupted.");
  EXPECT_THAT(visibleNames(), IsEmpty());
  EXPECT_EQ(selector->getHxRois(), nullptr);
  EXPECT_TRUE(selector->portRoiVisibility.isVisible()) << "a source is connected";
}

// --- States and scripts -------------------------------------------------------------------------------------------

TEST_F(RoiSelector, StatesKeepTheChoice) {
  showSet();
  setVisible("A", false);
  setVisible("C", false);
  QString state;
  selector->portRoiVisibility.getState(state);
  const auto id = [this](const char* name) { return QString::fromStdString(rois->getRoi(name)->id()); };
  EXPECT_EQ(state, QString("visibility %1 0 %2 1 %3 1 %4 0 %5 1").arg(id("A"), id("G"), id("B"), id("C"), id("D")));

  const McHandle<HxRoiSelector> second(new HxRoiSelector);
  ASSERT_TRUE(second->portData.connect(rois));
  EXPECT_TRUE(second->portRoiVisibility.setState(state)) << "its first look at the set comes before";
  second->fire();
  EXPECT_THAT(namesOf(*second), ElementsAre("B", "D"));
}

TEST_F(RoiSelector, StatesOfAProvidedSetKeepNames) {
  const auto field = boneAndMuscle();
  show(field);
  setVisible("Bone", false);
  QString state;
  selector->portRoiVisibility.getState(state);
  EXPECT_EQ(state, "visibility Bone 0 Muscle 1");

  const auto again = boneAndMuscle();
  ASSERT_TRUE(selector->portData.connect(again));
  selector->portRoiVisibility.setState(state);
  selector->fire();
  EXPECT_THAT(visibleNames(), ElementsAre("Muscle"));
}

TEST_F(RoiSelector, StatesOfAProvidedSetKeepNamesWhateverTheIdentifiers) {
  const auto field = boneAndMuscle();
  HxRois& made = *mcinterface_cast<HxRoisProviderInterface>(field)->getHxRois();
  made.getRoi("Bone")->setId("1");
  made.getRoi("Muscle")->setId("visibility");
  show(field);
  setVisible("Bone", false);
  QString state;
  selector->portRoiVisibility.getState(state);
  EXPECT_EQ(state, "visibility Bone 0 Muscle 1");
}

TEST_F(RoiSelector, StatesOfASetFromAFileWithoutIdentifiersKeepNames) {
  const auto fromFile = [this] {
    const McHandle<HxRois> set(new HxRois);
    set->addRoi(makeMask("A"));
    set->addRoi(makeGroup("G", {"B", "C"}));
    set->setLoadCmd("/folder/masks.seg.nrrd");
    return set;
  };
  const McHandle<HxRois> first = fromFile(), again = fromFile();
  show(first);
  setVisible("B", false);
  QString state;
  selector->portRoiVisibility.getState(state);
  EXPECT_EQ(state, "visibility A 1 G 1 B 0 C 1");
  ASSERT_TRUE(selector->portData.connect(again));
  selector->portRoiVisibility.setState(state);
  selector->fire();
  EXPECT_THAT(visibleNames(), ElementsAre("A", "C"));

  again->setLoadCmd("/folder/masks.ROIs.qm");
  selector->portRoiVisibility.setState(state);
  selector->fire();
  EXPECT_THAT(visibleNames(), ElementsAre("A")) << "in a set file masks of groups are known by their identifiers";
}

TEST_F(RoiSelector, HasNoStateBeforeItsFirstLookAtTheSet) {
  addMask("A");
  rois->fire();
  ASSERT_TRUE(selector->portData.connect(rois));
  QString state;
  selector->portRoiVisibility.getState(state);
  EXPECT_EQ(state, QString()) << "it would hide all when it is loaded";
  selector->fire();
  const auto wanted = [](HxRois& set) {
    return QString("visibility %1 1").arg(QString::fromStdString(set.getRoi("A")->id()));
  };
  selector->portRoiVisibility.getState(state);
  EXPECT_EQ(state, wanted(*rois));

  const McHandle<HxRois> other(new HxRois);
  other->addRoi(makeMask("A", {5, 5, 5}));
  ASSERT_TRUE(selector->portData.connect(other));
  state.clear();
  selector->portRoiVisibility.getState(state);
  EXPECT_EQ(state, QString()) << "the choice is that of the former set";
  selector->fire();
  selector->portRoiVisibility.getState(state);
  EXPECT_EQ(state, wanted(*other));
}

TEST_F(RoiSelector, ScriptsChooseMasksThatHaveJustCome) {
  addMask("A");
  addMask("B");
  HxObjectPool::instance().add(rois, "atlas");
  HxObjectPool::instance().add(selector, "sel");
  EXPECT_EQ(evaluate("sel data connect atlas; sel fire; atlas mergeMasks A B"), "");
  EXPECT_EQ(evaluate("sel roiVisibility isRoiVisible A-merged"), "0") << "a new mask is not visible";
  EXPECT_EQ(evaluate("atlas removeRois A-merged; atlas mergeMasks A B; sel roiVisibility setRoiVisible A-merged 1"),
            "");
  EXPECT_EQ(evaluate("sel roiVisibility isRoiVisible A-merged"), "1");
  EXPECT_EQ(evaluate("sel fire"), "");
  EXPECT_THAT(visibleNames(), ElementsAre("A", "B", "A-merged"));
}

TEST_F(RoiSelector, WorksFromScripts) {
  addMask("A");
  addMask("B");
  HxObjectPool::instance().add(rois, "atlas");
  HxObjectPool::instance().add(selector, "sel");
  EXPECT_EQ(evaluate("sel data connect atlas; sel roiVisibility setRoiVisible A 0; sel roiVisibility isRoiVisible A"),
            "0");
  EXPECT_EQ(evaluate("sel roiVisibility isRoiVisible B"), "1");
  EXPECT_EQ(evaluate("sel fire"), "");
  EXPECT_THAT(visibleNames(), ElementsAre("B"));
  EXPECT_THAT(evaluate("sel roiVisibility setRoiVisible A"), HasSubstr("error"));
  EXPECT_THAT(console.consoleText(), HasSubstr("syntax: setRoiVisible <name_or_id> <new_visibility>"));
  EXPECT_EQ(evaluate("remove atlas; sel roiVisibility isRoiVisible B"), "0");
  EXPECT_EQ(selector->getHxRois(), nullptr);
}

}  // namespace
