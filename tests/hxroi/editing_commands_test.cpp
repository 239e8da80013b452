#include "RoisCommandsTest.h"
#include "hxroi/detail/SetPlace.h"
#include "hxroi/details/Roi.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/script/HxCompletion.h"
#include "tests/support/RecordingProgress.h"

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

/// Commands that edit the set, copy into it and optimise it.
class EditingCommands : public RoisCommands {
protected:
  EditingCommands() { HxObjectPool::instance().add(rois, "atlas"); }
  ~EditingCommands() override { HxObjectPool::instance().clear(); }

  HxRois* addOther() {
    const McHandle<HxRois> other(new HxRois);
    HxObjectPool::instance().add(other, "Other");
    return other;
  }

  std::vector<std::string> membersOf(const std::string& group) const {
    std::vector<std::string> names;
    for (const Mask& member : *rois->getGroup(group)) names.push_back(member.name());
    return names;
  }
};

// --- Inverting ----------------------------------------------------------------------------------------------------

TEST_F(EditingCommands, MasksAreInvertedInPlace) {
  fill(*addMask("A"), {0, 0, 0}, {1, 1, 1});
  rois->addRoi(makeGroup("G", {"B"}));
  Mask* const former = rois->getMask("A");
  EXPECT_EQ(run({"invertMasks", "A", "B"}), TCL_OK);
  EXPECT_EQ(rois->getMask("A"), former);
  EXPECT_EQ(count(*rois->getMask("A")), 13U * 11 * 7 - 1);
  EXPECT_EQ(count(*rois->getMask("B")), 13U * 11 * 7);
  EXPECT_THAT(console.consoleEntries, IsEmpty());
}

TEST_F(EditingCommands, AMaskNamedTwiceIsAsBefore) {
  fill(*addMask("A"), {0, 0, 0}, {2, 1, 1});
  EXPECT_EQ(run({"invertMasks", "A", "A"}), TCL_OK);
  EXPECT_EQ(count(*rois->getMask("A")), 2U);
}

