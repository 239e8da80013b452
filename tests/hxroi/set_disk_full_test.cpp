#include <QProcess>
#include <random>

#include "QuotaFileSystem.h"
#include "SetStateTest.h"
#include "tests/support/stride.h"

/// Saves on disks of many sizes, with just too little room or just enough: the set on disk is the old one or the new
/// one, and once there is room the save goes through.

using hxvoxora::FileSystem;
using hxvoxora::FileSystemOverride;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

constexpr std::uint64_t kSteps = 64;
constexpr McVec3i kGrid(64, 50, 40);

class SetDiskFull : public SetStateTest {
protected:
  SetDiskFull() : disk_(folder / "disk"), files_(FileSystem::posix(), disk_.string()) {
    fs::create_directory(disk_);
    file = disk_ / "set.ROIs.qm";
    masks = disk_ / "set.ROIs-masks";
  }

  void newSet(unsigned seed) {
    rois = new HxRois;
    rois->setLabel("atlas");
    std::mt19937 random(seed);
    for (const char* name : {"A", "B", "C"}) {
      auto box = addMask(name, kGrid)->getBox({0, 0, 0}, kGrid, hxroi::AccessMode::WriteOnly);
      for (auto bit : box) bit = (random() & 1) != 0;
    }
    rois->parameters.set("Note", std::to_string(seed));
  }

  void emptyDisk() {
    fs::remove_all(masks);
    fs::remove(file);
  }

  /// The old set in place, unless the save is to be the first; the new one waits to be saved.
  void prepare(bool isFirst) {
    files_.setRoom(UINT64_MAX);
    emptyDisk();
    if (!isFirst) {
      newSet(1);
      ASSERT_EQ(save(), 1);
    }
    oldState_ = stateOnDisk();
    newSet(2);
  }

  /// `lie` bytes more than there are seem to be free, as if somebody else took them meanwhile.
  void walk(bool isFirst, std::uint64_t lie) {
    const FileSystemOverride current(files_);
    prepare(isFirst);
    const std::uint64_t before = files_.used();
    ASSERT_EQ(save(), 1);
    const std::uint64_t need = files_.used();
    int refused = 0;
    for (std::uint64_t step = 0; step < kSteps; step += testStride()) {
      prepare(isFirst);
      files_.setRoom(before + need * 11 * step / (10 * (kSteps - 1)), lie);
      console.clear();
      const bool isSaved = save() == 1;
      refused += isSaved ? 0 : 1;
      expectOldOrNew(isSaved, lie == 0);
      files_.setRoom(UINT64_MAX);
      ASSERT_EQ(save(), 1) << console.consoleText();
      EXPECT_EQ(stateOnDisk(), stateOf(*rois));
      EXPECT_FALSE(HasFailure()) << "step " << step;
      if (HasFailure()) break;
    }
    EXPECT_GE(refused, static_cast<int>(50 / testStride()));
    EXPECT_LT(refused, 64);
    rois = nullptr;
    hxroi::details::TemporaryFolder::leave();
  }

private:
  void expectOldOrNew(bool isSaved, bool isForeseen) {
    EXPECT_EQ(stateOnDisk(), isSaved ? stateOf(*rois) : oldState_);
    EXPECT_EQ(rois->isModified(), !isSaved);
    EXPECT_THAT(litterOnDisk(), IsEmpty());
    if (isSaved) return;
    EXPECT_THAT(console.consoleText(), HasSubstr(isForeseen ? ": saving the set needs " : "No space left on device"));
    EXPECT_THAT(console.consoleText(), HasSubstr(isForeseen ? " bytes, and only " : disk_.string()));
  }

  std::vector<std::string> litterOnDisk() const {
    std::vector<std::string> rest;
    for (const std::string& name : litter({"A", "B", "C"})) {
      if (name != "disk") rest.push_back(name);
    }
    return rest;
  }

  const fs::path disk_;
  QuotaFileSystem files_;
  State oldState_;
};

}  // namespace

TEST_F(SetDiskFull, FirstSave) {
  walk(true, 0);
}

TEST_F(SetDiskFull, SaveOver) {
  walk(false, 0);
}

TEST_F(SetDiskFull, FirstSaveWhileOthersFillTheDisk) {
  walk(true, 1 << 30);
}

TEST_F(SetDiskFull, SaveOverWhileOthersFillTheDisk) {
  walk(false, 1 << 30);
}

/// The same on disks of the system, where that lets us make some.
TEST_F(SetDiskFull, RealDisks) {
  QProcess process;
  process.start("unshare",
                {"-rm", QStringLiteral(HXROI_WORKER), QString::fromStdString((folder / "temporary").string()), "disks",
                 "1", "1", QString::fromStdString(file.string())});
  if (!process.waitForStarted()) GTEST_SKIP() << "the program unshare cannot be started; no disk can be mounted";
  ASSERT_TRUE(process.waitForFinished(200000));
  const std::string errors = process.readAllStandardError().toStdString();
  const QByteArray output = process.readAllStandardOutput();
  if (process.exitCode() == 77 || errors.starts_with("unshare: ")) GTEST_SKIP() << "no disk can be mounted: " << errors;
  ASSERT_EQ(process.exitCode(), 0) << errors;
  const int refused = output.mid(output.indexOf("refused ") + 8).trimmed().toInt();
  EXPECT_GE(refused, 40);
  EXPECT_LT(refused, 64);
}
