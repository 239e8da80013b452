#include <cmath>
#include <functional>
#include <limits>

#include "QuotaFileSystem.h"
#include "SetStateTest.h"
#include "quarn/kernel/io/QuarnMesh.h"

/// What a save must not do to a good set in place, and what must not keep it from saving.

using hxvoxora::FileSystem;
using hxvoxora::FileSystemOverride;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

class SetSaveTest : public SetStateTest {
protected:
  /// The set is saved, and stays there as it is when it is saved after `change`.
  void expectRefused(const std::function<void()>& change, const std::string& text) {
    fillSet();
    ASSERT_EQ(save(), 1);
    const State before = stateOnDisk();
    const std::string content = contentOf(file);
    change();
    rois->touch(8);
    console.clear();
    EXPECT_EQ(save(), 0);
    EXPECT_THAT(console.consoleText(), HasSubstr(text));
    EXPECT_TRUE(rois->isModified());
    EXPECT_EQ(contentOf(file), content);
    EXPECT_EQ(stateOnDisk(), before);
    EXPECT_EQ(litter({"A", "B", "C", "D"}), std::vector<std::string>());
  }

  /// A mask whose own voxels are damaged, so that it cannot be written.
  void damage(const std::string& name) {
    Mask* mask = rois->getMask(name);
    fill(*mask, {1, 1, 1}, {7, 6, 5});
    rois->flush(true);
    fs::resize_file(mask->temporaryPrefix() + ".dat", 0);
  }

  /// Another file that names the masks of the set.
  fs::path makeCopyOfFile() {
    const fs::path copy = folder / "other.ROIs.qm";
    fs::copy_file(file, copy);
    return copy;
  }

  static fs::perms rights(const fs::path& path) { return fs::status(path).permissions() & fs::perms::all_all; }
};

}  // namespace

// --- What could not be loaded ---------------------------------------------------------------------------------------

TEST_F(SetSaveTest, TwoRoisWithOneIdentifierAreNotSaved) {
  expectRefused([this] { rois->getMask("A")->setId(rois->getMask("D")->id()); }, "belongs to another ROI of the set");
}

TEST_F(SetSaveTest, ColoursThatAreNoNumbersAreNotSaved) {
  expectRefused([this] { rois->getMask("A")->setColor(McColor(std::nanf(""), 0, 0)); }, "__color is not three reals");
  rois = new HxRois;
  rois->setLabel("atlas");
  fs::remove_all(masks);
  fs::remove(file);
  const float infinite = std::numeric_limits<float>::infinity();
  expectRefused([&] { rois->getGroup("G")->setColor(McColor(0, infinite, 0)); }, "ROI \"G\": __color");
}

TEST_F(SetSaveTest, ParametersThatAreTooDeepAreNotSaved) {
  expectRefused(
      [this] {
        HxParamBundle* bundle = &rois->parameters;
        for (int depth = 0; depth < QuarnMesh::MAX_DEPTH; ++depth) bundle = bundle->getBundle("deeper");
      },
      "not saved, since the set could not be loaded again");
}

TEST_F(SetSaveTest, ParametersThatAreTooManyAreNotSaved) {
  expectRefused(
      [this] {
        HxParamBundle* bundle = rois->parameters.getBundle("many");
        for (int i = 0; i < 17000; ++i) bundle->insert(std::make_unique<HxParameter>("p" + std::to_string(i), i));
      },
      "not saved, since the set could not be loaded again");
}

TEST_F(SetSaveTest, TwoRoisWithOneNameAreNotSaved) {
  expectRefused(
      [this] {
        // The set knows it as "X" from now on, as one of its sets agreed to the new name and the other did not.
        const McHandle<Mask> shared = makeMask("Y");
        std::vector<McHandle<HxRois>> refusing;
        for (int i = 0; i < 200; ++i) {
          refusing.emplace_back(new HxRois);
          refusing.back()->setLabel("refusing");
          refusing.back()->addRoi(makeMask("X"));
        }
        rois->addRoi(shared);
        for (const auto& set : refusing) {
          if (std::less<>()(rois.get(), set.get())) set->addRoi(shared);
        }
        EXPECT_THROW(shared->setName("X"), McException);
        rois->addRoi(makeMask("Y"));
      },
      "two ROIs of the set have the name Y");
}

// --- Files that vanished
// ----------------------------------------------------------------------------------------------

