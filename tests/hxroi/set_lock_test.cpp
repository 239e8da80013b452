#include <algorithm>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

#include "SetStateTest.h"
#include "hxroi/detail/SetLock.h"
#include "hxroi/detail/SetReading.h"
#include "quarn/voxora/files/FaultFileSystem.h"
#include "quarn/voxora/files/PassingFileSystem.h"
#include "tests/support/RecordingProgress.h"

using hxroi::SetLock;
using hxvoxora::FaultFileSystem;
using hxvoxora::FileCall;
using hxvoxora::FileSystem;
using hxvoxora::FileSystemOverride;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using Extent = FaultFileSystem::Extent;

namespace {

/// Locks are hardly waited for while it lives.
class Impatience {
public:
  Impatience() : former_(SetLock::setPatience(std::chrono::milliseconds(20))) {}
  ~Impatience() { SetLock::setPatience(former_); }

private:
  std::chrono::milliseconds former_;
};

class SetLocking : public SetStateTest {
protected:
  FileSystem& files() { return FileSystem::current(); }
  Impatience impatience;
};

/// A disk on which letter case does not count in one folder.
class FoldingFileSystem : public hxvoxora::PassingFileSystem {
public:
  explicit FoldingFileSystem(const std::string& folder)
      : PassingFileSystem(FileSystem::posix()), folder_(folder + "/") {}

  std::unique_ptr<hxvoxora::InputFile> openForReading(const std::string& path, Links links) override {
    return PassingFileSystem::openForReading(folded(path), links);
  }
  std::unique_ptr<hxvoxora::OutputFile> createExclusively(const std::string& path, Access access) override {
    return PassingFileSystem::createExclusively(folded(path), access);
  }
  void rename(const std::string& from, const std::string& to) override {
    PassingFileSystem::rename(folded(from), folded(to));
  }
  bool remove(const std::string& path) override { return PassingFileSystem::remove(folded(path)); }
  hxvoxora::FileKind kind(const std::string& path) override { return PassingFileSystem::kind(folded(path)); }
  std::unique_ptr<hxvoxora::FileLock> tryLock(const std::string& path) override {
    return PassingFileSystem::tryLock(folded(path));
  }

private:
  std::string folded(std::string path) const {
    if (!path.starts_with(folder_) || path.find("/.set/") != std::string::npos) return path;
    for (std::size_t i = folder_.size(); i < path.size(); ++i) path[i] = static_cast<char>(std::tolower(path[i]));
    return path;
  }

  const std::string folder_;
};

/// A disk that has so much room, and on which masks folders are mounted from elsewhere if so wished.
class OddFileSystem : public hxvoxora::PassingFileSystem {
public:
  OddFileSystem() : PassingFileSystem(FileSystem::posix()) {}

  bool isOneFileSystem(const std::string&, const std::string&) override { return isOne; }
  std::uint64_t freeSpace(const std::string&) override { return freeBytes; }

  bool isOne = true;
  std::uint64_t freeBytes = UINT64_MAX;
};

}  // namespace

TEST_F(SetLocking, TheNameOfTheHolderIsNotNeeded) {
  fs::create_directory(masks);
  FaultFileSystem full(FileSystem::posix());
  full.arm({.only = FileCall::write, .extent = Extent::forever});
  const auto saving = SetLock::forSaving(full, masks.string());
  EXPECT_TRUE(full.hasFailed());
  EXPECT_TRUE(saving->isInPlace());
  EXPECT_EQ(SetLock::tryForSaving(files(), masks.string()), nullptr);
}

TEST_F(SetLocking, WhoSavesIsAlone) {
  fs::create_directory(masks);
  auto saving = SetLock::forSaving(files(), masks.string());
  EXPECT_TRUE(saving->isInPlace());
  EXPECT_EQ(SetLock::tryForSaving(files(), masks.string()), nullptr);
  const std::string refusal = refusalOf([&] { SetLock::forReading(files(), masks.string()); });
  EXPECT_THAT(refusal,
              HasSubstr((masks / ".lock").string() + ": locked by process " + std::to_string(getpid()) + " on "));
  char host[256] = {};
  ASSERT_EQ(gethostname(host, sizeof host - 1), 0);
  EXPECT_THAT(refusal, HasSubstr(std::string(" on ") + host));
  saving.reset();
  EXPECT_EQ(contentOf(masks / ".lock"), "");
  EXPECT_NE(SetLock::forReading(files(), masks.string()), nullptr);
}

TEST_F(SetLocking, ReadersShare) {
  fs::create_directory(masks);
  SetLock::forSaving(files(), masks.string());
  const auto first = SetLock::forReading(files(), masks.string());
  const auto second = SetLock::forReading(files(), masks.string());
  EXPECT_NE(second, nullptr);
  EXPECT_THAT(refusalOf([&] { SetLock::forSaving(files(), masks.string()); }), HasSubstr("which reads the set"));
}

