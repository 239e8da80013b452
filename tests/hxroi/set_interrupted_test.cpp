#include "SetStateTest.h"
#include "hxroi/package.h"
#include "quarn/voxora/files/FaultFileSystem.h"
#include "quarn/voxora/files/PassingFileSystem.h"
#include "tests/support/stride.h"

/// Sets whose save ended between the step that made it valid and its end.

using hxvoxora::FaultFileSystem;
using hxvoxora::FileCall;
using hxvoxora::FileSystem;
using hxvoxora::FileSystemOverride;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Extent = FaultFileSystem::Extent;

namespace {

/// A disk with one folder in which nobody may write.
class WriteProtection : public hxvoxora::PassingFileSystem {
public:
  explicit WriteProtection(const fs::path& folder) : PassingFileSystem(FileSystem::posix()), folder_(folder.string()) {}
  bool isWritable(const std::string& directory) override {
    return directory != folder_ && PassingFileSystem::isWritable(directory);
  }

private:
  const std::string folder_;
};

class SetInterrupted : public SetStateTest {
protected:
  fs::path committed() const { return masks / ".committed"; }

  /// The set "old" in place, and "new" committed with no file in its place yet.
  void interruptSave() {
    rois = new HxRois;
    rois->setLabel("atlas");
    fillSet();
    rois->parameters.set("Note", "old");
    ASSERT_EQ(save(), 1);
    oldState = stateOf(*rois);
    fill(*rois->getMask("A"), {1, 1, 1}, {9, 9, 5});
    rois->removeRoi("D");
    fill(*addMask("E"), {4, 4, 4}, {2, 2, 2});
    rois->parameters.set("Note", "new");
    newState = stateOf(*rois);
    killAfterCommit();
  }

  /// The first rename that works is the one that counts.
  void killAfterCommit() {
    hxvoxora::PassingFileSystem disk(FileSystem::posix());
    FaultFileSystem files(disk);
    const FileSystemOverride current(files);
    for (std::uint64_t call = 1; !fs::exists(committed()); ++call) {
      ASSERT_LT(call, 100U);
      files.disarm();
      rois->flush(true);  // so that every save makes the same calls
      files.arm({.call = call, .only = FileCall::rename, .extent = Extent::killed, .reason = "killed"});
      save();
      ASSERT_TRUE(files.hasFailed());
    }
    ASSERT_TRUE(fs::is_regular_file(committed() / "A.ldm"));
    ASSERT_TRUE(fs::is_regular_file(committed() / ".set" / "set.ROIs.qm"));
  }

  static void copy(const fs::path& from, const fs::path& to) {
    fs::create_directories(to);
    for (const auto& entry : fs::directory_iterator(from)) {
      const fs::path target = to / entry.path().filename();
      if (fs::is_directory(entry.path())) {
        copy(entry.path(), target);
      } else {
        fs::copy_file(entry.path(), target);
      }
    }
  }

  int tryToLoad() {
    std::unique_ptr<QuarnMesh> mesh = QuarnMesh::read(QString::fromStdString(file.string()));
    const McHandle<HxRois> loaded(new HxRois);
    QString name;
    return loaded->readQuarnMesh(mesh.get(), file.c_str(), name);
  }

  State oldState;
  State newState;
};

}  // namespace

TEST_F(SetInterrupted, LoadingFinishesTheSave) {
  interruptSave();
  ASSERT_FALSE(HasFatalFailure());
  // Before anybody opens it with this program, the old set is in place.
  EXPECT_THAT(contentOf(file), HasSubstr("old"));
  console.clear();
  EXPECT_EQ(stateOnDisk(), newState);
  EXPECT_THAT(console.consoleText(), HasSubstr(file.string() + ": a save that was interrupted is finished"));
  EXPECT_FALSE(fs::exists(committed()));
  EXPECT_THAT(contentOf(file), HasSubstr("new"));
  EXPECT_THAT(litter({"A", "B", "C", "D", "E"}), IsEmpty());
  EXPECT_EQ(stateOnDisk(), newState);
}

TEST_F(SetInterrupted, VerifyingFinishesTheSaveToo) {
  interruptSave();
  ASSERT_FALSE(HasFatalFailure());
  const auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
  QStringList sound;
  hxroi_verifyRois(mesh.get(), file.c_str(), [&](const QString& finding, bool isSound) {
    EXPECT_TRUE(isSound) << finding.toStdString();
    sound.append(finding.section(':', 0, 0));
  });
  EXPECT_EQ(sound.mid(0, 4), QStringList({"A", "B", "C", "E"}));
  EXPECT_FALSE(fs::exists(committed()));
}

TEST_F(SetInterrupted, TheNextSaveFinishesItFirst) {
  interruptSave();
  ASSERT_FALSE(HasFatalFailure());
  // Another set that cannot be saved: what was committed before must be there all the same.
  const McHandle<HxRois> other(new HxRois);
  other->addRoi(makeMask("X"));
  other->parameters.set("Note", std::string(300, 'x'));
  hxvoxora::PassingFileSystem disk(FileSystem::posix());
  FaultFileSystem files(disk);
  {
    const FileSystemOverride current(files);
    files.arm({.only = FileCall::create, .extent = Extent::forever});
    EXPECT_EQ(other->writeQuarnMesh(file.c_str()), 0);
  }
  EXPECT_FALSE(fs::exists(committed()));
  EXPECT_EQ(stateOnDisk(), newState);
  EXPECT_EQ(other->writeQuarnMesh(file.c_str()), 1);
  EXPECT_EQ(stateOnDisk(), stateOf(*other));
}