TEST_F(SetSaveTest, AnIndexThatWasRemovedCutOrReplacedIsWrittenAgain) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const State wanted = stateOnDisk();
  const fs::path index = masks / "A.fcp";
  const std::function<void()> harms[] = {[&] { fs::remove(index); }, [&] { fs::resize_file(index, 20); },
                                         [&] {
                                           fs::remove(index);
                                           fs::copy_file(masks / "D.fcp", index);
                                         }};
  for (const auto& harm : harms) {
    rois = load(file);
    harm();
    EXPECT_EQ(save(), 1) << console.consoleText();
    EXPECT_FALSE(rois->isModified());
    EXPECT_EQ(stateOnDisk(), wanted);
    harm();
    EXPECT_EQ(rois->writeQuarnMesh((folder / "copy.ROIs.qm").c_str()), 1) << console.consoleText();
    EXPECT_EQ(stateOf(*load(folder / "copy.ROIs.qm")), wanted);
    EXPECT_EQ(rois->writeQuarnMesh(file.c_str()), 1) << console.consoleText();
    fs::remove_all(folder / "copy.ROIs-masks");
    fs::remove(folder / "copy.ROIs.qm");
  }
}

// --- Masks that cannot be written -----------------------------------------------------------------------------------

TEST_F(SetSaveTest, AMaskOfARenamedFileIsNotForgottenWhenItCannotBeWritten) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const fs::path other = folder / "other.ROIs.qm";
  fs::rename(file, other);
  rois = load(other);
  const State before = stateOf(*rois);
  damage("B");
  console.clear();
  EXPECT_EQ(rois->writeQuarnMesh(other.c_str()), 0);
  EXPECT_THAT(console.consoleText(), HasSubstr("mask B could not be written, and its former files, of mask B in " +
                                               (masks / "B.ldm").string()));
  EXPECT_EQ(stateOf(*load(other)), before);
  EXPECT_FALSE(fs::exists(folder / "other.ROIs-masks"));
}

TEST_F(SetSaveTest, FilesWithOtherTilesAreNoGoodFilesOfAMask) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const std::string id = rois->getMask("A")->id();
  const auto node = hxvoxora::makeRef<SoVolumeMask>();
  node->initializeInMemory({13, 11, 7}, {32, 32, 32});
  McHandle<Mask>(new Mask("A", node.get(), McColor(), nullptr))->writeToFile(masks / "A");
  rois = new HxRois;
  rois->setLabel("atlas");
  fillSet();
  ASSERT_NE(rois->getMask("A")->volumeMask()->getTileDimension(), SbVec3i32(32, 32, 32));
  rois->getMask("A")->setId(id);
  damage("A");
  EXPECT_EQ(save(), 1);
  EXPECT_THAT(console.consoleEntries.back(), HasSubstr("Mask A has no good files and is left out of the file"));
  EXPECT_EQ(load(file)->getMask("A"), nullptr);
}

TEST_F(SetSaveTest, FormerFilesOfAnotherNameThanTheMaskStopTheSave) {
  fillSet();
  ASSERT_EQ(save(), 1);
  // As another program may name them.
  for (const char* extension : {".ldm", ".dat", ".fcp"}) fs::remove(masks / (std::string("A") + extension));
  rois->getMask("A")->writeToFile(masks / "first");
  auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
  mesh->parameters.getBundle("__rois")->getBundle("A")->set("__filename", "first");
  ASSERT_EQ(mesh->write(file.c_str(), QuarnMesh::TEXT, nullptr, true, false), 1);
  rois = load(file);
  const State before = stateOf(*rois);
  damage("A");
  console.clear();
  EXPECT_EQ(save(), 0);
  EXPECT_THAT(console.consoleText(), HasSubstr((masks / "first.ldm").string()));
  EXPECT_EQ(stateOnDisk(), before);
}

// --- Files that share masks -----------------------------------------------------------------------------------------

TEST_F(SetSaveTest, MasksOfAnotherSetFileAreNotReplaced) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const State before = stateOnDisk();
  const fs::path copy = makeCopyOfFile();
  fill(*rois->getMask("A"), {6, 6, 6}, {1, 1, 1});
  rois->parameters.set("Note", "new");
  EXPECT_EQ(save(), 0);
  EXPECT_THAT(console.consoleText(), HasSubstr(copy.string() + " has the same masks in " + masks.string()));
  EXPECT_EQ(stateOnDisk(), before);
  EXPECT_EQ(stateOf(*load(copy)), before);
}

