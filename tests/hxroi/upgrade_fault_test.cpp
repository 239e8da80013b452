#include <optional>

#include "LegacySetTest.h"
#include "QuotaFileSystem.h"
#include "quarn/voxora/files/FaultFileSystem.h"
#include "quarn/voxora/files/PassingFileSystem.h"
#include "tests/support/stride.h"

/// Upgrades during which the n-th call to the file system fails, once or from then on, or after which the process ends,
/// for every n: the old set or the upgraded one loads, the old masks are still there, and the next try gets it done.

using hxvoxora::FaultFileSystem;
using hxvoxora::FileSystem;
using hxvoxora::FileSystemOverride;
using Extent = FaultFileSystem::Extent;

namespace {

class UpgradeFaults : public LegacySetTest {
protected:
  UpgradeFaults() {
    fill(*addMask("A"), {0, 0, 0}, {5, 5, 5});
    fill(*addMask("B"), {3, 3, 3}, {2, 3, 4});
    saveLegacy({"A"});
    fs::create_directory(folder / "kept");
    fs::rename(file, folder / "kept" / "set.ROIs.qm");
    fs::rename(masks, folder / "kept" / "set.ROIs-masks");
    former = filesBelow(folder / "kept" / "set.ROIs-masks");
  }

  /// A fresh copy of the legacy set in a folder of its own; the path of its file.
  path freshSet(const std::string& fileName) {
    work = folder / "work";
    fs::remove_all(work);
    fs::create_directories(work / "set.ROIs-masks");
    fs::copy_file(folder / "kept" / "set.ROIs.qm", work / fileName);
    for (const auto& [name, content] : former) {
      std::ofstream((work / "set.ROIs-masks" / name).string(), std::ios::binary) << content;
    }
    return work / fileName;
  }

  /// Whether the files of the old masks stand somewhere, unchanged.
  bool areFormerMasksThere() const {
    for (const auto& entry : fs::directory_iterator(work)) {
      if (fs::is_directory(entry.path()) && filesBelow(entry.path()) == former) return true;
    }
    return false;
  }

  McHandle<HxRois> read(const path& from, int& result) {
    const McHandle<HxRois> loaded(new HxRois);
    try {
      const auto mesh = QuarnMesh::read(QString::fromStdString(from.string()));
      result = loaded->readQuarnMesh(mesh.get(), from.c_str(), registerName);
    } catch (const McException& failure) {
      console.console(failure.what());
      result = 0;
    }
    return loaded;
  }

  /// Opens a set while one call fails; false when there are fewer calls.
  bool openWithFailing(std::uint64_t call, const path& set) {
    hxvoxora::PassingFileSystem disk(FileSystem::posix());
    FaultFileSystem files(disk);
    const FileSystemOverride current(files);
    files.arm({.call = call});
    int result = 0;
    read(set, result);
    return files.hasFailed();
  }

  /// Opens a legacy set `fileName` with one more call failing each time.
  void walk(Extent extent, const std::string& fileName, const std::vector<std::string>& namesInTheEnd) {
    for (std::uint64_t call = 1;; call += testStride()) {
      SCOPED_TRACE("failing call " + std::to_string(call));
      const path set = freshSet(fileName);
      hxvoxora::PassingFileSystem disk(FileSystem::posix());
      FaultFileSystem files(disk);
      const FileSystemOverride current(files);
      console.clear();
      int result = 0;
      {
        files.arm({.call = call, .extent = extent});
        const auto loaded = read(set, result);
        files.disarm();
        if (result) expectWhole(*loaded);
      }
      const bool hasFailed = files.hasFailed();
      EXPECT_TRUE(result || console.consoleText().find(work.string()) != std::string::npos) << console.consoleText();
      EXPECT_TRUE(areFormerMasksThere());
      console.clear();
      expectLoads(set, namesInTheEnd);
      if (!hasFailed || HasFailure()) {
        EXPECT_TRUE(result);
        EXPECT_GT(call, 50U) << "the upgrade touched no files";
        return;
      }
      ASSERT_LT(call, 2000U);
    }
  }

  /// The set itself or, when that is in place already, its upgraded form.
  void expectLoads(const path& set, const std::vector<std::string>& namesInTheEnd) {
    const path upgraded = work / "set-upgraded.ROIs.qm";
    int result = 0;
    expectWhole(*read(fs::exists(upgraded) ? upgraded : set, result));
    EXPECT_EQ(result, 1) << console.consoleText();
    EXPECT_TRUE(areFormerMasksThere());
    EXPECT_EQ(namesIn(work), namesInTheEnd);
  }

