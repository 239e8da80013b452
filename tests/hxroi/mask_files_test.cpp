#include <sys/stat.h>

#include "hxroi/details/MaskFiles.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/VolumeHeader.h"
#include "tests/hxroi/MaskTest.h"

namespace {

class MaskFilesTest : public MaskTest {
protected:
  MaskFilesTest() { userFile("a"); }

  void userFile(const std::string& name, const McBox3i& box = {2, 4, 3, 5, 1, 2}) const {
    makeMask({13, 11, 7}, box)->writeToFile(folder / name);
  }

  std::uint64_t countIn(const std::string& name) const {
    const McHandle<Mask> mask = Mask::loadFromFile("m", folder / name);
    return count(*mask);
  }

  void replaceInHeader(const std::string& name, const std::string& from, const std::string& to) const {
    std::string text = textOf(folder / (name + ".ldm"));
    ASSERT_NE(text.find(from), std::string::npos) << from;
    writeText(folder / (name + ".ldm"), text.replace(text.find(from), from.size(), to));
  }

  hxvoxora::VolumeHeader header(const std::string& name) const {
    return hxvoxora::VolumeHeader::read(hxvoxora::FileSystem::posix(), (folder / (name + ".ldm")).string());
  }

  /// Names of all files that start with `name`.
  std::vector<std::string> filesOf(const std::string& name) const {
    std::vector<std::string> names;
    for (const auto& [file, hash] : hashesOf(folder)) {
      if (file.rfind(name, 0) == 0) names.push_back(file);
    }
    return names;
  }
};

}  // namespace

TEST_F(MaskFilesTest, CopyNamesItsOwnFiles) {
  Mask::copyMask(folder / "a", folder / "b");
  EXPECT_EQ(header("b").dataFile, "b.dat");
  EXPECT_EQ(header("b").indexFile, "b.fcp");
  EXPECT_EQ(textOf(folder / "b.dat"), textOf(folder / "a.dat"));
  EXPECT_EQ(textOf(folder / "b.fcp"), textOf(folder / "a.fcp"));
  EXPECT_EQ(countIn("b"), 18U);
}

TEST_F(MaskFilesTest, PartsOfAnotherSaveAreRefusedAndTheTargetStays) {
  userFile("other", {0, 0, 0, 0, 0, 0});
  userFile("target");
  for (const char* extension : {".dat", ".fcp"}) {
    Mask::copyMask(folder / "a", folder / "source");
    writeText((folder / "source").string() + extension, textOf((folder / "other").string() + extension));
    const auto before = hashesOf(folder);
    EXPECT_THAT(refusal([&] { Mask::copyMask(folder / "source", folder / "target"); }),
                ::testing::HasSubstr("as in the header"));
    EXPECT_EQ(hashesOf(folder), before);
    EXPECT_EQ(filesOf("target").size(), 3U);
  }
}

TEST_F(MaskFilesTest, CopyOntoItselfIsANoOp) {
  const auto before = hashesOf(folder);
  Mask::copyMask(folder / "a", folder / "a");
  boost::filesystem::create_symlink(folder / "a.ldm", folder / "link.ldm");
  Mask::copyMask(folder / "a", folder / "link");
  Mask::copyMask(folder / "a", folder / "temporary" / ".." / "a");
  boost::filesystem::remove(folder / "link.ldm");
  EXPECT_EQ(hashesOf(folder), before);
}

TEST_F(MaskFilesTest, NamesThatOccurInOtherNamesAreExchangedRightly) {
  for (const char* name : {"data", "dat", "ldm", "D", "DataFile", "t", "VolumeInformation", "A"}) {
    userFile(name);
    Mask::copyMask(folder / name, folder / "copy");
    EXPECT_EQ(header("copy").dataFile, "copy.dat") << name;
    EXPECT_EQ(countIn("copy"), 18U) << name;
    Mask::copyMask(folder / "copy", folder / "x");
    EXPECT_EQ(countIn("x"), 18U) << name;
  }
}

TEST_F(MaskFilesTest, NameInAnotherElementDoesNotMislead) {
  replaceInHeader("a", "<VolumeInformation>", "<VolumeInformation><Note>a.dat a.fcp</Note>");
  Mask::copyMask(folder / "a", folder / "b");
  EXPECT_EQ(header("b").dataFile, "b.dat");
  EXPECT_EQ(countIn("b"), 18U);
}

TEST_F(MaskFilesTest, HeaderOnOneLineIsCopied) {
  std::string text = textOf(folder / "a.ldm");
  std::erase(text, '\n');
  writeText(folder / "a.ldm", text);
  Mask::copyMask(folder / "a", folder / "b");
  EXPECT_EQ(countIn("b"), 18U);
}