TEST_F(SetSaveTest, MasksThatAnotherSetFileDoesNotHaveAreSaved) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const State before = stateOnDisk();
  const fs::path copy = makeCopyOfFile();
  rois = load(file);
  fill(*addMask("E"), {6, 6, 6}, {1, 1, 1});
  EXPECT_EQ(save(), 1) << console.consoleText();
  EXPECT_EQ(stateOf(*load(copy)), before);
  EXPECT_EQ(stateOnDisk(), stateOf(*rois));

  fill(*rois->getMask("A"), {6, 6, 6}, {1, 1, 1});
  console.clear();
  EXPECT_EQ(save(), 0);
  EXPECT_THAT(console.consoleText(), AllOf(HasSubstr(copy.string() + " has the same masks in " + masks.string()),
                                           HasSubstr("mask A of it would be replaced")));
  fs::remove(copy);
  EXPECT_EQ(save(), 1) << console.consoleText();
}

TEST_F(SetSaveTest, FilesBesideThatAreNoSetFilesAreNobodysMasks) {
  fillSet();
  ASSERT_EQ(save(), 1);
  std::ofstream((folder / "broken.ROIs.qm").string()) << contentOf(file).substr(0, 300);
  fs::create_directory(folder / "folder.ROIs.qm");
  fs::create_symlink(folder / "nowhere", folder / "link.ROIs.qm");
  fill(*rois->getMask("A"), {6, 6, 6}, {1, 1, 1});
  EXPECT_EQ(save(), 1) << console.consoleText();
}

// --- Room and rights ------------------------------------------------------------------------------------------------

TEST_F(SetSaveTest, AFullTemporaryStorageDoesNotKeepFromSaving) {
  QuotaFileSystem files(FileSystem::posix(), (folder / "temporary").string());
  {
    const FileSystemOverride current(files);
    fillSet();
    ASSERT_EQ(save(), 1);
    rois = load(file);
    // Edited, new, and renamed: all of them are moved to the temporary storage otherwise.
    fill(*rois->getMask("A"), {6, 6, 6}, {1, 1, 1});
    fill(*addMask("E"), {1, 1, 1}, {3, 3, 3});
    rois->getMask("B")->setName("away");
    rois->getMask("C")->setName("B");
    rois->getMask("away")->setName("C");
    const State wanted = stateOf(*rois);
    files.setRoom(0);
    console.clear();
    EXPECT_EQ(save(), 1) << console.consoleText();
    EXPECT_THAT(console.consoleText(), Not(HasSubstr("Error while saving mask")));
    EXPECT_EQ(stateOnDisk(), wanted);
    EXPECT_EQ(stateOf(*rois), wanted);
    EXPECT_EQ(save(), 1) << console.consoleText();
    EXPECT_EQ(stateOnDisk(), wanted);
    rois = nullptr;
    hxroi::details::TemporaryFolder::leave();
  }
}

TEST_F(SetSaveTest, WhoCouldNotReadTheFormerFilesCannotReadTheNewOnes) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const auto group = fs::perms(0640), owner = fs::perms(0600);
  fs::permissions(file, group);
  for (const char* extension : {".ldm", ".dat", ".fcp"}) fs::permissions(masks / (std::string("A") + extension), owner);
  const fs::perms ofFolder = rights(masks), ofOthers = rights(masks / "D.dat");
  for (const char* name : {"A", "B", "D"}) fill(*rois->getMask(name), {6, 6, 6}, {1, 1, 1});
  addMask("E");
  ASSERT_EQ(save(), 1) << console.consoleText();
  EXPECT_EQ(rights(file), group);
  for (const char* extension : {".ldm", ".dat", ".fcp"}) {
    EXPECT_EQ(rights(masks / (std::string("A") + extension)), owner) << extension;
    EXPECT_EQ(rights(masks / (std::string("D") + extension)), ofOthers) << extension;
    EXPECT_EQ(rights(masks / (std::string("E") + extension)), group & ofOthers) << extension;
  }
  EXPECT_EQ(rights(masks), ofFolder);
  EXPECT_EQ(load(file)->getNumberOfMasks(), 5U);
}

// --- What the user is told ------------------------------------------------------------------------------------------

TEST_F(SetSaveTest, ParametersThatTheFileCannotHoldAreTold) {
  fillSet();
  rois->getMask("A")->parameters().set("__color", "mine");
  rois->getMask("B")->parameters().set("__filename", "mine");
  rois->getGroup("G")->parameters().set("__color", "mine");
  ASSERT_EQ(save(), 1);
  EXPECT_THAT(console.consoleText(), AllOf(HasSubstr("Mask A: parameter \"__color\" is left out of the file"),
                                           HasSubstr("Mask B: parameter \"__filename\" is left out of the file"),
                                           HasSubstr("Group G: parameter \"__color\" is left out of the file")));
  EXPECT_THAT(console.consoleText(), Not(HasSubstr("Mask D: parameter")));
}
