#include "SetFileTest.h"
#include "hxroi/package.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "tests/support/RecordingProgress.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

class SetFileWriting : public SetFileTest {
protected:
  /// A folder in the place of a mask's header cannot be replaced by a file, and the mask has no files from before.
  void blockMask(const std::string& name) { fs::create_directories(masks / (name + ".ldm") / "occupied"); }
};

/// Makes a folder the current one while it lives.
class CurrentFolder {
public:
  explicit CurrentFolder(const fs::path& folder) : former_(fs::current_path()) { fs::current_path(folder); }
  ~CurrentFolder() { fs::current_path(former_); }

private:
  fs::path former_;
};

TEST_F(SetFileWriting, MasksLieInAFolderBesideTheFile) {
  fillSet();
  EXPECT_EQ(save(), 1);
  EXPECT_TRUE(fs::is_regular_file(file));
  for (const char* name : {"A", "B", "C", "D"}) {
    EXPECT_TRUE(fs::is_regular_file(masks / (std::string(name) + ".ldm"))) << name;
  }
  const auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
  std::string text;
  EXPECT_TRUE(mesh->parameters.findString("ContentType", text));
  EXPECT_EQ(text, "HxRois");
  EXPECT_TRUE(mesh->parameters.findString("masks-directory", text));
  EXPECT_EQ(text, "set.ROIs-masks");
  EXPECT_TRUE(rois->parameters.findString("masks-directory", text));
  EXPECT_EQ(text, "set.ROIs-masks");
  EXPECT_EQ(rois->parameters.findBase("__rois"), nullptr);
  EXPECT_EQ(rois->getLoadCmd(), QString::fromStdString(file.string()));
}

TEST_F(SetFileWriting, BundlesDescribeTheRois) {
  fillSet();
  rois->getMask("A")->setProperty("volume", 1.5F);
  rois->getGroup("G")->setColor(McColor(0.125F, 0.5F, 1));
  rois->getMask("B")->setColor(McColor(0, 0, 0));
  rois->parameters.set("Note", "of the set");
  ASSERT_EQ(save(), 1);

  const auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
  std::string text;
  EXPECT_TRUE(mesh->parameters.findString("Note", text));
  const HxParamBundle* all = mesh->parameters.getBundle("__rois");
  ASSERT_EQ(all->bundleCount(), 3);
  EXPECT_EQ(all->getBundle(0)->name(), "A");
  EXPECT_EQ(all->getBundle(1)->name(), "G");
  EXPECT_EQ(all->getBundle(2)->name(), "D");

  const HxParamBundle& a = *all->getBundle(0);
  EXPECT_TRUE(a.findString("__filename", text));
  EXPECT_EQ(text, "A");
  EXPECT_TRUE(a.findString("Id", text));
  EXPECT_EQ(text, rois->getMask("A")->id());
  float real = 0;
  EXPECT_TRUE(a.findReal("volume", real));
  EXPECT_EQ(real, 1.5F);
  float color[3];
  EXPECT_TRUE(a.findReals("__color", 3, color));
  EXPECT_EQ(McColor(color[0], color[1], color[2]), rois->getMask("A")->color());

  const HxParamBundle& group = *all->getBundle(1);
  EXPECT_FALSE(group.findString("__filename", text));
  ASSERT_EQ(group.bundleCount(), 2);
  EXPECT_EQ(group.getBundle(0)->name(), "B");
  EXPECT_TRUE(group.getBundle(0)->findReals("__color", 3, color));
  EXPECT_EQ(McColor(color[0], color[1], color[2]), McColor(0.125F, 0.5F, 1));
}

TEST_F(SetFileWriting, TheConsoleTellsWhatIsSaved) {
  fillSet();
  ASSERT_EQ(save(), 1);
  EXPECT_THAT(console.consoleEntries, ElementsAre("Saving masks to " + masks.string(), "Saving mask A", "Saving mask B",
                                                  "Saving mask C", "Saving mask D"));
  EXPECT_THAT(console.ioErrors, IsEmpty());
}

