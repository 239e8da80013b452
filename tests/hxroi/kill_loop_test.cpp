#include <QProcess>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <thread>

#include "EnvironmentScope.h"
#include "SetStateTest.h"
#include "hxroi/detail/RecoveredMasks.h"
#include "legacyFiles.h"
#include "quarn/voxora/files/PassingFileSystem.h"
#include "tests/hxroi_worker/killedSet.h"
#include "tests/support/stride.h"

/// Processes that are killed at random moments of their work with a ROI set. QUARN_TEST_KILLS tells how many for each
/// kind of work.

using ::testing::IsEmpty;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int kDefaultKills = 60;

/// A process that works until it is killed.
class Victim {
public:
  Victim(const fs::path& temporary, const char* mode, int firstNumber, const fs::path& file) {
    process_.start(QStringLiteral(HXROI_WORKER), {QString::fromStdString(temporary.string()), mode, "1",
                                                  QString::number(firstNumber), QString::fromStdString(file.string())});
    EXPECT_TRUE(process_.waitForStarted());
  }
  ~Victim() { kill(); }

  /// Returns once it works.
  void go() {
    while (!output_.contains("begin\n") && read()) continue;
    process_.write("go\n");
    process_.waitForBytesWritten(60000);
  }

  void waitForNumbers(std::size_t count) {
    while (numbers().size() < count && read()) continue;
  }

  void kill() {
    if (process_.state() != QProcess::Running) return;
    ::kill(static_cast<pid_t>(process_.processId()), SIGKILL);
    process_.waitForFinished(60000);
    output_ += process_.readAllStandardOutput();
    EXPECT_EQ(process_.exitStatus(), QProcess::CrashExit) << process_.readAllStandardError().toStdString();
  }

  /// What it said it had done; a line that was not finished does not count.
  std::vector<int> numbers() const {
    std::vector<int> all;
    for (const QByteArray& line : output_.left(output_.lastIndexOf('\n') + 1).split('\n')) {
      bool isNumber = false;
      const int number = line.toInt(&isNumber);
      if (isNumber) all.push_back(number);
    }
    return all;
  }

private:
  bool read() {
    const bool isMore = process_.waitForReadyRead(60000);
    EXPECT_TRUE(isMore) << process_.readAllStandardError().toStdString();
    output_ += process_.readAllStandardOutput();
    return isMore;
  }

  QProcess process_;
  QByteArray output_;
};

