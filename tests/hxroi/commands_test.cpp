#include "RoisCommandsTest.h"
#include "hxroi/details/Roi.h"
#include "quarn/base/McBox3f.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/script/HxCommands.h"
#include "quarn/kernel/script/HxInterpreter.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

/// Cannot be put back into a set.
class OnceOnlyMask : public hxroi::details::Mask {
public:
  explicit OnceOnlyMask(const std::string& name) : Mask(name, {13, 11, 7}, false, McColor(), nullptr) {}
  void notifyAddedToHxRois(HxRois* set) override {
    if (entered_) throw McException(name() + " enters once only");
    entered_ = true;
    Mask::notifyAddedToHxRois(set);
  }

private:
  bool entered_ = false;
};

TEST_F(RoisCommands, Dimensions) {
  EXPECT_EQ(run({"getDimensions"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("Can not query roi dimension with no masks inserted."));
  EXPECT_THAT(result, IsEmpty());
  addMask("A", {64, 32, 16});
  EXPECT_EQ(run({"getDimensions"}), TCL_OK);
  EXPECT_THAT(result, ElementsAre("64", "32", "16"));
  EXPECT_THAT(console.consoleEntries, IsEmpty());
  EXPECT_EQ(run({"getDimensions", "whatever"}), TCL_OK);
}

TEST_F(RoisCommands, BoundingBoxOfAMask) {
  fill(*addMask("A", {10, 20, 30}), {1, 2, 3}, {4, 5, 6});
  const McHandle<HxUniformScalarField3> field(new HxUniformScalarField3(McDim3l(10, 20, 30), McPrimType::Uint8));
  field->setBoundingBox(McBox3f(0, 18, 0, 19, -29, 0));
  ASSERT_TRUE(rois->portData.connect(field));
  EXPECT_EQ(run({"getMaskBoundingBox", "A"}), TCL_OK);
  EXPECT_THAT(result, ElementsAre("1.000000", "7.000000", "1.500000", "5.500000", "-26.500000", "-21.500000"));
}

TEST_F(RoisCommands, BoundingBoxWithoutAField) {
  fill(*addMask("A"), {0, 0, 0}, {1, 1, 1});
  EXPECT_EQ(run({"getMaskBoundingBox", "A"}), TCL_OK);
  EXPECT_EQ(result.size(), 6U);
}

TEST_F(RoisCommands, BoundingBoxRefusals) {
  rois->addRoi(makeGroup("G"));
  EXPECT_EQ(run({"getMaskBoundingBox", "Missing"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("no such mask Missing"));
  EXPECT_EQ(run({"getMaskBoundingBox", "G"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("no such mask G"));
  EXPECT_EQ(run({"getMaskBoundingBox"}), TCL_ERROR);
  EXPECT_THAT(result, IsEmpty());
  EXPECT_EQ(run({"getMaskBoundingBox", "A", "B"}), TCL_ERROR);
}

TEST_F(RoisCommands, VoxelsOfAMask) {
  fill(*addMask("Bone"), {2, 3, 4}, {5, 4, 1});
  addMask("Empty");
  EXPECT_EQ(run({"getMaskVoxelCount", "Bone"}), TCL_OK);
  EXPECT_THAT(result, ElementsAre("20"));
  EXPECT_EQ(run({"getMaskVoxelBox", "Bone"}), TCL_OK);
  EXPECT_THAT(result, ElementsAre("2", "6", "3", "6", "4", "4"));
  EXPECT_EQ(run({"getMaskVoxelCount", "Empty"}), TCL_OK);
  EXPECT_THAT(result, ElementsAre("0"));
  EXPECT_EQ(run({"getMaskVoxelBox", "Empty"}), TCL_OK);
  EXPECT_THAT(result, IsEmpty());
  EXPECT_EQ(run({"getMaskVoxelCount", "Nobody"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("no such mask Nobody"));
  EXPECT_EQ(run({"getMaskVoxelBox"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("syntax: getMaskVoxelBox <mask>"));
}

TEST_F(RoisCommands, NamesOfMasksAndTopLevelRois) {
  EXPECT_EQ(run({"allMasks"}), TCL_OK);
  EXPECT_THAT(result, IsEmpty());
  addMask("A");
  rois->addRoi(makeGroup("G", {"B"}));
  addMask("C");
  EXPECT_EQ(run({"allMasks", "ignored"}), TCL_OK);
  EXPECT_THAT(result, ElementsAre("A", "B", "C"));
  EXPECT_EQ(run({"firstLevelRois"}), TCL_OK);
  EXPECT_THAT(result, ElementsAre("A", "G", "C"));
}

TEST_F(RoisCommands, MergeAndSubtractInsertTheirResult) {
  fill(*addMask("A"), {0, 0, 0}, {2, 2, 2});
  fill(*addMask("B"), {1, 1, 1}, {2, 2, 2});
  EXPECT_EQ(run({"mergeMasks", "A", "B"}), TCL_OK);
  EXPECT_EQ(run({"substractMasks", "A", "B"}), TCL_OK);
  EXPECT_THAT(topLevelNames(), ElementsAre("A", "B", "A-merged", "A-substracted"));
  EXPECT_EQ(count(*rois->getMask("A-merged")), 15U);
  EXPECT_EQ(count(*rois->getMask("A-substracted")), 7U);
  EXPECT_THAT(console.consoleEntries, IsEmpty());
}

TEST_F(RoisCommands, MergeAndSubtractTellTheirSyntax) {
  addMask("A");
  EXPECT_EQ(run({"mergeMasks", "A"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("syntax: mergeMasks <toMask> <masks...>"));
  EXPECT_EQ(run({"substractMasks", "A"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("syntax: substractMasks <fromMask> <masks...>"));
  EXPECT_THAT(result, IsEmpty());
}

TEST_F(RoisCommands, MergeAndSubtractPrintRefusals) {
  addMask("A");
  for (const char* command : {"mergeMasks", "substractMasks"}) {
    EXPECT_EQ(run({command, "A", "Missing"}), TCL_ERROR);
    EXPECT_THAT(console.consoleEntries, ElementsAre("atlas does not contains a mask named Missing."));
  }
  for (int i = 1; i < 100; ++i) addMask("m" + std::to_string(i));
  EXPECT_EQ(run({"mergeMasks", "A", "m1"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries,
              ElementsAre("There is already 100 masks inside atlas. No more mask can be inserted."));
  EXPECT_EQ(rois->getNumberOfRois(), 100U);
}

TEST_F(RoisCommands, RefusalsAreNoFormats) {
  rois->setLabel("100%s %n");
  addMask("A");
  EXPECT_EQ(run({"mergeMasks", "A", "%d%1"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("100%s %n does not contains a mask named %d%1."));
}

TEST_F(RoisCommands, RemoveRois) {
  for (const char* name : {"A", "B", "C"}) addMask(name);
  EXPECT_EQ(run({"removeRois"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("syntax: removeRois <roiName...>"));
  EXPECT_EQ(run({"removeRois", "C", "A"}), TCL_OK);
  EXPECT_THAT(topLevelNames(), ElementsAre("B"));
}

TEST_F(RoisCommands, RemoveRoisIsAllOrNothing) {
  for (const char* name : {"A", "B", "C"}) addMask(name);
  EXPECT_EQ(run({"removeRois", "B", "A", "Missing"}), TCL_ERROR);
  EXPECT_THAT(topLevelNames(), ElementsAre("C", "B", "A"));
  EXPECT_THAT(console.consoleEntries, IsEmpty());
  EXPECT_THAT(result, IsEmpty());
}

TEST_F(RoisCommands, RemoveRoisPutsColormapsBack) {
  const McHandle<HxColormap> colormap(new HxColormap);
  addMask("A")->setColormap(colormap);
  rois->addRoi(makeGroup("G"));
  rois->getGroup("G")->setColormap(colormap);
  EXPECT_EQ(run({"removeRois", "A", "G", "Missing"}), TCL_ERROR);
  EXPECT_EQ(rois->getMask("A")->colormap(false), colormap.get());
  EXPECT_EQ(rois->getGroup("G")->colormap(false), colormap.get());
}

TEST_F(RoisCommands, RemoveRoisPutsTheOthersBackWhenOneIsRefused) {
  const McHandle<Mask> once(new OnceOnlyMask("A"));
  rois->addRoi(once);
  addMask("B");
  EXPECT_EQ(run({"removeRois", "A", "B", "Missing"}), TCL_ERROR);
  EXPECT_THAT(topLevelNames(), ElementsAre("B"));
  EXPECT_THAT(console.consoleEntries, ElementsAre("A enters once only"));
}

TEST_F(RoisCommands, RemoveRoisKnowsTopLevelRoisOnly) {
  addMask("A");
  rois->addRoi(makeGroup("G", {"B"}));
  EXPECT_EQ(run({"removeRois", "A", "B"}), TCL_ERROR);
  EXPECT_THAT(topLevelNames(), ElementsAre("G", "A"));
  EXPECT_EQ(rois->getNumberOfMasks(), 2U);
}

TEST_F(RoisCommands, Identifiers) {
  addMask("A");
  rois->addRoi(makeGroup("G", {"B"}));
  EXPECT_EQ(run({"getId"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("syntax: getId <roiName>"));
  EXPECT_EQ(run({"getId", "Missing"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("Roi Missing doesn't exist"));
  for (const char* name : {"A", "G", "B"}) {
    EXPECT_EQ(run({"getId", name, "more", "words"}), TCL_OK);
    EXPECT_THAT(result, ElementsAre(rois->getRoi(name)->id()));
  }
}

TEST_F(RoisCommands, ARoiShadowsACommand) {
  addMask("allMasks");
  EXPECT_EQ(run({"allMasks"}), TCL_OK);
  EXPECT_THAT(result, IsEmpty());
  EXPECT_THAT(console.consoleText(), HasSubstr("parameters"));
}

TEST_F(RoisCommands, TheRestOfTheWordsGoesToTheRoi) {
  addMask("A")->setProperty("key", 7);
  EXPECT_EQ(run({"A", "parameters", "get", "key"}), TCL_OK);
  EXPECT_THAT(result, ElementsAre("7"));
  rois->addRoi(makeGroup("G", {"B"}));
  rois->getMask("B")->setProperty("key", 8);
  EXPECT_EQ(run({"B", "parameters", "get", "key"}), TCL_OK);
  EXPECT_THAT(result, ElementsAre("8"));
  EXPECT_EQ(run({"A", "nonsense"}), TCL_ERROR);
}

TEST_F(RoisCommands, ARoiAloneIsAskedForHelp) {
  addMask("A");
  EXPECT_EQ(run({"A"}), TCL_OK);
  EXPECT_THAT(console.consoleText(), HasSubstr("parameters"));
  EXPECT_THAT(console.consoleText(), Not(HasSubstr("getDimensions")));
  ASSERT_EQ(getCmdInfo().size(), 1);
  EXPECT_EQ(getCmdInfo()[0].name, "parameters");
}

TEST_F(RoisCommands, HelpListsTheCommands) {
  EXPECT_EQ(run({"help"}), TCL_OK);
  std::vector<QString> names;
  for (int i = 0; i < getCmdInfo().size(); ++i) names.push_back(getCmdInfo()[i].name);
  for (const char* name : {"getDimensions", "getMaskBoundingBox", "allMasks", "firstLevelRois", "substractMasks",
                           "mergeMasks", "splitMask", "removeRois", "getId"}) {
    EXPECT_THAT(names, Contains(QString(name)));
  }
  EXPECT_THAT(names, Not(Contains(QString("getLDAResourceParameters"))));
}

TEST_F(RoisCommands, TheNameOfTheSetAloneListsTheCommands) {
  addMask("A");
  EXPECT_EQ(run({}), TCL_OK);
  for (const char* name : {"getDimensions", "mergeMasks", "getId"}) {
    EXPECT_THAT(console.consoleText(), HasSubstr(std::string("atlas ") + name));
  }
  EXPECT_THAT(result, IsEmpty());
}

TEST_F(RoisCommands, ParametersOfARoiMakeTheSetNeedSaving) {
  addMask("A")->setProperty("key", 7);
  const auto changes = [this](std::vector<std::string> words) {
    rois->setModified(0);
    words.insert(words.begin(), {"A", "parameters"});
    EXPECT_EQ(run(words), TCL_OK);
    return rois->isModified();
  };
  EXPECT_FALSE(changes({"get", "key"}));
  EXPECT_FALSE(changes({"list"}));
  EXPECT_FALSE(changes({"set", "key", "7"}));
  EXPECT_TRUE(changes({"set", "key", "8"}));
  EXPECT_TRUE(changes({"set", "inner/other", "text"}));
  EXPECT_FALSE(changes({"setText", "inner/other", "text"}));
  EXPECT_TRUE(changes({"setText", "inner/other", "texts"}));
  EXPECT_TRUE(changes({"remove", "key"}));
  rois->setModified(0);
  EXPECT_EQ(run({"A", "parameters", "set", "Id", "x"}), TCL_ERROR);
  EXPECT_FALSE(rois->isModified());
}

TEST_F(RoisCommands, WordsAreUtf8) {
  addMask("A");
  EXPECT_EQ(run({"mergeMasks", "A", "Käse"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("atlas does not contains a mask named Käse."));
  rois->getMask("A")->setId("\xE9");
  EXPECT_EQ(run({"getId", "A"}), TCL_OK);
  EXPECT_THAT(result, ElementsAre("é"));
}

TEST_F(RoisCommands, ResourceParametersOfEveryMask) {
  addMask("A");
  addMask("B");
  EXPECT_EQ(run({"getLDAResourceParameters", "and", "more"}), TCL_OK);
  EXPECT_THAT(
      console.consoleEntries,
      ElementsAre("----LDA resource parameters for ROI A----", HasSubstr("\nmemory budget in bytes, all volumes: "),
                  "----LDA resource parameters for ROI B----", HasSubstr("\ntile hits, all volumes: ")));
  EXPECT_EQ(run({"getLDAResourceParameter"}), TCL_ERROR);
}

TEST_F(RoisCommands, CommandsAreComparedExactly) {
  addMask("A");
  EXPECT_EQ(run({"getDimension"}), TCL_ERROR);
  EXPECT_EQ(run({"getdimensions"}), TCL_ERROR);
}

TEST_F(RoisCommands, InTheInterpreter) {
  HxInterpreter& tcl = HxInterpreter::instance();
  HxObjectPool::instance().add(rois, "atlas");
  fill(*addMask("A"), {0, 0, 0}, {2, 2, 2});
  addMask("B");
  EXPECT_FALSE(tcl.evaluate("atlas mergeMasks A B; llength [atlas allMasks]"));
  EXPECT_EQ(tcl.result(), "3");
  const auto error = tcl.evaluate("atlas mergeMasks A Missing");
  ASSERT_TRUE(error);
  EXPECT_EQ(error->message, "atlas does not contains a mask named Missing.");
  HxObjectPool::instance().remove(rois);
}

}  // namespace
