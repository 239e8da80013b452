#include "tests/hxroi/MaskTest.h"
#include "tests/hxroi/QuotaFileSystem.h"

/// Masks whose files are given to others, damaged or taken away while they are in use.

namespace {

class MaskReplacedFiles : public MaskTest {
protected:
  /// A mask of several tiles that reads "user.ldm".
  McHandle<Mask> userMask(const McBox3i& box = kOwn) {
    const auto source = makeMask(kGrid, box);
    source->getBoundingBox();
    return borrowed(*source);
  }

  McHandle<Mask> load(const std::string& name) const { return Mask::loadFromFile(name, folder / name); }

  /// Another mask is saved under the name of the file that the user's mask reads.
  void replaceUserFile() const {
    const auto other = makeMask(kGrid, kOther);
    other->getBoundingBox();
    other->writeToFile(folder / "user");
  }

  void removeUserFiles() const {
    for (const char* extension : {".ldm", ".dat", ".fcp"}) {
      boost::filesystem::remove((folder / "user").string() + extension);
    }
  }

  /// Data and header stay as they are.
  void harmIndex(bool isCut) const {
    const path index = folder / "user.fcp";
    isCut ? boost::filesystem::resize_file(index, 20) : void(boost::filesystem::remove(index));
  }

  void useUnusableDirectory() const {
    writeText(folder / "plain-file", "");
    useTemporaryDirectory(folder / "plain-file");
  }

  static constexpr McVec3i kGrid{257, 65, 33};
  static constexpr McBox3i kOwn{2, 200, 3, 5, 1, 2};
  static constexpr McBox3i kOther{20, 29, 20, 29, 10, 19};
};

}  // namespace

TEST_F(MaskReplacedFiles, WritingGivesWhatTheMaskShows) {
  for (const bool isRemoved : {false, true}) {
    const auto user = userMask();
    const auto bits = bitsOf(*user);
    isRemoved ? removeUserFiles() : replaceUserFile();
    user->writeToFile(folder / "copy");
    EXPECT_EQ(bitsOf(*load("copy")), bits);
    EXPECT_EQ(load("copy")->cachedBoundingBox(), kOwn);
    EXPECT_EQ(bitsOf(*user), bits);
    EXPECT_FALSE(user->ownsTemporaryFiles());
  }
}

TEST_F(MaskReplacedFiles, WritingOntoTheTakenNameBringsTheVoxelsBack) {
  const auto user = userMask();
  const auto bits = bitsOf(*user);
  replaceUserFile();
  user->writeToFile(folder / "user");
  EXPECT_EQ(bitsOf(*load("user")), bits);
  EXPECT_EQ(load("user")->cachedBoundingBox(), kOwn);
}

TEST_F(MaskReplacedFiles, VoxelsDamagedSinceTheLoadDoNotReplaceASavedSet) {
  for (const bool isCut : {false, true}) {
    const auto user = userMask();
    makeMask(kGrid, kOther)->writeToFile(folder / "saved");
    const auto saved = bitsOf(*load("saved"));
    std::string data = textOf(folder / "user.dat");
    isCut ? data.pop_back() : void(data.back() = static_cast<char>(data.back() ^ 1));
    writeText(folder / "user.dat", data);
    EXPECT_THAT(refusal([&] { user->writeToFile(folder / "saved"); }), ::testing::HasSubstr("user.dat"));
    EXPECT_EQ(bitsOf(*load("saved")), saved);
  }
}

TEST_F(MaskReplacedFiles, FirstEditStartsFromWhatTheMaskShows) {
  for (const bool isRemoved : {false, true}) {
    const auto user = userMask();
    const std::uint64_t before = count(*user);
    isRemoved ? removeUserFiles() : replaceUserFile();
    fill(*user, {0, 0, 0, 0, 0, 0});
    EXPECT_EQ(count(*user), before + 1);
    EXPECT_TRUE(user->ownsTemporaryFiles());
  }
}