class KillLoop : public SetStateTest {
protected:
  KillLoop() : plain_(hxvoxora::FileSystem::posix()), current_(plain_) {
    const char* given = std::getenv("QUARN_TEST_SEED");
    seed_ = given ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10)) : std::random_device()();
    const char* kills = std::getenv("QUARN_TEST_KILLS");
    kills_ = kills ? std::atoi(kills) : static_cast<int>(kDefaultKills / testStride());
    std::printf("QUARN_TEST_SEED=%u QUARN_TEST_KILLS=%d\n", seed_, kills_);
    random_.seed(seed_);
  }

  ~KillLoop() override { hxroi::details::TemporaryFolder::leave(); }

  fs::path temporary() const { return folder / "temporary"; }

  std::unique_ptr<Victim> start(const char* mode, int firstNumber) const {
    return std::make_unique<Victim>(temporary(), mode, firstNumber, file);
  }

  /// How long a round of the work takes.
  void measure(const char* mode) {
    constexpr std::size_t kRounds = 8;
    const auto victim = start(mode, 1);
    victim->go();
    victim->waitForNumbers(1);
    const auto begin = Clock::now();
    victim->waitForNumbers(1 + kRounds);
    victim->kill();
    span_ = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin) / kRounds;
    std::printf("a round of \"%s\" takes %ld us\n", mode, static_cast<long>(span_.count()));
  }

  /// Kills processes, each of which begins with a number of its own, and hands that and those they said they had done
  /// to `check`. The next one gets ready meanwhile.
  template <class Check>
  void killMany(const char* mode, Check check) {
    auto next = start(mode, kStep);
    for (int round = 1; round <= kills_ && !HasFailure(); ++round) {
      const auto victim = std::move(next);
      victim->go();
      // Now and then it gets some rounds further.
      const auto most = static_cast<std::uint32_t>(span_.count()) * (round % 4 == 0 ? 4 : 1) + 1;
      std::this_thread::sleep_for(std::chrono::microseconds(random_() % most));
      victim->kill();
      if (round < kills_) next = start(mode, (round + 1) * kStep);
      check(round * kStep, victim->numbers());
      EXPECT_FALSE(HasFailure()) << "round " << round << " of " << mode;
    }
  }

  static constexpr int kStep = 1000;

  std::string onDisk(const fs::path& from) { return killedset::describe(*load(from)); }

  void saveHere(int number) {
    ASSERT_EQ(killedset::make(number)->writeQuarnMesh(file.c_str()), 1) << console.consoleText();
  }

  static std::string setMasksOf(const fs::path& set) { return set.stem().string() + "-masks"; }

  void removeNumbered(int number) const {
    const fs::path set = file.string() + std::to_string(number) + ".ROIs.qm";
    fs::remove(set);
    fs::remove_all(folder / setMasksOf(set));
  }

  void expectNoLitter() const { EXPECT_THAT(litter({"M0", "M1", "M2", "M3"}), IsEmpty()); }

  /// All files in a folder, byte for byte, apart from locks.
  static std::map<std::string, std::string> filesIn(const fs::path& directory) {
    std::map<std::string, std::string> all;
    for (const auto& entry : fs::directory_iterator(directory)) {
      const std::string name = entry.path().filename().string();
      if (!name.starts_with(".")) all[name] = contentOf(entry.path());
    }
    return all;
  }

  /// All files of the set.
  std::map<std::string, std::string> filesOfSet() const {
    auto all = filesIn(masks);
    all[""] = contentOf(file);
    return all;
  }

  static std::vector<std::string> namesIn(const fs::path& directory) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }

  /// Masks that killed processes left, by name; none is left afterwards.
  std::map<std::string, std::vector<bool>> recover() const {
    std::map<std::string, std::vector<bool>> found;
    hxroi::RecoveredMasks recovered;
    for (const auto& set : recovered.load()) {
      for (const Mask* mask : set->masks()) {
        const auto view = mask->getConstBox();
        EXPECT_TRUE(found.emplace(mask->name(), std::vector<bool>(view.begin(), view.end())).second);
      }
    }
    recovered.removeAll();
    return found;
  }

private:
  hxvoxora::PassingFileSystem plain_;
  hxvoxora::FileSystemOverride current_;
  std::uint32_t seed_;
  int kills_;
  std::mt19937 random_;
  std::chrono::microseconds span_{0};
};

}  // namespace

TEST_F(KillLoop, FirstSave) {
  measure("first");
  for (int number = 1; number < kStep; ++number) removeNumbered(number);
  killMany("first", [&](int first, const std::vector<int>& done) {
    const int last = first + static_cast<int>(done.size());
    for (int number = first; number <= last; ++number) {
      const fs::path saved = file.string() + std::to_string(number) + ".ROIs.qm";
      if (number == last && !fs::exists(saved)) continue;
      EXPECT_EQ(onDisk(saved), killedset::describe(*killedset::make(number)));
    }
    // The save that was cut off goes through now, and nothing of the first attempt is left.
    for (int number = first; number < last; ++number) removeNumbered(number);
    const auto [formerFile, formerMasks] = std::pair(file, masks);
    file = file.string() + std::to_string(last) + ".ROIs.qm";
    masks = folder / setMasksOf(file);
    saveHere(1);
    EXPECT_EQ(onDisk(file), killedset::describe(*killedset::make(1)));
    expectNoLitter();
    file = formerFile;
    masks = formerMasks;
    removeNumbered(last);
    console.clear();
  });
}

TEST_F(KillLoop, SaveOver) {
  measure("over");
  saveHere(1);
  int former = 1;
  killMany("over", [&](int first, const std::vector<int>& done) {
    const int last = done.empty() ? former : done.back();
    const int next = done.empty() ? first : done.back() + 1;
    const std::string found = onDisk(file);
    EXPECT_TRUE(found == killedset::describe(*killedset::make(last)) ||
                found == killedset::describe(*killedset::make(next)))
        << "neither " << last << " nor " << next << ":\n"
        << found;
    saveHere(first + kStep / 2);
    former = first + kStep / 2;
    expectNoLitter();
    console.clear();
  });
}