TEST_F(SetFileWriting, ThreeFlavoursHaveOneContent) {
  fillSet();
  int (HxRois::*const writers[])(const char*) = {&HxRois::writeQuarnMesh, &HxRois::writeZelto, &HxRois::writeMivro};
  std::vector<std::string> headers;
  for (const auto writer : writers) {
    ASSERT_EQ((rois->*writer)(file.c_str()), 1);
    const std::string text = contentOf(file);
    headers.push_back(text.substr(0, text.find('\n')));
    EXPECT_THAT(names(*load(file)), ElementsAre("A", "G", "D"));
  }
  EXPECT_NE(headers[0], headers[1]);
  EXPECT_NE(headers[1], headers[2]);
  EXPECT_NE(headers[0], headers[2]);
}

TEST_F(SetFileWriting, SavingClearsTheModifiedState) {
  fillSet();
  rois->fire(1);
  EXPECT_TRUE(rois->isModified());
  ASSERT_EQ(save(), 1);
  EXPECT_FALSE(rois->isModified());
  fill(*rois->getMask("A"), {0, 0, 0}, {1, 1, 1});
  rois->fire(1);
  EXPECT_TRUE(rois->isModified());
}

TEST_F(SetFileWriting, AnEmptySetIsSaved) {
  EXPECT_EQ(save(), 1);
  EXPECT_TRUE(fs::is_directory(masks));
  EXPECT_EQ(load(file)->getNumberOfRois(), 0U);
}

TEST_F(SetFileWriting, SavingOverItselfKeepsEverything) {
  fillSet();
  ASSERT_EQ(save(), 1);
  rois = load(file);
  const auto before = contentOf(masks / "A.dat");
  ASSERT_EQ(save(), 1);
  EXPECT_EQ(contentOf(masks / "A.dat"), before);
  EXPECT_EQ(count(*load(file)->getMask("A")), 125U);
}

TEST_F(SetFileWriting, MasksThatChangedNamesAreNotLost) {
  fill(*addMask("A"), {0, 0, 0}, {1, 1, 1});
  fill(*addMask("B"), {0, 0, 0}, {2, 2, 2});
  fill(*addMask("C"), {0, 0, 0}, {3, 3, 3});
  ASSERT_EQ(save(), 1);
  rois = load(file);
  Mask* a = rois->getMask("A");
  Mask* b = rois->getMask("B");
  Mask* c = rois->getMask("C");
  a->setName("swap");
  b->setName("A");
  c->setName("B");
  a->setName("C");
  ASSERT_EQ(save(), 1);
  const auto loaded = load(file);
  EXPECT_EQ(count(*loaded->getMask("A")), 8U);
  EXPECT_EQ(count(*loaded->getMask("B")), 27U);
  EXPECT_EQ(count(*loaded->getMask("C")), 1U);
}

TEST_F(SetFileWriting, ANameOfARemovedMaskIsUsedAgain) {
  fill(*addMask("A"), {0, 0, 0}, {1, 1, 1});
  fill(*addMask("B"), {0, 0, 0}, {2, 2, 2});
  ASSERT_EQ(save(), 1);
  rois = load(file);
  const auto removed = rois->removeRoi("A");
  rois->getMask("B")->setName("A");
  ASSERT_EQ(save(), 1);
  EXPECT_EQ(count(*load(file)->getMask("A")), 8U);
  EXPECT_EQ(count(dynamic_cast<const Mask&>(*removed)), 1U);
}

TEST_F(SetFileWriting, EditingALoadedSetLeavesItsFiles) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const auto header = contentOf(masks / "A.ldm");
  const auto data = contentOf(masks / "A.dat");
  rois = load(file);
  fill(*rois->getMask("A"), {0, 0, 0}, {13, 11, 7});
  rois->flush(true);
  EXPECT_EQ(contentOf(masks / "A.ldm"), header);
  EXPECT_EQ(contentOf(masks / "A.dat"), data);
}