TEST_F(MaskReplacedFiles, StoringTakesWhatTheOtherMaskShows) {
  for (const bool isFull : {false, true}) {
    const auto user = userMask();
    replaceUserFile();
    const auto target = makeMask(kGrid, isFull);
    target->store(*user);
    EXPECT_EQ(bitsOf(*target), bitsOf(*user));
    EXPECT_EQ(target->cachedBoundingBox(), kOwn);
    const McHandle<Mask> copy = new Mask("copy", *user);
    EXPECT_EQ(bitsOf(*copy), bitsOf(*user));
  }
}

TEST_F(MaskReplacedFiles, StoringFilesIntoAMaskCreatedFullLeavesNoVoxelOfIt) {
  const auto source = makeMask(kGrid, McBox3i(0, 0, 0, 0, 0, 0));
  source->flush(0);
  const auto target = makeMask(kGrid, true);
  target->store(*source);
  EXPECT_EQ(count(*target), 1U);
}

TEST_F(MaskReplacedFiles, ForcedFlushBringsBackFilesThatWereRemoved) {
  const auto mask = makeMask(kGrid, kOwn);
  mask->flush(0);
  Mask::removeTemporaryFiles(mask->temporaryPrefix());
  mask->flush(1);
  const McHandle<Mask> again(Mask::loadFromFile("again", mask->temporaryPrefix()));
  EXPECT_EQ(bitsOf(*again), bitsOf(*mask));
}

TEST_F(MaskReplacedFiles, ForcedFlushUnderANewPrefixWritesTheVoxels) {
  const auto mask = makeMask(kGrid, kOwn);
  mask->flush(0);
  const std::string former = mask->temporaryPrefix();
  const std::uint64_t before = count(*mask);
  mask->setupTemporaryStorage();
  mask->flush(1);
  EXPECT_EQ(count(*mask), before);
  const McHandle<Mask> loaded = Mask::loadFromFile("again", mask->temporaryPrefix());
  EXPECT_EQ(count(*loaded), before);
  Mask::removeTemporaryFiles(former);
}

TEST_F(MaskReplacedFiles, ForcedFlushWithoutAFolderWipesNothing) {
  const auto source = makeMask(kGrid, kOwn);
  source->writeToFile(folder / "user");
  useUnusableDirectory();
  const auto user = load("user");
  user->saveMaskToTemporary();
  user->flush(3);
  EXPECT_EQ(bitsOf(*user), bitsOf(*source));
}

TEST_F(MaskReplacedFiles, EditsAreSavedWithoutAFolder) {
  useUnusableDirectory();
  const auto mask = makeMask(kGrid, kOwn);
  mask->getBoundingBox();
  mask->writeToFile(folder / "out");
  EXPECT_EQ(bitsOf(*load("out")), bitsOf(*mask));
  EXPECT_EQ(load("out")->cachedBoundingBox(), kOwn);
  fill(*mask, kOther);
  mask->writeToFile(folder / "out");
  EXPECT_EQ(bitsOf(*load("out")), bitsOf(*mask));
}

TEST_F(MaskReplacedFiles, EditsOfABorrowedMaskAreSavedOntoItsFileWithoutAFolder) {
  const auto source = makeMask(kGrid, kOwn);
  source->writeToFile(folder / "user");
  useUnusableDirectory();
  const auto user = load("user");
  fill(*user, kOther);
  user->writeToFile(folder / "user");
  EXPECT_EQ(bitsOf(*load("user")), bitsOf(*user));
  *source |= *makeMask(kGrid, kOther);
  EXPECT_EQ(bitsOf(*user), bitsOf(*source));
  user->writeToFile(folder / "user");
  EXPECT_EQ(bitsOf(*load("user")), bitsOf(*source));
}