TEST_F(KillLoop, SaveWithExchangedNames) {
  saveHere(0);
  measure("renames");
  saveHere(0);
  const McHandle<HxRois> expected = killedset::make(0);
  killMany("renames", [&](int, const std::vector<int>& done) {
    while (!done.empty() && killedset::numberOf(*expected) < done.back()) killedset::renameNext(*expected);
    const std::string found = onDisk(file);
    if (found == killedset::describe(*expected)) return;
    killedset::renameNext(*expected);
    EXPECT_EQ(found, killedset::describe(*expected));
    console.clear();
  });
  const McHandle<HxRois> last = load(file);
  ASSERT_EQ(last->writeQuarnMesh(file.c_str()), 1);
  expectNoLitter();
}

TEST_F(KillLoop, Upgrades) {
  const fs::path older = file.string() + "-older";
  fs::create_directory(older);
  const McHandle<HxRois> set = killedset::make(3);
  ASSERT_EQ(set->writeQuarnMesh((older / "set.ROIs.qm").c_str()), 1);
  for (const char* name : {"M0", "M2", "M3"}) makeLegacy(*set->getMask(name), older / "set.ROIs-masks" / name);
  for (const char* name : {".lock", ".turn"}) fs::remove(older / "set.ROIs-masks" / name);
  const auto former = filesIn(older / "set.ROIs-masks");
  const std::string expected = killedset::describe(*set);
  const EnvironmentScope test("RUNNING_TEST", "1");

  const auto folderOf = [&](int number) { return fs::path(file.string() + std::to_string(number)); };
  const auto remove = [&](int number) {
    fs::remove_all(folderOf(number));
    fs::remove_all(folderOf(number).string() + "~");
  };
  const auto checkOne = [&](int number) {
    const fs::path work = folderOf(number);
    const bool isBeside = number % 2 == 0;
    HxRois::replaceExistingROIsWhenUpgrading(!isBeside);
    const bool isDone = fs::exists(work / "set-upgraded.ROIs.qm");
    EXPECT_EQ(onDisk(work / (isDone ? "set-upgraded.ROIs.qm" : "set.ROIs.qm")), expected) << number;
    HxRois::replaceExistingROIsWhenUpgrading(false);
    const std::vector<std::string> beside{"set-upgraded.ROIs-masks", "set-upgraded.ROIs.qm", "set.ROIs-masks",
                                          "set.ROIs.qm"};
    const std::vector<std::string> instead{"set.ROIs-masks", "set.ROIs-masks-legacy", "set.ROIs.qm",
                                           "set.ROIs.qm-legacy"};
    EXPECT_EQ(namesIn(work), isBeside ? beside : instead) << number;
    EXPECT_EQ(filesIn(work / (isBeside ? "set.ROIs-masks" : "set.ROIs-masks-legacy")), former) << number;
  };

  measure("upgrade");
  for (int number = 1; number < kStep; ++number) remove(number);
  killMany("upgrade", [&](int first, const std::vector<int>& done) {
    const int last = first + static_cast<int>(done.size());
    for (int number = first; number <= last; ++number) {
      if (number < last || fs::exists(folderOf(number))) checkOne(number);
      remove(number);
    }
    console.clear();
  });
}

TEST_F(KillLoop, EditsAndFlushes) {
  measure("flush");
  recover();
  killMany("flush", [&](int first, const std::vector<int>& done) {
    const auto found = recover();
    EXPECT_TRUE(done.empty() || found.size() == killedset::kMasks) << found.size();
    for (const auto& [name, voxels] : found) {
      const int mask = name.back() - '0';
      const int last = done.empty() ? first : done.back();
      EXPECT_TRUE(voxels == killedset::bits(last, mask) || voxels == killedset::bits(last + 1, mask)) << name;
    }
  });
}

TEST_F(KillLoop, BorrowedMasksBecomeOwn) {
  saveHere(7);
  const auto files = filesOfSet();
  measure("borrow");
  recover();
  killMany("borrow", [&](int, const std::vector<int>&) {
    EXPECT_EQ(filesOfSet(), files);
    for (const auto& [name, voxels] : recover()) EXPECT_EQ(voxels, killedset::bits(7, name.back() - '0')) << name;
    EXPECT_EQ(onDisk(file), killedset::describe(*killedset::make(7)));
    console.clear();
  });
}
