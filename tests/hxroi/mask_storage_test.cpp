#include <QCoreApplication>
#include <QTimer>
#include <cstdlib>
#include <ctime>
#include <regex>
#include <set>
#include <sys/stat.h>
#include <sys/types.h>
#include <thread>
#include <unistd.h>

#include "hxroi/details/TemporaryFolder.h"
#include "quarn/kernel/app/HxSkin.h"
#include "quarn/voxora/files/FaultFileSystem.h"
#include "tests/hxroi/MaskTest.h"

namespace {

class MaskStorage : public MaskTest {
protected:
  path tmpMasks() const { return folder / "temporary" / "tmp-masks"; }

  static std::string mark() { return "owner-" + std::to_string(::getpid()) + "-0.lock"; }

  static int modeOf(const path& file) {
    struct stat info {};
    EXPECT_EQ(::lstat(file.string().c_str(), &info), 0) << file;
    return static_cast<int>(info.st_mode & 07777);
  }

  /// What the user is told when `directory` contains a path that cannot be used.
  static std::string accessText(const std::string& directory) {
    const std::string product = HxApplication::instance()->skin()->getApplicationName().toStdString();
    return "Can't access " + directory + " directory.\n" + "Application will be closed.\n" +
           "Please, consider to start " + product + " with Administrator privileges.\n" +
           "In a next version, it will possible to specify a temporary directory where to store ROIs.";
  }

  void expectRefused(const std::string& containingDirectory) {
    console.clear();
    EXPECT_EQ(Mask::getTemporaryPrefix(), "");
    ASSERT_EQ(console.criticals.size(), 1U);
    EXPECT_EQ(console.criticals[0].first, HxApplication::instance()->skin()->getCaption("Main") + "- Critical");
    EXPECT_EQ(console.criticals[0].second.toStdString(), accessText(containingDirectory));
    console.clear();
  }

  /// Nothing can be made below a plain file, not even by the superuser.
  void useUnusableDirectory() {
    writeText(folder / "plain-file", "");
    useTemporaryDirectory(folder / "plain-file");
  }

  McHandle<Mask> userMask() {
    auto source = makeMask({13, 11, 7}, McBox3i(2, 4, 3, 5, 1, 2));
    source->setBoundingBox({2, 4, 3, 5, 1, 2});
    return borrowed(*source);
  }
};

}  // namespace

TEST_F(MaskStorage, PrefixIsMadeOfTimeCounterAndProcess) {
  const std::string prefix = Mask::getTemporaryPrefix();
  const std::string stem = path(prefix).filename().string();
  EXPECT_EQ(path(prefix).parent_path(), tmpMasks());
  std::smatch parts;
  ASSERT_TRUE(std::regex_match(stem, parts, std::regex(R"((\d{8}T\d{6}\.\d{6})-(\d+)-(\d+))"))) << stem;
  EXPECT_EQ(parts[3], std::to_string(::getpid()));
  const std::string next = path(Mask::getTemporaryPrefix()).filename().string();
  ASSERT_TRUE(std::regex_match(next, std::regex(".*-" + std::to_string(std::stoi(parts[2]) + 1) + "-\\d+"))) << next;
}

TEST_F(MaskStorage, PrefixTellsTheTimeInUtc) {
  const char* former = std::getenv("TZ");
  const std::string zone = former ? former : "";
  ::setenv("TZ", "AHEAD-11", 1);
  ::tzset();
  const std::string stem = path(Mask::getTemporaryPrefix()).filename().string();
  former ? ::setenv("TZ", zone.c_str(), 1) : ::unsetenv("TZ");
  ::tzset();
  std::tm told{};
  ASSERT_EQ(::strptime(stem.c_str(), "%Y%m%dT%H%M%S", &told), stem.c_str() + 15) << stem;
  EXPECT_NEAR(static_cast<double>(::timegm(&told)), static_cast<double>(std::time(nullptr)), 60);
}

