#include <QProcess>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "SetStateTest.h"
#include "tests/hxroi_worker/numberedSet.h"

/// Several processes that save and load one set.

using ::testing::IsEmpty;

namespace {

class SetProcesses : public SetStateTest {
protected:
  std::unique_ptr<QProcess> start(const char* mode, int count, int seed) {
    const fs::path temporary = folder / "temporary" / (mode + std::to_string(seed));
    fs::create_directory(temporary);
    auto process = std::make_unique<QProcess>();
    process->start(QStringLiteral(HXROI_WORKER),
                   {QString::fromStdString(temporary.string()), mode, QString::number(count), QString::number(seed),
                    QString::fromStdString(file.string())});
    EXPECT_TRUE(process->waitForStarted());
    return process;
  }

  static std::vector<int> numbersFrom(QProcess& process) {
    std::vector<int> numbers;
    // A line that was not finished would be another number.
    const QByteArray output = process.readAllStandardOutput();
    for (const QByteArray& line : output.left(output.lastIndexOf('\n')).split('\n')) {
      bool isNumber = false;  // the console of the process may come the same way
      const int number = line.toInt(&isNumber);
      if (isNumber) numbers.push_back(number);
    }
    return numbers;
  }

  static void waitForEnd(QProcess& process) {
    EXPECT_TRUE(process.waitForFinished(120000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
  }

  int numberOnDisk() { return numberedset::numberOf(*load(file)); }
};

TEST_F(SetProcesses, LoadersSeeWholeSetsWhileOthersSave) {
  constexpr int kSaves = 40;
  rois->setLabel("set");
  numberedset::fill(*rois, 1);
  ASSERT_EQ(save(), 1);
  rois = nullptr;
  std::vector<std::unique_ptr<QProcess>> savers;
  for (const int first : {1000, 2000}) savers.push_back(start("save", kSaves, first));
  std::vector<std::unique_ptr<QProcess>> loaders;
  for (int i = 0; i < 4; ++i) loaders.push_back(start("load", 60, i));
  std::set<int> seen;
  for (const auto& loader : loaders) {
    waitForEnd(*loader);
    const std::vector<int> numbers = numbersFrom(*loader);
    EXPECT_EQ(numbers.size(), 60U);
    seen.insert(numbers.begin(), numbers.end());
  }
  for (const auto& saver : savers) waitForEnd(*saver);
  EXPECT_FALSE(seen.contains(-1));
  EXPECT_GT(seen.size(), 3U) << "the loaders met no saves";
  const int last = numberOnDisk();
  EXPECT_TRUE(last == 1000 + kSaves - 1 || last == 2000 + kSaves - 1) << last;
  EXPECT_THAT(litter({"M0", "M1", "M2"}), IsEmpty());
}

TEST_F(SetProcesses, KilledSaversLeaveWholeSets) {
  const char* given = std::getenv("QUARN_TEST_SEED");
  const auto seed = given ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10)) : std::random_device()();
  std::printf("QUARN_TEST_SEED=%u\n", seed);
  std::mt19937 random(seed);
  numberedset::fill(*rois, 1);
  ASSERT_EQ(save(), 1);
  for (int round = 1; round <= 25; ++round) {
    const auto saver = start("save", 100000, round * 1000);
    std::vector<int> saved;
    while (saved.empty()) {
      ASSERT_TRUE(saver->waitForReadyRead(60000));
      saved = numbersFrom(*saver);
    }
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 30000));
    ::kill(static_cast<pid_t>(saver->processId()), SIGKILL);
    ASSERT_TRUE(saver->waitForFinished(60000));
    for (const int number : numbersFrom(*saver)) saved.push_back(number);
    const int found = numberOnDisk();
    EXPECT_GE(found, saved.back()) << "round " << round;
    EXPECT_LE(found, saved.back() + 1) << "round " << round;
  }
  rois = new HxRois;
  rois->setLabel("set");
  numberedset::fill(*rois, 7);
  EXPECT_EQ(save(), 1);
  EXPECT_EQ(numberOnDisk(), 7);
  EXPECT_THAT(litter({"M0", "M1", "M2"}), IsEmpty());
}

}  // namespace