TEST_F(SetInterrupted, FinishingCanFailOrEndAnywhere) {
  interruptSave();
  ASSERT_FALSE(HasFatalFailure());
  rois = nullptr;
  copy(masks, folder / "temporary" / "kept" / "masks");
  fs::copy_file(file, folder / "temporary" / "kept" / "file");
  for (const Extent extent : {Extent::once, Extent::forever, Extent::killed}) {
    std::uint64_t call = 1;
    for (bool hasFailed = true; hasFailed && !HasFailure(); call += testStride()) {
      SCOPED_TRACE("failing call " + std::to_string(call));
      fs::remove_all(masks);
      fs::remove(file);
      copy(folder / "temporary" / "kept" / "masks", masks);
      fs::copy_file(folder / "temporary" / "kept" / "file", file);
      hxvoxora::PassingFileSystem disk(FileSystem::posix());
      FaultFileSystem files(disk);
      const FileSystemOverride current(files);
      files.arm({.call = call, .extent = extent, .reason = "Input/output error", .number = EIO});
      console.clear();
      const int result = tryToLoad();
      hasFailed = files.hasFailed();
      files.disarm();
      if (result == 0) {
        EXPECT_THAT(console.consoleText(), HasSubstr((folder / "set.ROIs").string()));
      }
      EXPECT_EQ(stateOnDisk(), newState) << console.consoleText();
      EXPECT_THAT(litter({"A", "B", "C", "D", "E"}), IsEmpty());
      hxroi::details::TemporaryFolder::leave();
      ASSERT_LT(call, 1000U);
    }
    EXPECT_GT(call, 20U);
  }
}

TEST_F(SetInterrupted, WhoMayNotWriteIsToldWhoHasTo) {
  interruptSave();
  ASSERT_FALSE(HasFatalFailure());
  WriteProtection files(masks);
  {
    const FileSystemOverride current(files);
    console.clear();
    EXPECT_EQ(tryToLoad(), 0);
  }
  EXPECT_THAT(console.consoleText(), HasSubstr(file.string() +
                                               ": a save was interrupted and must first be "
                                               "finished, by somebody who may write in " +
                                               masks.string()));
  EXPECT_TRUE(fs::exists(committed()));
  EXPECT_EQ(stateOnDisk(), newState);
}

TEST_F(SetInterrupted, RemainsOfSavesThatDidNotSucceedGo) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const fs::path staged = masks / ".staged-0123456789abcdef";
  fs::create_directories(staged / ".set");
  for (const char* name : {"A.ldm", "A.dat", ".set/set.ROIs.qm"}) std::ofstream((staged / name).string()) << "half";
  const fs::path foreign = masks / ".staged-mine";
  fs::create_directory(foreign);
  const State before = stateOf(*rois);
  EXPECT_EQ(stateOnDisk(), before);
  EXPECT_FALSE(fs::exists(staged));
  EXPECT_TRUE(fs::exists(foreign)) << "that is no name that a save gives";
}

TEST_F(SetInterrupted, RemainsStayWhereNobodyMayWrite) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const fs::path staged = masks / ".staged-0123456789abcdef";
  fs::create_directory(staged);
  WriteProtection files(masks);
  const FileSystemOverride current(files);
  EXPECT_EQ(tryToLoad(), 1);
  EXPECT_TRUE(fs::exists(staged));
}

TEST_F(SetInterrupted, OnlyFilesOfTheSetArePutInPlace) {
  fillSet();
  ASSERT_EQ(save(), 1);
  const State before = stateOf(*rois);
  const fs::path canary = folder / "canary.txt";
  std::ofstream(canary.string()) << "keep me";
  const auto refused = [&](const std::string& why) {
    console.clear();
    EXPECT_EQ(tryToLoad(), 0);
    EXPECT_THAT(console.consoleText(), HasSubstr(why));
    EXPECT_EQ(contentOf(canary), "keep me");
    fs::remove_all(committed());
  };
  fs::create_directories(committed() / ".set");
  std::ofstream((committed() / ".set" / "canary.txt").string()) << "replaced";
  refused("canary.txt: is not the file of the set with these masks");

  fs::create_directories(committed());
  fs::create_symlink(canary, committed() / "A.ldm");
  refused("A.ldm: is not a regular file");

  fs::create_directories(committed() / ".set");
  fs::create_symlink(canary, committed() / ".set" / "set.ROIs.qm");
  refused("set.ROIs.qm: is not a regular file");

  fs::create_directory(folder / "elsewhere");
  fs::create_directory_symlink(folder / "elsewhere", committed());
  refused(".committed: is not the folder of a save");

  // A file without a header is none of a mask that is complete.
  fs::create_directories(committed());
  std::ofstream((committed() / "A.dat").string()) << "replaced";
  EXPECT_EQ(stateOnDisk(), before);
  EXPECT_FALSE(fs::exists(committed()));
}