TEST_F(MaskFilesTest, FilesThatTheHeaderNamesAreCopied) {
  userFile("other", {0, 12, 0, 10, 0, 6});
  boost::filesystem::rename(folder / "a.dat", folder / "data.dat");
  boost::filesystem::rename(folder / "a.fcp", folder / "a-index");
  replaceInHeader("a", "a.dat", "data.dat");
  replaceInHeader("a", "a.fcp", "a-index");
  boost::filesystem::copy_file(folder / "other.dat", folder / "a.dat");
  Mask::copyMask(folder / "a", folder / "b");
  EXPECT_EQ(header("b").dataFile, "b.dat");
  EXPECT_EQ(countIn("b"), 18U);
}

TEST_F(MaskFilesTest, NamesThatPointElsewhereAreRefused) {
  writeText(folder / "temporary" / "canary.dat", "canary");
  for (const std::string name : {"temporary/canary.dat", "../canary.dat", "..", "", "a.ldm"}) {
    userFile("a");
    replaceInHeader("a", ">a.dat<", ">" + name + "<");
    EXPECT_THAT(refusal([&] { Mask::copyMask(folder / "a", folder / "b"); }), ::testing::HasSubstr("DataFile")) << name;
    EXPECT_TRUE(filesOf("b").empty());
  }
}

TEST_F(MaskFilesTest, LinksInPlaceOfFilesAreRefused) {
  boost::filesystem::rename(folder / "a.dat", folder / "real.dat");
  boost::filesystem::create_symlink(folder / "real.dat", folder / "a.dat");
  EXPECT_THROW(Mask::copyMask(folder / "a", folder / "b"), McException);
  EXPECT_TRUE(filesOf("b").empty());
}

TEST_F(MaskFilesTest, MissingSourceIsRefused) {
  EXPECT_THAT(refusal([&] { Mask::copyMask(folder / "missing", folder / "b"); }), ::testing::HasSubstr("missing.ldm"));
  boost::filesystem::remove(folder / "a.fcp");
  EXPECT_THAT(refusal([&] { Mask::copyMask(folder / "a", folder / "b"); }), ::testing::HasSubstr("a.fcp"));
  EXPECT_TRUE(filesOf("b").empty());
}

TEST_F(MaskFilesTest, EmptyPrefixesAreRefused) {
  EXPECT_THROW(Mask::copyMask("", folder / "b"), McException);
  EXPECT_THROW(Mask::copyMask(folder / "a", ""), McException);
}

TEST_F(MaskFilesTest, OlderTargetIsReplacedAndLeavesNothingBehind) {
  userFile("b", {0, 12, 0, 10, 0, 6});
  Mask::copyMask(folder / "a", folder / "b");
  EXPECT_EQ(countIn("b"), 18U);
  EXPECT_THAT(filesOf("b"), ::testing::ElementsAre("b.dat", "b.fcp", "b.ldm"));
}

TEST_F(MaskFilesTest, CopyingTheSameSaveAgainIsHarmless) {
  Mask::copyMask(folder / "a", folder / "b");
  Mask::copyMask(folder / "a", folder / "b");
  EXPECT_EQ(countIn("b"), 18U);
  EXPECT_THAT(filesOf("b"), ::testing::ElementsAre("b.dat", "b.fcp", "b.ldm"));
}

TEST_F(MaskFilesTest, StaleTargetIndexGoes) {
  writeText(folder / "b.fcp", "stale");
  Mask::copyMask(folder / "a", folder / "b");
  EXPECT_EQ(countIn("b"), 18U);
}

TEST_F(MaskFilesTest, FailedCopyKeepsTheOldTarget) {
  userFile("b", {0, 12, 0, 10, 0, 6});
  const auto before = hashesOf(folder);
  boost::filesystem::remove(folder / "a.fcp");
  EXPECT_THROW(Mask::copyMask(folder / "a", folder / "b"), McException);
  auto after = hashesOf(folder);
  after["a.fcp"] = before.at("a.fcp");
  EXPECT_EQ(after, before);
}

TEST_F(MaskFilesTest, FilesOfAnotherMaskThatTheTargetHeaderNamesStay) {
  userFile("b", {0, 12, 0, 10, 0, 6});
  const auto before = hashesOf(folder);
  writeText(folder / "target.ldm", textOf(folder / "b.ldm"));
  Mask::copyMask(folder / "a", folder / "target");
  EXPECT_EQ(countIn("target"), 18U);
  EXPECT_EQ(countIn("b"), 13U * 11 * 7);
  for (const auto& [name, hash] : before) EXPECT_EQ(hashesOf(folder)[name], hash) << name;
  EXPECT_THAT(filesOf("target"), ::testing::ElementsAre("target.dat", "target.fcp", "target.ldm"));
}