TEST_F(EditingCommands, NothingIsInvertedWhenAMaskIsMissing) {
  addMask("A");
  rois->addRoi(makeGroup("G"));
  for (const char* missing : {"B", "a", "G", "%s%n", "%1"}) {
    EXPECT_EQ(run({"invertMasks", "A", missing}), TCL_ERROR);
    EXPECT_THAT(console.consoleEntries,
                ElementsAre("atlas does not contains a mask named " + std::string(missing) + "."));
    EXPECT_THAT(result, IsEmpty());
    EXPECT_EQ(count(*rois->getMask("A")), 0U);
  }
  EXPECT_EQ(run({"invertMasks"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("syntax: invertMasks <mask> <masks...>"));
}

TEST_F(EditingCommands, InterruptedInversionsAreUndone) {
  for (const char* name : {"A", "B", "C"}) fill(*addMask(name), {0, 0, 0}, {1, 1, 1});
  for (int question = 0; question < 3; ++question) {
    RecordingProgress progress;
    progress.interruptAfter = question;
    const ProgressScope scope(progress);
    EXPECT_EQ(run({"invertMasks", "A", "B", "C"}), TCL_OK);
    for (const char* name : {"A", "B", "C"}) EXPECT_EQ(count(*rois->getMask(name)), 1U) << name << question;
  }
}

TEST_F(EditingCommands, InterruptedCombinationsAddNothing) {
  addMask("A");
  addMask("B");
  for (const char* command : {"mergeMasks", "substractMasks"}) {
    RecordingProgress progress;
    progress.interruptAfter = 0;
    const ProgressScope scope(progress);
    EXPECT_EQ(run({command, "A", "B"}), TCL_OK);
    EXPECT_THAT(maskNames(), ElementsAre("A", "B"));
  }
}

TEST_F(EditingCommands, NamesOfRoisAreCompleted) {
  addMask("A");
  rois->addRoi(makeGroup("G", {"B"}));
  addOther();
  HxObjectPool::instance().add(makeLabels({1, 1, 1}, {1}), "labels");
  EXPECT_THAT(HxCompletion::wordsAfter({"atlas", "mergeMasks"}), ElementsAre("A", "B"));
  EXPECT_THAT(HxCompletion::wordsAfter({"atlas", "mergeMasks", "A", "B"}), ElementsAre("A", "B"));
  EXPECT_THAT(HxCompletion::wordsAfter({"atlas", "clearGroups"}), ElementsAre("G"));
  EXPECT_THAT(HxCompletion::wordsAfter({"atlas", "getId"}), ElementsAre("A", "B", "G"));
  EXPECT_THAT(HxCompletion::wordsAfter({"atlas", "copyAndInsertMasksFrom"}), ElementsAre("Other", "atlas"));
  EXPECT_THAT(HxCompletion::wordsAfter({"atlas", "createAndInsertRoiFrom"}), ElementsAre("labels"));
  EXPECT_THAT(HxCompletion::wordsAfter({"atlas", "optimize"}), ElementsAre("--exact-boundingbox", "--multiresolution"));
  EXPECT_THAT(HxCompletion::wordsAfter({"atlas", "B"}), ElementsAre("parameters"));
  EXPECT_THAT(HxCompletion::wordsAfter({"atlas", "B", "parameters"}), Contains("setText"));
}

TEST_F(EditingCommands, AMaskNamedHelpIsReached) {
  fill(*addMask("help"), {0, 0, 0}, {1, 1, 1});
  EXPECT_EQ(run({"getMaskBoundingBox", "help"}), TCL_OK);
  EXPECT_EQ(result.size(), 6U);
  EXPECT_EQ(run({"splitMask", "help"}), TCL_OK);
  EXPECT_EQ(rois->getNumberOfMasks(), 2U);
}

// --- Copying in ---------------------------------------------------------------------------------------------------

TEST_F(EditingCommands, AllMasksOfAnotherSetAreCopied) {
  HxRois* const other = addOther();
  other->addRoi(makeMask("A"));
  other->addRoi(makeGroup("G", {"B"}));
  fill(*other->getMask("B"), {0, 0, 0}, {3, 1, 1});
  EXPECT_EQ(run({"copyAndInsertMasksFrom", "Other"}), TCL_OK);
  EXPECT_THAT(maskNames(), ElementsAre("A", "B"));
  EXPECT_EQ(count(*rois->getMask("B")), 3U);
  EXPECT_NE(rois->getMask("B"), other->getMask("B"));
  EXPECT_THAT(console.consoleEntries, IsEmpty());
  other->addRoi(makeMask("C"));
  EXPECT_EQ(run({"copyAndInsertMasksFrom", "Other"}), TCL_OK);
  EXPECT_THAT(console.consoleEntries, ElementsAre("2 masks were not copied: their names are taken."));
  EXPECT_THAT(maskNames(), ElementsAre("A", "B", "C"));
}

TEST_F(EditingCommands, OneRoiOfAnotherSetIsCopiedWithItsMaterial) {
  HxRois* const other = addOther();
  other->addRoi(makeMask("A"));
  other->addRoi(makeMask("B"));
  other->parameters.getMaterials(1)->getBundle("B")->set("Id", 17);
  EXPECT_EQ(run({"copyAndInsertMasksFrom", "Other", "B"}), TCL_OK);
  EXPECT_THAT(maskNames(), ElementsAre("B"));
  const HxParamBundle* const record = rois->parameters.getMaterials(1)->getBundle("B", false);
  ASSERT_NE(record, nullptr);
  int id = 0;
  EXPECT_TRUE(record->findNum("Id", id));
  EXPECT_EQ(id, 17);
}

TEST_F(EditingCommands, AnUnknownRoiOfAnotherSetIsToldAndIsNoFailure) {
  addOther();
  EXPECT_EQ(run({"copyAndInsertMasksFrom", "Other", "NoSuchRoi"}), TCL_OK);
  EXPECT_THAT(console.consoleEntries, ElementsAre("Roi NoSuchRoi does not exist"));
  EXPECT_EQ(rois->getNumberOfRois(), 0U);
}

/// A field on the grid of the masks, the first voxel at (x, 0, 0).
McHandle<HxUniformLabelField3> fieldAt(double x) {
  McHandle<HxUniformLabelField3> field(new HxUniformLabelField3(McDim3l(13, 11, 7)));
  HxGeometry3 geometry;
  geometry.origin = {x, 0, 0};
  field->setGeometry(geometry);
  return field;
}

TEST_F(EditingCommands, CopyingBetweenDifferentPlacesIsTold) {
  HxRois* const other = addOther();
  const auto here = fieldAt(0), near = fieldAt(1e-4), there = fieldAt(2.5);
  HxObjectPool::instance().add(there, "there");
  other->addRoi(makeMask("A"));
  other->addRoi(makeMask("B"));
  addMask("C");
  ASSERT_TRUE(rois->portData.connect(here));
  ASSERT_TRUE(other->portData.connect(near));
  EXPECT_EQ(run({"copyAndInsertMasksFrom", "Other", "A"}), TCL_OK);
  EXPECT_THAT(console.warnings, IsEmpty());
  ASSERT_TRUE(other->portData.connect(there));
  EXPECT_EQ(run({"copyAndInsertMasksFrom", "Other", "A"}), TCL_OK);
  EXPECT_THAT(console.warnings, IsEmpty()) << "nothing was copied";
  EXPECT_EQ(run({"copyAndInsertMasksFrom", "Other", "B"}), TCL_OK);
  const char* const text =
      "atlas and %1 have one grid but lie in different places, the first at (0, 0, 0), voxels of 1 x 1 x 1 mm, the "
      "other at (2.5, 0, 0), voxels of 1 x 1 x 1 mm: the voxels were copied by their indices.";
  EXPECT_THAT(console.warnings, ElementsAre(QString(text).arg("Other")));
  EXPECT_EQ(run({"createAndInsertRoiFrom", "there"}), TCL_OK);
  EXPECT_THAT(console.warnings, ElementsAre(QString(text).arg("there")));
  EXPECT_EQ(hxroi::placeOf(*rois), here->geometry());
}

TEST_F(EditingCommands, ASetWithoutAPlaceTakesThatOfTheFirstSource) {
  HxRois* const other = addOther();
  const auto there = fieldAt(2.5);
  other->addRoi(makeMask("A"));
  ASSERT_TRUE(other->portData.connect(there));
  EXPECT_EQ(run({"copyAndInsertMasksFrom", "Other"}), TCL_OK);
  EXPECT_EQ(hxroi::placeOf(*rois), there->geometry());
  EXPECT_EQ(rois->portData.source(), nullptr);
  EXPECT_THAT(console.warnings, IsEmpty());
}

TEST_F(EditingCommands, ASetOfMasksWithoutAPlaceGetsNone) {
  HxRois* const other = addOther();
  const auto there = fieldAt(2.5);
  addMask("C");
  other->addRoi(makeMask("A"));
  ASSERT_TRUE(other->portData.connect(there));
  EXPECT_EQ(run({"copyAndInsertMasksFrom", "Other"}), TCL_OK);
  EXPECT_FALSE(hxroi::placeOf(*rois));
}

TEST_F(EditingCommands, AFieldInAnotherPlaceMovesTheMasksAndThatIsTold) {
  const auto here = fieldAt(0), there = fieldAt(2.5);
  HxObjectPool::instance().add(here, "here");
  HxObjectPool::instance().add(there, "there");
  EXPECT_EQ(run({"data", "connect", "here"}), TCL_OK);
  EXPECT_EQ(run({"data", "connect", "there"}), TCL_OK);
  EXPECT_EQ(run({"data", "connect", "here"}), TCL_OK);
  EXPECT_THAT(console.warnings, IsEmpty()) << "without masks nothing moves";
  addMask("A");
  EXPECT_EQ(run({"data", "connect", "there"}), TCL_OK);
  EXPECT_THAT(console.warnings,
              ElementsAre("atlas so far and there have one grid but lie in different places, the first at (0, 0, 0), "
                          "voxels of 1 x 1 x 1 mm, the other at (2.5, 0, 0), voxels of 1 x 1 x 1 mm: the masks move "
                          "with their voxels."));
}

TEST_F(EditingCommands, CopyingNeedsASet) {
  EXPECT_EQ(run({"copyAndInsertMasksFrom", "Nobody"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("No such object"));
  const auto field = makeLabels({1, 1, 1}, {1});
  HxObjectPool::instance().add(field, "labels");
  EXPECT_EQ(run({"copyAndInsertMasksFrom", "labels"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("Is not a HxRois"));
  EXPECT_EQ(run({"copyAndInsertMasksFrom"}), TCL_OK);
  EXPECT_THAT(console.consoleText(), HasSubstr("usage: insertRoiFrom hxRoisName [roiName]\n"));
  EXPECT_EQ(run({"copyAndInsertMasksFrom", "Other", "A", "B"}), TCL_ERROR);
  EXPECT_THAT(console.consoleText(), HasSubstr("usage: atlas copyAndInsertMasksFrom"));
}

TEST_F(EditingCommands, MasksOfAnotherGridAreNotCopied) {
  addMask("A");
  addOther()->addRoi(makeMask("B", {2, 2, 2}));
  EXPECT_EQ(run({"copyAndInsertMasksFrom", "Other"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, Not(IsEmpty()));
  EXPECT_THAT(maskNames(), ElementsAre("A"));
}

TEST_F(EditingCommands, ABinaryFieldBecomesAMask) {
  const auto field = makeLabels({2, 2, 1}, {0, 1, 1, 0});
  field->materials(true)->getBundle("Exterior");
  field->materials(true)->getBundle("Bone");
  HxObjectPool::instance().add(field, "labels");
  EXPECT_EQ(run({"createAndInsertRoiFrom", "labels"}), TCL_OK);
  EXPECT_EQ(run({"createAndInsertRoiFrom", "labels"}), TCL_OK);
  EXPECT_THAT(maskNames(), ElementsAre("Bone", "Bone0"));
  EXPECT_EQ(count(*rois->getMask("Bone0")), 2U);
}

TEST_F(EditingCommands, CreatingNeedsABinaryFieldOfTheGrid) {
  EXPECT_EQ(run({"createAndInsertRoiFrom"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("syntax: createAndInsertRoiFrom <binaryLabelFieldName>",
                                                  "createAndInsertRoiFrom: wrong number of arguments"));
  EXPECT_EQ(run({"createAndInsertRoiFrom", "a", "b"}), TCL_ERROR);
  EXPECT_EQ(console.consoleEntries.front(), "syntax: createAndInsertRoiFrom <binaryLabelFieldName>");
  EXPECT_EQ(run({"createAndInsertRoiFrom", "Nobody"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("No such object"));
  EXPECT_EQ(run({"createAndInsertRoiFrom", "atlas"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("Is not a HxUniformLabelField3"));

  const auto labels = makeLabels({3, 1, 1}, {0, 1, 2});
  HxObjectPool::instance().add(labels, "labels");
  EXPECT_EQ(run({"createAndInsertRoiFrom", "labels"}), TCL_ERROR);
  EXPECT_THAT(
      console.consoleEntries,
      ElementsAre("Can not create and insert mask from a HxUniformLabelField3 that is not a binary label field."));
  const auto binary = makeLabels({3, 1, 1}, {0, 1, 1});
  HxObjectPool::instance().add(binary, "bits");
  addMask("A");
  EXPECT_EQ(run({"createAndInsertRoiFrom", "bits"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("Can not insert mask because dimensions don't match."));
  EXPECT_THAT(maskNames(), ElementsAre("A"));
}

// --- Groups and names ---------------------------------------------------------------------------------------------

TEST_F(EditingCommands, ClearedGroupsKeepTheirMembers) {
  rois->addRoi(makeGroup("G", {"A", "B"}));
  EXPECT_EQ(run({"clearGroups", "G", "Nobody", "G"}), TCL_OK);
  EXPECT_THAT(console.consoleEntries, IsEmpty());
  EXPECT_THAT(membersOf("G"), ElementsAre("A", "B"));
  EXPECT_EQ(run({"clearGroups"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("syntax: clearGroup <groupName...>"));
}

TEST_F(EditingCommands, MasksGoIntoANewGroup) {
  const McHandle<HxColormap> colormap(new HxColormap);
  addMask("A")->setColormap(colormap);
  addMask("B");
  addMask("C");
  rois->addRoi(makeGroup("G", {"D"}));
  EXPECT_EQ(run({"createGroup", "H", "C", "A", "D"}), TCL_OK);
  EXPECT_THAT(topLevelNames(), ElementsAre("B", "G", "H"));
  EXPECT_THAT(membersOf("H"), ElementsAre("C", "A", "D"));
  EXPECT_THAT(membersOf("G"), IsEmpty());
  EXPECT_EQ(rois->getMask("A")->colormap(false), colormap.get());
  EXPECT_EQ(run({"createGroup", "Empty"}), TCL_OK);
  EXPECT_THAT(membersOf("Empty"), IsEmpty());
}

TEST_F(EditingCommands, ARefusedMaskLeavesEverythingWhereItWas) {
  for (const char* name : {"A", "B", "C"}) addMask(name);
  rois->addRoi(makeGroup("G", {"D", "E"}));
  for (const char* command : {"createGroup", "moveToGroup"}) {
    EXPECT_EQ(run({command, command == std::string("createGroup") ? "H" : "G", "B", "E", "Nobody"}), TCL_ERROR);
    EXPECT_THAT(console.consoleEntries, ElementsAre("atlas does not contains a mask named Nobody."));
    EXPECT_THAT(topLevelNames(), ElementsAre("A", "B", "C", "G"));
    EXPECT_THAT(membersOf("G"), ElementsAre("D", "E"));
  }
  EXPECT_EQ(run({"createGroup", "A"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries.front(), HasSubstr("A roi named A has already been inserted"));
  EXPECT_EQ(run({"createGroup"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("syntax: createGroup <group> <masks...>"));
}

TEST_F(EditingCommands, MasksMoveBetweenGroupsAndTheTopLevel) {
  addMask("A");
  rois->addRoi(makeGroup("G", {"B"}));
  EXPECT_EQ(run({"moveToGroup", "G", "A"}), TCL_OK);
  EXPECT_THAT(membersOf("G"), ElementsAre("B", "A"));
  EXPECT_EQ(run({"moveToGroup", "", "B", "A"}), TCL_OK);
  EXPECT_THAT(topLevelNames(), ElementsAre("G", "B", "A"));
  EXPECT_EQ(run({"moveToGroup", "Nobody", "A"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries,
              ElementsAre("No group named Nobody has been inserted inside this HxRois (atlas)."));
  EXPECT_EQ(run({"moveToGroup", "G"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("syntax: moveToGroup <group> <masks...>"));
}

TEST_F(EditingCommands, RoisAreRenamed) {
  addMask("A");
  rois->addRoi(makeGroup("G", {"B"}));
  EXPECT_EQ(run({"renameRoi", "B", "Bone"}), TCL_OK);
  EXPECT_EQ(run({"renameRoi", "G", "Left"}), TCL_OK);
  EXPECT_THAT(topLevelNames(), ElementsAre("A", "Left"));
  EXPECT_THAT(membersOf("Left"), ElementsAre("Bone"));
  EXPECT_EQ(run({"renameRoi", "A", "Bone"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, Not(IsEmpty()));
  EXPECT_EQ(run({"renameRoi", "Nobody", "X"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("Roi Nobody doesn't exist"));
  EXPECT_EQ(run({"renameRoi", "A"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("syntax: renameRoi <roiName> <newName>"));
  EXPECT_THAT(topLevelNames(), ElementsAre("A", "Left"));
}

TEST_F(EditingCommands, PortsOfRoisThatWereNotRemovedTakeColours) {
  addMask("A");
  rois->rebuildPortList();
  EXPECT_EQ(run({"removeRois", "A", "Nobody"}), TCL_ERROR);
  EXPECT_EQ(run({"color-A", "setColor", "1", "0", "0"}), TCL_OK);
  rois->fire(1);
  EXPECT_EQ(rois->getMask("A")->color(false), McColor(1, 0, 0));
}

// --- Optimising ---------------------------------------------------------------------------------------------------

TEST_F(EditingCommands, HelpOfOptimizeNamesHelpOnly) {
  addMask("A");
  for (const char* help : {"-h", "--help"}) {
    EXPECT_EQ(run({"optimize", help}), TCL_OK);
    EXPECT_THAT(console.consoleText(), HasSubstr("optimize:"));
    EXPECT_THAT(console.consoleText(), HasSubstr("-h [ --help ]"));
    EXPECT_THAT(console.consoleText(), HasSubstr("Show this help page"));
    EXPECT_THAT(console.consoleText(), Not(HasSubstr("multiresolution")));
    EXPECT_THAT(console.consoleText(), Not(HasSubstr("boundingbox")));
  }
}

TEST_F(EditingCommands, UnknownOptionsOfOptimizeAreRefused) {
  for (const char* word : {"--bogus", "-x", "--help=7"}) {
    RecordingProgress progress;
    const ProgressScope scope(progress);
    EXPECT_EQ(run({"optimize", word}), TCL_ERROR) << word;
    EXPECT_THAT(console.consoleText(), HasSubstr("Show this help page"));
    EXPECT_THAT(progress.calls, IsEmpty());
  }
  EXPECT_EQ(run({"optimize", "--bogus"}), TCL_ERROR);
  EXPECT_THAT(console.consoleText(), HasSubstr("unrecognised option '--bogus'"));
}

TEST_F(EditingCommands, AnEmptySetIsOptimizedAndTouched) {
  RecordingProgress progress;
  const ProgressScope scope(progress);
  const auto before = rois->getTouchTime();
  EXPECT_EQ(run({"optimize"}), TCL_OK);
  EXPECT_THAT(progress.calls, ElementsAre("start Optimizing masks", "stop"));
  EXPECT_THAT(progress.values, IsEmpty());
  EXPECT_NE(rois->getTouchTime(), before);
}

TEST_F(EditingCommands, OptimizeComputesTheBoxesThatNobodyKnows) {
  Mask* const exact = addMask("Exact");
  Mask* const rough = addMask("Rough");
  Mask* const unknown = addMask("Unknown");
  fill(*rough, {1, 1, 1}, {2, 2, 2});
  fill(*unknown, {1, 1, 1}, {2, 2, 2});
  exact->setBoundingBox(McBox3i(0, 5, 0, 5, 0, 5));
  rough->setApproximatedBoundingBox(McBox3i(0, 9, 0, 9, 0, 6));
  ASSERT_FALSE(unknown->cachedBoundingBox());
  RecordingProgress progress;
  const ProgressScope scope(progress);
  EXPECT_EQ(run({"optimize"}), TCL_OK);
  EXPECT_EQ(exact->cachedBoundingBox(), McBox3i(0, 5, 0, 5, 0, 5));
  EXPECT_FALSE(rough->cachedBoundingBox());
  EXPECT_EQ(unknown->cachedBoundingBox(), McBox3i(1, 2, 1, 2, 1, 2));
  EXPECT_THAT(progress.values, ElementsAre(1.0F / 3, 2.0F / 3, 1.0F));
  EXPECT_EQ(run({"optimize", "--exact-boundingbox"}), TCL_OK);
  EXPECT_EQ(rough->cachedBoundingBox(), McBox3i(1, 2, 1, 2, 1, 2));
}

TEST_F(EditingCommands, RebuiltMasksKeepNameIdentifierAndPlace) {
  fill(*addMask("A"), {0, 0, 0}, {3, 1, 1});
  rois->addRoi(makeGroup("G", {"B", "C"}));
  addMask("D");
  const McHandle<Mask> formerA(rois->getMask("A")), formerC(rois->getMask("C"));
  const std::string idA = formerA->id(), idC = formerC->id();
  EXPECT_EQ(run({"optimize", "--multiresolution"}), TCL_OK);
  EXPECT_THAT(topLevelNames(), ElementsAre("A", "G", "D"));
  EXPECT_THAT(membersOf("G"), ElementsAre("B", "C"));
  EXPECT_NE(rois->getMask("A"), formerA.get());
  EXPECT_NE(rois->getMask("C"), formerC.get());
  EXPECT_EQ(rois->getMask("A")->id(), idA);
  EXPECT_EQ(rois->getMask("C")->id(), idC);
  EXPECT_EQ(count(*rois->getMask("A")), 3U);
  EXPECT_FALSE(rois->getMask("A")->volumeMask()->hasUnsavedEdits());
}

TEST_F(EditingCommands, HelpListsThemInTheirOrder) {
  EXPECT_EQ(run({"help"}), TCL_OK);
  const std::string text = console.consoleText();
  std::size_t place = 0;
  for (const char* command :
       {"getDimensions", "getMaskBoundingBox", "allMasks", "firstLevelRois", "invertMasks", "substractMasks",
        "mergeMasks", "splitMask", "removeRois", "copyAndInsertMasksFrom", "createAndInsertRoiFrom", "getId",
        "clearGroups", "optimize", "createGroup", "moveToGroup", "renameRoi"}) {
    const std::size_t next = text.find(" " + std::string(command), place);
    ASSERT_NE(next, std::string::npos) << command << " in " << text;
    place = next;
  }
  EXPECT_EQ(text.find("getLDAResourceParameters"), std::string::npos);
}

}  // namespace