  std::map<std::string, std::string> former;  ///< the old masks folder
  path work;
};

const std::vector<std::string> kBeside{"set-upgraded.ROIs-masks", "set-upgraded.ROIs.qm", "set.ROIs-masks",
                                       "set.ROIs.qm"};
const std::vector<std::string> kInstead{"set.ROIs-masks", "set.ROIs-masks-legacy", "set.ROIs.qm", "set.ROIs.qm-legacy"};
const std::vector<std::string> kRenamed{"other.ROIs-masks", "other.ROIs.qm", "other.ROIs.qm-legacy",
                                        "set.ROIs-masks-legacy"};

/// What an upgrade leaves that ends between the renaming of the old masks and that of the new ones.
TEST_F(UpgradeFaults, FinishingAReplacementMayFailAsOftenAsItLikes) {
  const ReplacingScope replacing;
  for (std::uint64_t call = 1;; call += testStride()) {
    SCOPED_TRACE("failing call " + std::to_string(call));
    const path set = freshSet("set.ROIs.qm");
    int result = 0;
    expectWhole(*read(set, result));
    const path waiting = work / "set.ROIs.qm~replacing";
    fs::create_directory(waiting);
    fs::rename(work / "set.ROIs-masks", waiting / "set.ROIs-masks");
    fs::rename(set, waiting / "set.ROIs.qm");
    fs::copy_file(work / "set.ROIs.qm-legacy", waiting / ".former");
    fs::rename(work / "set.ROIs.qm-legacy", set);
    const bool hasFailed = openWithFailing(call, set);
    EXPECT_TRUE(areFormerMasksThere());
    expectWhole(*read(set, result));
    EXPECT_EQ(result, 1) << console.consoleText();
    EXPECT_EQ(namesIn(work), (std::vector<std::string>{"set.ROIs-masks", "set.ROIs-masks-legacy", "set.ROIs.qm"}));
    if (!hasFailed || HasFailure()) return;
    ASSERT_LT(call, 1000U);
  }
}

/// What an upgrade to another file leaves that ends before the new set file is in its place.
TEST_F(UpgradeFaults, FinishingAnUpgradeMayFailAsOftenAsItLikes) {
  const EnvironmentScope test("RUNNING_TEST", "1");
  for (std::uint64_t call = 1;; call += testStride()) {
    SCOPED_TRACE("failing call " + std::to_string(call));
    const path set = freshSet("set.ROIs.qm");
    int result = 0;
    {
      hxvoxora::PassingFileSystem disk(FileSystem::posix());
      FaultFileSystem files(disk);
      const FileSystemOverride current(files);
      const path upgraded = work / "set-upgraded.ROIs.qm";
      // Everything fails from the renaming of the set file on.
      for (std::uint64_t rename = 1; !fs::exists(work / "set-upgraded.ROIs-masks"); ++rename) {
        files.arm({.call = rename, .only = hxvoxora::FileCall::rename, .extent = Extent::killed});
        read(set, result);
        files.disarm();
        ASSERT_LT(rename, 50U);
      }
      ASSERT_FALSE(fs::exists(upgraded));
    }
    const bool hasFailed = openWithFailing(call, set);
    expectLoads(set, {"set-upgraded.ROIs-masks", "set-upgraded.ROIs.qm", "set.ROIs-masks", "set.ROIs.qm"});
    if (!hasFailed || HasFailure()) return;
    ASSERT_LT(call, 1000U);
  }
}

/// Disks of many sizes, with just too little room or just enough; `lie` bytes more than there are seem to be free.
TEST_F(UpgradeFaults, OnDisksThatAreTooSmall) {
  const EnvironmentScope test("RUNNING_TEST", "1");
  constexpr std::uint64_t kSteps = 64;
  for (const std::uint64_t lie : {std::uint64_t{0}, std::uint64_t{1} << 20}) {
    int refused = 0, done = 0;
    for (std::uint64_t step = 0; step < kSteps; step += testStride()) {
      SCOPED_TRACE("step " + std::to_string(step) + ", " + std::to_string(lie) + " bytes more claimed");
      const path set = freshSet("set.ROIs.qm");
      QuotaFileSystem files(FileSystem::posix(), work.string());
      const FileSystemOverride current(files);
      const std::uint64_t before = files.used();
      files.setRoom(before + before * step / 40, lie);
      int result = 0;
      const auto loaded = read(set, result);
      ++(result ? done : refused);
      if (result) expectWhole(*loaded);
      EXPECT_TRUE(areFormerMasksThere());
      EXPECT_TRUE(result || namesIn(work) == (std::vector<std::string>{"set.ROIs-masks", "set.ROIs.qm"}));
      files.setRoom(UINT64_MAX);
      expectLoads(set, kBeside);
      if (HasFailure()) return;
    }
    EXPECT_GT(refused, 0);
    EXPECT_GT(done, 0);
  }
}

class UpgradeFaultsOfEachExtent : public UpgradeFaults, public testing::WithParamInterface<Extent> {};

TEST_P(UpgradeFaultsOfEachExtent, NewFilesBesideTheOldOnes) {
  const EnvironmentScope test("RUNNING_TEST", "1");
  walk(GetParam(), "set.ROIs.qm", kBeside);
}

TEST_P(UpgradeFaultsOfEachExtent, NewFilesInThePlaceOfTheOldOnes) {
  const ReplacingScope replacing;
  walk(GetParam(), "set.ROIs.qm", kInstead);
}

TEST_P(UpgradeFaultsOfEachExtent, ReplacingARenamedFile) {
  const ReplacingScope replacing;
  walk(GetParam(), "other.ROIs.qm", kRenamed);
}

std::string nameOf(const testing::TestParamInfo<Extent>& extent) {
  return extent.param == Extent::once ? "Once" : extent.param == Extent::killed ? "Killed" : "Forever";
}

INSTANTIATE_TEST_SUITE_P(Faults, UpgradeFaultsOfEachExtent,
                         testing::Values(Extent::once, Extent::forever, Extent::killed), nameOf);

}  // namespace