TEST_F(MaskFilesTest, TargetHeaderThatNamesTheSourceIsReplaced) {
  writeText(folder / "target.ldm", textOf(folder / "a.ldm"));
  writeText(folder / "target.dat", "something else");
  Mask::copyMask(folder / "a", folder / "target");
  EXPECT_EQ(header("target").dataFile, "target.dat");
  EXPECT_EQ(countIn("target"), 18U);
  EXPECT_EQ(countIn("a"), 18U);
  EXPECT_THAT(filesOf("target"), ::testing::ElementsAre("target.dat", "target.fcp", "target.ldm"));
}

TEST_F(MaskFilesTest, DamagedVoxelsAreRefusedAndTheTargetStays) {
  userFile("target", {0, 0, 0, 0, 0, 0});
  const std::string whole = textOf(folder / "a.dat");
  std::string flipped = whole;
  flipped.back() = static_cast<char>(flipped.back() ^ 1);
  const auto refused = [&](const std::string& data) {
    writeText(folder / "a.dat", data);
    const auto before = hashesOf(folder);
    const std::string text = refusal([&] { Mask::copyMask(folder / "a", folder / "target"); });
    EXPECT_EQ(hashesOf(folder), before);
    EXPECT_EQ(countIn("target"), 1U);
    EXPECT_THAT(text, ::testing::HasSubstr((folder / "a.dat").string()));
    return text;
  };
  EXPECT_THAT(refused(flipped), ::testing::HasSubstr("tile 0: the checksum is wrong"));
  EXPECT_THAT(refused(whole.substr(0, whole.size() - 1)), ::testing::HasSubstr("data length"));
  writeText(folder / "a.dat", whole);
  Mask::copyMask(folder / "a", folder / "target");
  EXPECT_EQ(countIn("target"), 18U);
}

TEST_F(MaskFilesTest, DamagedIndexIsRefused) {
  std::string index = textOf(folder / "a.fcp");
  index[index.size() / 2] = static_cast<char>(index[index.size() / 2] ^ 1);
  writeText(folder / "a.fcp", index);
  EXPECT_THROW(Mask::copyMask(folder / "a", folder / "b"), McException);
  EXPECT_TRUE(filesOf("b").empty());
}

TEST_F(MaskFilesTest, FilesOfKilledCopiesGo) {
  Mask::copyMask(folder / "a", folder / "b");
  for (const char* name : {"b.ldm", "b.dat", "b.fcp"}) {
    writeText(folder / (std::string(name) + "~0123456789abcdef"), "left");
  }
  Mask::copyMask(folder / "a", folder / "b");
  EXPECT_THAT(filesOf("b"), ::testing::ElementsAre("b.dat", "b.fcp", "b.ldm"));
}

TEST_F(MaskFilesTest, FilesOfARunningCopyStay) {
  const std::string running = "b.dat~0123456789abcdef";
  writeText(folder / running, "being written");
  writeText(folder / "b.fcp~0123456789abcdef", "being written");
  const auto lock = hxvoxora::FileSystem::posix().tryLock((folder / running).string());
  ASSERT_TRUE(lock);
  Mask::copyMask(folder / "a", folder / "b");
  EXPECT_EQ(countIn("b"), 18U);
  EXPECT_THAT(filesOf("b"), ::testing::ElementsAre("b.dat", running, "b.fcp", "b.fcp~0123456789abcdef", "b.ldm"));
}

TEST_F(MaskFilesTest, TargetsThatAreNoFilesAreRefused) {
  writeText(folder / "canary", "canary");
  boost::filesystem::create_directory(folder / "d.dat");
  boost::filesystem::create_symlink(folder / "canary", folder / "l.ldm");
  ASSERT_EQ(::mkfifo((folder / "f.fcp").string().c_str(), 0600), 0);
  for (const char* name : {"d", "l", "f"}) {
    EXPECT_THROW(Mask::copyMask(folder / "a", folder / name), McException) << name;
  }
  EXPECT_EQ(textOf(folder / "canary"), "canary");
  EXPECT_TRUE(filesOf("d").empty());
}

TEST_F(MaskFilesTest, UnusableTargetFolderIsNamed) {
  EXPECT_THAT(refusal([&] { Mask::copyMask(folder / "a", folder / "none" / "b"); }), ::testing::HasSubstr("none/b"));
}

TEST_F(MaskFilesTest, RemovingTakesAllThreeFiles) {
  Mask::removeTemporaryFiles(folder / "a");
  EXPECT_TRUE(filesOf("a").empty());
}

TEST_F(MaskFilesTest, RemovingGoesOnAfterAFailure) {
  boost::filesystem::remove(folder / "a.ldm");
  boost::filesystem::create_directories(folder / "a.ldm" / "in-the-way");
  EXPECT_THROW(Mask::removeTemporaryFiles(folder / "a"), McException);
  EXPECT_TRUE(filesOf("a").empty());
}