TEST_F(SetLocking, ReadersDoNotComeInAheadOfASaveThatWaits) {
  fs::create_directory(masks);
  SetLock::forSaving(files(), masks.string());
  const auto reader = SetLock::forReading(files(), masks.string());
  const auto turn = files().tryLock((masks / ".turn").string());
  EXPECT_THAT(refusalOf([&] { SetLock::forReading(files(), masks.string()); }), HasSubstr(".lock: locked by"));
}

TEST_F(SetLocking, ReadingMakesNoFiles) {
  fs::create_directory(masks);
  EXPECT_EQ(SetLock::forReading(files(), masks.string()), nullptr);
  EXPECT_TRUE(fs::is_empty(masks));
  EXPECT_EQ(SetLock::forReading(files(), (folder / "missing").string()), nullptr);
}

TEST_F(SetLocking, ASaveThatBeginsWhileNothingCouldBeLockedIsNoticed) {
  fs::create_directory(masks);
  const QuarnMesh mesh;
  const hxroi::SetReading reading(files(), mesh, file);
  EXPECT_NO_THROW(reading.end());
  SetLock::forSaving(files(), masks.string());
  EXPECT_THAT(refusalOf([&] { reading.end(); }), HasSubstr(file.string() + ": was saved while it was read"));
}

TEST_F(SetLocking, SaveAndLoadSayWhoIsInTheirWay) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const State before = stateOnDisk();
  fill(*rois->getMask("A"), {0, 0, 0}, {13, 11, 7});
  {
    const auto reading = SetLock::forReading(files(), masks.string());
    EXPECT_EQ(save(), 0);
    EXPECT_THAT(console.consoleEntries.back(), HasSubstr((masks / ".lock").string() + ": locked by another program"));
    EXPECT_EQ(stateOnDisk(), before);
  }
  {
    const auto saving = SetLock::forSaving(files(), masks.string());
    load(file, 0);
    EXPECT_THAT(console.consoleEntries.back(), HasSubstr(".lock: locked by process "));
  }
  EXPECT_EQ(save(), 1);
  EXPECT_EQ(stateOnDisk(), stateOf(*rois));
}

TEST_F(SetLocking, WhatWasSavedBetweenParsingAndLoadingIsLoaded) {
  fillSet();
  rois->parameters.set("Note", "old");
  ASSERT_EQ(save(), 1);
  const auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
  rois->parameters.set("Note", "new");
  rois->removeRoi("D");
  fill(*rois->getMask("A"), {0, 0, 0}, {13, 11, 7});
  ASSERT_EQ(save(), 1);
  const McHandle<HxRois> loaded(new HxRois);
  QString name;
  EXPECT_EQ(loaded->readQuarnMesh(mesh.get(), file.c_str(), name), 1);
  EXPECT_EQ(stateOf(*loaded), stateOf(*rois));
}

TEST_F(SetLocking, ALockFileThatWasRemovedStopsTheSave) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const State before = stateOnDisk();
  class Remover : public RecordingProgress {
  public:
    explicit Remover(fs::path file) : file_(std::move(file)) {}
    void setValue(float) override { fs::remove(file_); }

  private:
    fs::path file_;
  } progress(masks / ".lock");
  const ProgressScope scope(progress);
  fill(*rois->getMask("A"), {0, 0, 0}, {13, 11, 7});
  EXPECT_EQ(save(), 0);
  EXPECT_THAT(console.consoleEntries.back(), HasSubstr(".lock: was removed"));
  EXPECT_EQ(stateOnDisk(), before);
}

TEST_F(SetLocking, AnInterruptedSaveLeavesEverything) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const State before = stateOnDisk();
  fill(*rois->getMask("A"), {0, 0, 0}, {13, 11, 7});
  rois->removeRoi("D");
  const State wanted = stateOf(*rois);
  for (int questions = 0; questions < 3; ++questions) {
    RecordingProgress progress;
    progress.interruptAfter = questions;
    const ProgressScope scope(progress);
    rois->isModified();
    rois->touch(8);
    console.clear();
    EXPECT_EQ(save(), 0);
    EXPECT_EQ(console.consoleEntries.back(), file.string() + ": saving was interrupted, nothing has changed there");
    EXPECT_THAT(console.ioErrors, IsEmpty());
    EXPECT_TRUE(rois->isModified());
    EXPECT_EQ(stateOnDisk(), before);
    EXPECT_THAT(litter({"A", "B", "C", "D"}), IsEmpty());
  }
  EXPECT_EQ(save(), 1);
  EXPECT_EQ(stateOnDisk(), wanted);
}

TEST_F(SetLocking, NamesThatDifferInCaseOnlyAreRefusedWhereItDoesNotCount) {
  addMask("Mask1");
  rois->addRoi(makeGroup("G", {"mask1"}));
  ASSERT_EQ(save(), 1) << "case counts here";
  fs::remove_all(masks);
  fs::remove(file);
  console.clear();
  {
    FoldingFileSystem folding(masks.string());
    const FileSystemOverride current(folding);
    EXPECT_EQ(save(), 0);
    EXPECT_THAT(console.consoleText(), HasSubstr("the masks \"Mask1\" and \"mask1\" would have the same files"));
    EXPECT_FALSE(fs::exists(masks));
    EXPECT_FALSE(fs::exists(file));
    rois->getMask("mask1")->setName("mask2");
    EXPECT_EQ(save(), 1) << console.consoleText();
  }
}