TEST_F(MaskStorage, BorrowedMaskTakesOneStepOfTheCounter) {
  const auto counterOf = [](const std::string& prefix) {
    const std::string stem = path(prefix).filename().string();
    const auto first = stem.find('-') + 1;
    return std::stoi(stem.substr(first, stem.rfind('-') - first));
  };
  makeMask()->writeToFile(folder / "user");
  const int before = counterOf(Mask::getTemporaryPrefix());
  const McHandle<Mask> user = Mask::loadFromFile("user", folder / "user");
  fill(*user, {0, 0, 0, 0, 0, 0});
  EXPECT_EQ(counterOf(user->temporaryPrefix()), before + 1);
  EXPECT_EQ(counterOf(Mask::getTemporaryPrefix()), before + 2);
}

TEST_F(MaskStorage, FolderStaysWhenTheLastMaskGoes) {
  { makeMask({13, 11, 7}, {2, 4, 3, 5, 1, 2})->flush(0); }
  EXPECT_TRUE(temporaryFiles().empty());
  EXPECT_TRUE(boost::filesystem::is_directory(tmpMasks()));
}

TEST_F(MaskStorage, PrefixesNeverRepeat) {
  std::set<std::string> prefixes;
  std::vector<std::vector<std::string>> found(4);
  std::vector<std::thread> threads;
  for (auto& list : found) {
    threads.emplace_back([&list] {
      for (int i = 0; i < 250; ++i) list.push_back(Mask::getTemporaryPrefix());
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const auto& list : found) prefixes.insert(list.begin(), list.end());
  EXPECT_EQ(prefixes.size(), 1000U);
}

TEST_F(MaskStorage, PrefixMakesNoFileButAPrivateFolder) {
  Mask::getTemporaryPrefix();
  EXPECT_TRUE(temporaryFiles().empty());
  EXPECT_EQ(modeOf(tmpMasks()), 0700);
}

TEST_F(MaskStorage, ProcessIsMarkedOncePrivately) {
  hxvoxora::FaultFileSystem files(hxvoxora::FileSystem::posix());
  {
    const hxvoxora::FileSystemOverride current(files);
    for (int i = 0; i < 100; ++i) Mask::getTemporaryPrefix();
    EXPECT_EQ(files.callCount(hxvoxora::FileCall::create), 1U);
    EXPECT_EQ(files.callCount(hxvoxora::FileCall::lock), 1U);
    EXPECT_LT(files.callCount(), 500U);
    EXPECT_EQ(modeOf(tmpMasks() / mark()), 0600);
    hxroi::details::TemporaryFolder::leave();
  }
  EXPECT_FALSE(exists((tmpMasks() / mark()).string()));
}

TEST_F(MaskStorage, MarkThatWasCleanedAwayIsMadeAgain) {
  Mask::getTemporaryPrefix();
  boost::filesystem::remove(tmpMasks() / mark());
  Mask::getTemporaryPrefix();
  EXPECT_TRUE(exists((tmpMasks() / mark()).string()));
}

TEST_F(MaskStorage, FolderThatGoesBadLaterIsReported) {
  const auto mask = makeMask();
  boost::filesystem::remove_all(tmpMasks());
  writeText(tmpMasks(), "in the way");
  expectRefused((folder / "temporary").string());
  boost::filesystem::remove(tmpMasks());
  EXPECT_NE(Mask::getTemporaryPrefix(), "");
}

TEST_F(MaskStorage, EveryMaskTakesAPrefixABorrowedOneToo) {
  const auto user = userMask();
  EXPECT_NE(user->temporaryPrefix(), "");
  EXPECT_FALSE(exists(user->temporaryPrefix() + ".ldm"));
}

TEST_F(MaskStorage, FilesArePrivate) {
  const auto mask = makeMask();
  mask->flush(1);
  for (const char* extension : {".ldm", ".dat", ".fcp"}) EXPECT_EQ(modeOf(mask->temporaryPrefix() + extension), 0600);
}

TEST_F(MaskStorage, FilesOfTheUserFollowTheModeMaskAndCopiesOfThemArePrivate) {
  const mode_t former = ::umask(022);
  const auto mask = makeMask({13, 11, 7}, {2, 4, 3, 5, 1, 2});
  mask->getBoundingBox();
  mask->writeToFile(folder / "user");
  for (const char* extension : {".ldm", ".dat", ".fcp"}) {
    EXPECT_EQ(modeOf((folder / "user").string() + extension), 0644) << extension;
  }
  useUnusableDirectory();
  makeMask({13, 11, 7}, {2, 4, 3, 5, 1, 2})->writeToFile(folder / "direct");
  for (const char* extension : {".ldm", ".dat", ".fcp"}) {
    EXPECT_EQ(modeOf((folder / "direct").string() + extension), 0644) << extension;
  }
  useTemporaryDirectory(folder / "temporary");
  const McHandle<Mask> loaded(Mask::loadFromFile("user", folder / "user"));
  loaded->saveMaskToTemporary();
  for (const char* extension : {".ldm", ".dat", ".fcp"}) {
    EXPECT_EQ(modeOf(loaded->temporaryPrefix() + extension), 0600) << extension;
  }
  ::umask(former);
}

TEST_F(MaskStorage, BaseThatCannotBeWrittenIsReported) {
  useUnusableDirectory();
  expectRefused(folder.string());
  useTemporaryDirectory(folder / "missing");
  expectRefused(folder.string());
}

TEST_F(MaskStorage, FolderThatCannotBeMadeIsReported) {
  writeText(tmpMasks(), "in the way");
  expectRefused((folder / "temporary").string());
}

TEST_F(MaskStorage, LinkInPlaceOfTheFolderIsRefused) {
  boost::filesystem::create_directory(folder / "elsewhere");
  boost::filesystem::create_symlink(folder / "elsewhere", tmpMasks());
  expectRefused((folder / "temporary").string());
  EXPECT_TRUE(boost::filesystem::is_empty(folder / "elsewhere"));
}

TEST_F(MaskStorage, FolderThatOthersMayWriteToIsRefused) {
  boost::filesystem::create_directory(tmpMasks());
  ASSERT_EQ(::chmod(tmpMasks().string().c_str(), 0777), 0);
  expectRefused((folder / "temporary").string());
}

TEST_F(MaskStorage, FolderOfSomebodyElseIsRefused) {
  if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can give files away";
  boost::filesystem::create_directory(tmpMasks());
  ASSERT_EQ(::chown(tmpMasks().string().c_str(), 12345, 12345), 0);
  expectRefused((folder / "temporary").string());
}

TEST_F(MaskStorage, ReadableFolderIsMadePrivate) {
  boost::filesystem::create_directory(tmpMasks());
  ASSERT_EQ(::chmod(tmpMasks().string().c_str(), 0755), 0);
  EXPECT_NE(Mask::getTemporaryPrefix(), "");
  EXPECT_EQ(modeOf(tmpMasks()), 0700);
}

TEST_F(MaskStorage, AccessErrorAsksTheApplicationToEndWithStatusZero) {
  useUnusableDirectory();
  QTimer::singleShot(0, [] { Mask::getTemporaryPrefix(); });
  QTimer::singleShot(10000, [] { QCoreApplication::exit(99); });
  EXPECT_EQ(QCoreApplication::exec(), 0);
}

TEST_F(MaskStorage, MaskWithoutFolderCarriesOnInMemory) {
  useUnusableDirectory();
  const auto mask = makeMask();
  EXPECT_EQ(mask->temporaryPrefix(), "");
  fill(*mask, {1, 2, 1, 2, 1, 2});
  EXPECT_EQ(count(*mask), 8U);
  mask->flush(0);
  mask->flush(3);
  EXPECT_TRUE(mask->volumeMask()->hasUnsavedEdits());
  const McHandle<Mask> copy = new Mask("copy", *mask);
  EXPECT_EQ(count(*copy), 8U);
}

TEST_F(MaskStorage, MaskWithoutFolderLeavesTheWorkingFolderAlone) {
  useUnusableDirectory();
  const path before = boost::filesystem::current_path();
  boost::filesystem::create_directory(folder / "working");
  boost::filesystem::current_path(folder / "working");
  for (const char* decoy : {".ldm", ".dat", ".fcp"}) writeText(decoy, "decoy");
  const auto decoys = hashesOf(folder / "working");
  {
    const auto mask = makeMask({13, 11, 7}, true);
    mask->flush(3);
    fill(*mask, {1, 2, 1, 2, 1, 2});
    mask->flush(1);
    mask->writeToFile(folder / "out");
    EXPECT_THROW(mask->writeToFile(""), McException);
  }
  Mask::removeTemporaryFiles("");
  boost::filesystem::current_path(before);
  EXPECT_EQ(hashesOf(folder / "working"), decoys);
}

TEST_F(MaskStorage, BorrowedMaskWithoutFolderIsEditedInMemory) {
  const auto source = makeMask({13, 11, 7}, McBox3i(2, 4, 3, 5, 1, 2));
  source->writeToFile(folder / "user");
  const auto files = hashesOf(folder);
  useUnusableDirectory();
  {
    const McHandle<Mask> mask = Mask::loadFromFile("user", folder / "user");
    *mask = true;
    mask->flush(3);
    EXPECT_EQ(count(*mask), 13U * 11 * 7);
  }
  boost::filesystem::remove(folder / "plain-file");
  EXPECT_EQ(hashesOf(folder), files);
}

TEST_F(MaskStorage, EmptyPrefixKeepsTheFormerFileNames) {
  const auto mask = makeMask();
  fill(*mask, {1, 2, 1, 2, 1, 2});
  const std::string former = mask->temporaryPrefix();
  useUnusableDirectory();
  mask->setupTemporaryStorage();
  EXPECT_EQ(mask->temporaryPrefix(), "");
  mask->flush(0);
  EXPECT_TRUE(exists(former + ".ldm"));
  Mask::removeTemporaryFiles(former);
}

TEST_F(MaskStorage, FlushWithoutEditsDoesNothing) {
  const auto mask = makeMask();
  mask->flush(0);
  mask->flush(2);
  EXPECT_TRUE(temporaryFiles().empty());
  EXPECT_EQ(mask->volumeMask()->fileName(), "");
}

TEST_F(MaskStorage, FlushWritesPendingEdits) {
  const auto mask = makeMask({13, 11, 7}, McBox3i(2, 4, 3, 5, 1, 2));
  EXPECT_TRUE(mask->volumeMask()->hasUnsavedEdits());
  mask->flush(0);
  EXPECT_FALSE(mask->volumeMask()->hasUnsavedEdits());
  EXPECT_EQ(mask->volumeMask()->fileName(), mask->temporaryPrefix() + ".ldm");
  EXPECT_EQ(count(*mask), 18U);
}

TEST_F(MaskStorage, ForcedFlushOfANewMaskWritesZerosEvenWhenItWasCreatedFull) {
  for (const bool value : {false, true}) {
    const auto mask = makeMask({13, 11, 7}, value);
    mask->flush(1);
    EXPECT_EQ(count(*mask), 0U);
    const auto loaded = borrowed(*mask);
    EXPECT_EQ(count(*loaded), 0U);
  }
}

TEST_F(MaskStorage, ForcedFlushOfASavedMaskWritesNothing) {
  const auto mask = makeMask({13, 11, 7}, McBox3i(2, 4, 3, 5, 1, 2));
  mask->flush(0);
  const auto before = hashesOf(tmpMasks());
  mask->flush(1);
  EXPECT_EQ(hashesOf(tmpMasks()), before);
  mask->flush(3);
  EXPECT_EQ(count(*mask), 18U);
}

TEST_F(MaskStorage, FlushOfABorrowedMaskDoesNothing) {
  const auto user = userMask();
  const auto before = hashesOf(folder);
  user->flush(3);
  EXPECT_EQ(hashesOf(folder), before);
  EXPECT_TRUE(temporaryFiles().empty());
}

TEST_F(MaskStorage, SavedMaskWhoseFileIsGoneIsNotTakenForANewOne) {
  const auto mask = makeMask({13, 11, 7}, McBox3i(2, 4, 3, 5, 1, 2));
  mask->flush(0);
  boost::filesystem::remove(mask->temporaryPrefix() + ".ldm");
  const auto copy = makeMask();
  copy->store(*mask);
  EXPECT_EQ(count(*copy), 18U);
  mask->flush(1);
  EXPECT_EQ(count(*mask), 18U);
  EXPECT_TRUE(exists(mask->temporaryPrefix() + ".ldm"));
}

TEST_F(MaskStorage, FullMaskThatWasEditedKeepsItsVoxelsInTheFile) {
  const auto mask = makeMask({100, 100, 100}, true);
  fill(*mask, {0, 0, 0, 0, 0, 0}, false);
  const auto loaded = borrowed(*mask);
  EXPECT_EQ(count(*loaded), 1000000U - 1);
}

TEST_F(MaskStorage, FirstWriteMovesABorrowedMaskToItsOwnFiles) {
  const auto user = userMask();
  const auto before = hashesOf(folder);
  fill(*user, {0, 0, 0, 0, 0, 0});
  EXPECT_TRUE(user->ownsTemporaryFiles());
  EXPECT_EQ(user->volumeMask()->fileName(), user->temporaryPrefix() + ".ldm");
  EXPECT_EQ(count(*user), 19U);
  user->flush(3);
  EXPECT_EQ(hashesOf(folder), before);
}

TEST_F(MaskStorage, EveryWayToWriteLeavesTheUsersFilesAlone) {
  const auto other = makeMask({13, 11, 7}, McBox3i(3, 9, 3, 9, 1, 4), "other");
  const std::vector<std::function<void(Mask&)>> edits{
      [](Mask& m) { m = true; },
      [](Mask& m) { m.negate(); },
      [&](Mask& m) { m |= *other; },
      [&](Mask& m) { m -= *other; },
      [&](Mask& m) { m ^= *other; },
      [&](Mask& m) { m &= *other; },
      [&](Mask& m) { m.store(*other); },
      [&](Mask& m) { m = *other; },
      [](Mask& m) { m.getBox(AccessMode::ReadOnly); },
      [](Mask& m) {
        m.getBox({0, 0, 0}, {1, 1, 1}, AccessMode::WriteOnly) = true;
      },
  };
  for (const auto& edit : edits) {
    const auto user = userMask();
    const auto before = hashesOf(folder);
    edit(*user);
    user->flush(3);
    EXPECT_EQ(hashesOf(folder), before);
    EXPECT_TRUE(user->ownsTemporaryFiles());
  }
}

TEST_F(MaskStorage, ReadingLeavesAMaskBorrowed) {
  const auto user = userMask();
  user->getConstBox();
  user->getBox({0, 0, 0}, {3, 3, 3}, AccessMode::ReadOnly);
  user->getBoundingBox();
  EXPECT_FALSE(user->ownsTemporaryFiles());
  EXPECT_TRUE(temporaryFiles().empty());
}

TEST_F(MaskStorage, FailedMoveLeavesTheMaskBorrowedAndReadable) {
  const auto user = userMask();
  boost::filesystem::create_directory(user->temporaryPrefix() + ".dat");
  EXPECT_THROW(*user = true, McException);
  EXPECT_FALSE(user->ownsTemporaryFiles());
  EXPECT_EQ(user->volumeMask()->fileName(), (folder / "user.ldm").string());
  EXPECT_EQ(count(*user), 18U);
  boost::filesystem::remove(user->temporaryPrefix() + ".dat");
  EXPECT_TRUE(temporaryFiles().empty());
  *user = true;
  EXPECT_EQ(count(*user), 13U * 11 * 7);
}

TEST_F(MaskStorage, ConcurrentFirstWritesMoveTheMaskOnce) {
  for (int round = 0; round < 20; ++round) {
    const auto user = userMask();
    const auto before = hashesOf(folder);
    std::vector<std::thread> threads;
    for (int z = 0; z < 7; ++z) {
      threads.emplace_back([&user, z] { fill(*user, {0, 12, 0, 10, z, z}); });
    }
    for (std::thread& thread : threads) thread.join();
    ASSERT_EQ(count(*user), 13U * 11 * 7);
    ASSERT_EQ(hashesOf(folder), before);
  }
}

TEST_F(MaskStorage, ConcurrentWritersOfDifferentBoxesLoseNothing) {
  const auto mask = makeMask({257, 65, 33});
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&mask, t] {
      for (int y = t; y < 65; y += 4) fill(*mask, {0, 256, y, y, 0, 32});
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(count(*mask), 257U * 65 * 33);
}

TEST_F(MaskStorage, RemovingMissingFilesIsNoError) {
  EXPECT_NO_THROW(Mask::removeTemporaryFiles(folder / "nothing"));
}