TEST_F(SetFileWriting, AMaskThatFailsIsReportedAndTheOthersAreSaved) {
  fillSet();
  blockMask("B");
  EXPECT_EQ(save(), 1);
  EXPECT_THAT(console.consoleText(), HasSubstr("Error while saving mask B ("));
  EXPECT_THAT(console.consoleText(), HasSubstr("Saving mask D\n"));
  EXPECT_TRUE(fs::is_regular_file(masks / "D.ldm"));
  EXPECT_TRUE(rois->isModified());
  EXPECT_THAT(console.consoleEntries.back(), HasSubstr("Mask B has no good files and is left out of the file"));
  const auto loaded = load(file);
  EXPECT_THAT(names(*loaded), ElementsAre("A", "G", "D"));
  EXPECT_EQ(loaded->getMask("B"), nullptr);
  EXPECT_EQ(loaded->getGroup("G")->size(), 1U);
}

TEST_F(SetFileWriting, AMaskAloneThatFailsIsLeftOut) {
  fillSet();
  blockMask("A");
  blockMask("C");
  EXPECT_EQ(save(), 1);
  const auto loaded = load(file);
  EXPECT_THAT(names(*loaded), ElementsAre("G", "D"));
  EXPECT_EQ(loaded->getGroup("G")->size(), 1U);
  // Nothing stands in the way any more.
  for (const char* name : {"A.ldm", "C.ldm"}) fs::remove_all(masks / name);
  EXPECT_EQ(save(), 1);
  EXPECT_FALSE(rois->isModified());
  EXPECT_EQ(load(file)->getNumberOfMasks(), 4U);
}

TEST_F(SetFileWriting, FilesOfAnotherGridAreNoGoodFilesOfAMask) {
  fs::create_directory(masks);
  makeMask("A", {2, 2, 2})->writeToFile(masks / "A");
  fillSet();
  Mask* a = rois->getMask("A");
  rois->flush(true);
  fs::resize_file(a->temporaryPrefix() + ".dat", 0);
  EXPECT_EQ(save(), 1);
  EXPECT_TRUE(rois->isModified());
  EXPECT_THAT(names(*load(file)), ElementsAre("G", "D"));
}

TEST_F(SetFileWriting, TouchesFromBeforeAFailedSaveDoNotMakeItComplete) {
  fillSet();
  blockMask("B");
  rois->isModified();
  rois->touch(32);
  EXPECT_EQ(save(), 1);
  EXPECT_TRUE(rois->isModified());
  EXPECT_TRUE(rois->isModified());
}

TEST_F(SetFileWriting, ScriptsFailWhenAMaskFails) {
  fillSet();
  HxObjectPool::instance().add(rois, "atlas");
  HxFileTypes::instance().registerSaver("HxRois", "Plain", ".ROIs.qm", &hxroi_saveQuarnMesh);
  HxInterpreter& tcl = HxInterpreter::instance();
  const QString command = QString("atlas save Plain {%1}").arg(QString::fromStdString(file.string()));
  EXPECT_FALSE(tcl.evaluate(command));

  rois->removeAllRois();
  addMask("X");
  addMask("Y");
  blockMask("X");
  const auto error = tcl.evaluate(command);
  HxFileTypes::instance().unregisterSaver("HxRois", "Plain");
  HxObjectPool::instance().remove(rois);
  ASSERT_TRUE(error);
  EXPECT_THAT(error->message.toStdString(), HasSubstr("Error while saving mask X ("));
  EXPECT_THAT(names(*load(file)), ElementsAre("Y"));
}

TEST_F(SetFileWriting, ProgressCountsTheMasks) {
  fillSet();
  RecordingProgress progress;
  const ProgressScope scope(progress);
  EXPECT_EQ(save(), 1);
  EXPECT_THAT(progress.calls, ElementsAre("start Saving masks", "stop"));
  EXPECT_THAT(progress.values, ElementsAre(0.25F, 0.5F, 0.75F, 1.0F));
}