TEST_F(MaskReplacedFiles, RefusedAssignmentOfAnotherSizeLeavesTheMask) {
  const auto user = userMask();
  user->touch(8);
  // Written over in place, so that the node notices when it looks for the box.
  writeText(folder / "user.dat", textOf(folder / "user.dat") + "x");
  const auto mask = makeMask({13, 11, 7}, McBox3i(2, 4, 3, 5, 1, 2));
  mask->flush(0);
  const auto bits = bitsOf(*mask);
  EXPECT_THROW(*mask = *user, McException);
  EXPECT_EQ(mask->dimensions(), McVec3i(13, 11, 7));
  EXPECT_EQ(bitsOf(*mask), bits);
  EXPECT_TRUE(exists(mask->temporaryPrefix() + ".ldm"));
}

TEST_F(MaskReplacedFiles, AssignmentOfAnotherSizeIntoABorrowedMaskLeavesTheUsersFiles) {
  const auto other = makeMask({40, 30, 20}, McBox3i(33, 39, 3, 25, 1, 19), "other");
  const auto user = userMask();
  const auto before = hashesOf(folder);
  *user = *other;
  EXPECT_EQ(bitsOf(*user), bitsOf(*other));
  user->flush(3);
  EXPECT_EQ(hashesOf(folder), before);
  EXPECT_TRUE(user->ownsTemporaryFiles());
  EXPECT_NE(user->volumeMask()->fileName(), (folder / "user.ldm").string());
}

TEST_F(MaskReplacedFiles, StoringTakesVoxelsWhoseDataFileWasRemoved) {
  const auto user = userMask();
  boost::filesystem::remove(folder / "user.dat");
  const auto target = makeMask(kGrid, false);
  target->store(*user);
  EXPECT_EQ(bitsOf(*target), bitsOf(*user));
}

TEST_F(MaskReplacedFiles, AnIndexThatIsGoneIsNotNeeded) {
  for (const bool isCut : {false, true}) {
    const auto user = userMask();
    const auto bits = bitsOf(*user);
    harmIndex(isCut);
    EXPECT_FALSE(user->readsUnchanged(folder / "user"));
    user->writeToFile(folder / "copy");
    EXPECT_EQ(bitsOf(*load("copy")), bits);
    const McHandle<Mask> copy = new Mask("copy", *user);
    EXPECT_EQ(bitsOf(*copy), bits);
    user->writeToFile(folder / "user");
    EXPECT_EQ(bitsOf(*load("user")), bits);
    harmIndex(isCut);
    fill(*user, {0, 0, 0, 0, 0, 0});
    EXPECT_EQ(count(*user), count(*copy) + 1);
  }
}

TEST_F(MaskReplacedFiles, RefusedStoringGivesBackPrefixAndFileNames) {
  const auto source = makeMask(kGrid, kOwn, "source");
  source->flush(0);
  const auto files = temporaryFiles();
  useUnusableDirectory();
  const auto mask = makeMask(kGrid, kOther);
  useTemporaryDirectory(folder / "temporary");
  {
    QuotaFileSystem full(hxvoxora::FileSystem::posix(), (folder / "temporary").string());
    full.setRoom(0);
    const hxvoxora::FileSystemOverride current(full);
    EXPECT_THROW(mask->store(*source), McException);
  }
  EXPECT_EQ(mask->temporaryPrefix(), "");
  mask->flush(3);
  EXPECT_EQ(temporaryFiles(), files);
  EXPECT_TRUE(mask->volumeMask()->hasUnsavedEdits());
}

TEST_F(MaskReplacedFiles, HeaderThatCannotBeEditedIsCopiedAsItIs) {
  userMask();
  std::string text = textOf(folder / "user.ldm");
  // Two attributes of one name: good enough to be read, not to be edited.
  writeText(folder / "user.ldm", text.insert(text.find("</VolumeInformation>"), "<Note a=\"1\" a=\"2\"/>"));
  const auto user = load("user");
  user->setBoundingBox({0, 256, 0, 64, 0, 32});
  user->writeToFile(folder / "copy");
  EXPECT_THAT(textOf(folder / "copy.ldm"), ::testing::HasSubstr("<Note a=\"1\" a=\"2\"/>"));
  EXPECT_EQ(load("copy")->cachedBoundingBox(), kOwn);
  EXPECT_EQ(bitsOf(*load("copy")), bitsOf(*user));
}