TEST_F(SetLocking, MasksOnAnotherFileSystemAreRefused) {
  fillSet();
  OddFileSystem odd;
  odd.isOne = false;
  const FileSystemOverride current(odd);
  EXPECT_EQ(save(), 0);
  EXPECT_THAT(console.consoleText(), HasSubstr(masks.string() + ": is on another file system than " + file.string()));
  EXPECT_FALSE(fs::exists(masks));
}

TEST_F(SetLocking, ASaveThatWillNotFitIsNotBegun) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const State before = stateOnDisk();
  rois->parameters.set("Note", std::string(5000, 'x'));
  OddFileSystem odd;
  odd.freeBytes = 5000;
  const FileSystemOverride current(odd);
  console.clear();
  EXPECT_EQ(save(), 0);
  std::uint64_t masksBytes = 0;
  for (const char* name : {"A", "B", "C", "D"}) {
    for (const char* extension : {".ldm", ".dat", ".fcp"}) {
      masksBytes += fs::file_size(rois->getMask(name)->temporaryPrefix() + extension);
    }
  }
  const std::string said = console.consoleText();
  const std::string begin = file.string() + ": saving the set needs ";
  ASSERT_THAT(said, AllOf(HasSubstr(begin), HasSubstr(" bytes, and only 5000 are free in " + masks.string())));
  const std::uint64_t needed = std::stoull(said.substr(said.find(begin) + begin.size()));
  EXPECT_GT(needed, masksBytes + 5000);
  EXPECT_THAT(said, Not(HasSubstr("Saving mask ")));
  EXPECT_EQ(stateOnDisk(), before);
  odd.freeBytes = needed - 1;
  EXPECT_EQ(save(), 0);
  odd.freeBytes = needed;
  EXPECT_EQ(save(), 1);
  EXPECT_EQ(fs::file_size(file) + masksBytes, needed);
}

TEST_F(SetLocking, CopyingALargeMaskCanBeInterrupted) {
  rois->addRoi(makeMask("large", {256, 256, 200}));
  std::mt19937 random(1);
  Mask& mask = *rois->getMask("large");
  {
    auto view = mask.getBox({0, 0, 0}, mask.dimensions(), hxroi::AccessMode::WriteOnly);
    std::generate(view.begin(), view.end(), [&] { return (random() & 1) != 0; });
  }
  mask.flush(Mask::Force | Mask::AllLevels);
  RecordingProgress progress;
  progress.interruptAfter = 0;
  const ProgressScope scope(progress);
  EXPECT_EQ(save(), 0);
  EXPECT_THAT(progress.values, IsEmpty()) << "the mask was copied to its end";
  EXPECT_FALSE(fs::exists(masks));
}

TEST_F(SetLocking, FilesOfThoseWhoCannotReadStayUnreadable) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const auto modeOf = [&] {
    struct stat info {};
    EXPECT_EQ(::stat(file.c_str(), &info), 0);
    return info.st_mode & 0777u;
  };
  const auto usual = modeOf();
  ASSERT_EQ(::chmod(file.c_str(), 0600), 0);
  ASSERT_EQ(save(), 1);
  EXPECT_EQ(modeOf(), 0600u);
  fs::remove(file);
  ASSERT_EQ(save(), 1);
  EXPECT_EQ(modeOf(), usual);
}

TEST_F(SetLocking, AnUnchangedMaskIsNotWritten) {
  fillSet();
  ASSERT_EQ(save(), 1);
  rois = load(file);
  fill(*rois->getMask("D"), {0, 0, 0}, {1, 1, 1});
  const auto identityOf = [&](const char* name) {
    return files().openForReading((masks / name).string(), FileSystem::Links::refuse)->identity();
  };
  const auto dataOfA = identityOf("A.dat");
  const auto headerOfA = identityOf("A.ldm");
  const auto dataOfD = identityOf("D.dat");
  ASSERT_EQ(save(), 1);
  EXPECT_EQ(identityOf("A.dat"), dataOfA);
  EXPECT_EQ(identityOf("A.ldm"), headerOfA);
  EXPECT_NE(identityOf("D.dat"), dataOfD);

  // What is known now of its boxes goes into the header.
  const McBox3i box = rois->getMask("A")->getBoundingBox();
  ASSERT_EQ(save(), 1);
  EXPECT_EQ(identityOf("A.dat"), dataOfA);
  EXPECT_NE(identityOf("A.ldm"), headerOfA);
  EXPECT_EQ(load(file)->getMask("A")->cachedBoundingBox(), box);
  const auto headerWithBox = identityOf("A.ldm");
  ASSERT_EQ(save(), 1);
  EXPECT_EQ(identityOf("A.ldm"), headerWithBox);
}