TEST_F(SetFileWriting, ARelativeNameIsNotedAbsolute) {
  fillSet();
  const CurrentFolder here(folder);
  ASSERT_EQ(rois->writeQuarnMesh("set.ROIs.qm"), 1);
  EXPECT_EQ(rois->getLoadCmd(), QString::fromStdString(fs::canonical(file).string()));
  EXPECT_TRUE(fs::is_regular_file(masks / "A.ldm"));
  fs::create_directory(folder / "below");
  ASSERT_EQ(rois->writeQuarnMesh("below/set.ROIs.qm"), 1);
  EXPECT_TRUE(fs::is_regular_file(folder / "below" / "set.ROIs-masks" / "A.ldm"));
  EXPECT_EQ(count(*load("below/set.ROIs.qm")->getMask("A")), 125U);
}

TEST_F(SetFileWriting, ParametersThatWouldBeReadAsMembersAreLeftOut) {
  fillSet();
  HxParamBundle& parameters = rois->getGroup("G")->parameters();
  parameters.getBundle("B")->set("mine", 1);
  parameters.getBundle("likeAMask")->set("__filename", "A");
  parameters.set("C", 3);
  parameters.getBundle("harmless")->set("mine", 2);
  ASSERT_EQ(save(), 1);
  EXPECT_THAT(console.consoleText(), HasSubstr("Group G: parameter \"B\" is left out of the file: a member of the "
                                               "group has its name"));
  EXPECT_THAT(console.consoleText(), HasSubstr("Group G: parameter \"C\" is left out of the file"));
  EXPECT_THAT(console.consoleText(), HasSubstr("Group G: parameter \"likeAMask\" is left out of the file: it would be "
                                               "read as a mask"));
  EXPECT_EQ(parameters.bundleCount(), 3);
  const auto loaded = load(file);
  const Group& group = *loaded->getGroup("G");
  EXPECT_EQ(group.size(), 2U);
  EXPECT_EQ(count(*loaded->getMask("B")), 24U);
  EXPECT_EQ(group.parameters().bundleCount(), 1);
  int mine = 0;
  EXPECT_TRUE(group.parameters().getBundle("harmless")->findNum("mine", mine));
  EXPECT_EQ(mine, 2);
}

TEST_F(SetFileWriting, AMemberMayHaveTheNameOfAnElement) {
  rois->addRoi(makeGroup("G", {"Id"}));
  fill(*rois->getMask("Id"), {0, 0, 0}, {2, 1, 1});
  ASSERT_EQ(save(), 1);
  const auto loaded = load(file);
  ASSERT_NE(loaded->getMask("Id"), nullptr);
  EXPECT_EQ(count(*loaded->getMask("Id")), 2U);
  EXPECT_FALSE(loaded->getGroup("G")->id().empty());
}

TEST_F(SetFileWriting, ParametersOfTheSetMakeNoRois) {
  addMask("A");
  rois->parameters.getBundle("__rois")->getBundle("ghost")->set("mine", 1);
  ASSERT_EQ(save(), 1);
  EXPECT_THAT(names(*load(file)), ElementsAre("A"));
}

TEST_F(SetFileWriting, AFailedMaskKeepsItsLastGoodFiles) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const McHandle<HxRois> loaded = load(file);
  // The voxels of the mask's own files are damaged behind its back, so that they cannot be copied any more.
  Mask* a = rois->getMask("A");
  fill(*a, {1, 1, 1}, {7, 6, 5});
  rois->flush(true);
  fs::resize_file(a->temporaryPrefix() + ".dat", 0);
  EXPECT_EQ(save(), 1);
  EXPECT_THAT(console.consoleText(), HasSubstr("Error while saving mask A ("));
  EXPECT_TRUE(rois->isModified());
  EXPECT_EQ(count(*load(file)->getMask("A")), 125U);
}

}  // namespace
