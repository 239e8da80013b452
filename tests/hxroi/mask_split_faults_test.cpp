#include <algorithm>
#include <atomic>
#include <memory>
#include <new>
#include <stdexcept>

#include "hxroi/details/LeftOvers.h"
#include "hxroi/details/TemporaryFolder.h"
#include "quarn/voxora/files/FaultFileSystem.h"
#include "quarn/voxora/tiles/TilePayload.h"
#include "tests/hxroi/SplitTest.h"

/// Splits that are cancelled or fail, at any moment: the mask, the files and the memory are as before.
namespace {

using hxvoxora::FaultFileSystem;
using hxvoxora::FileSystem;
using hxvoxora::FileSystemOverride;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class MaskSplitFaults : public SplitTest {
protected:
  static constexpr int kDots = 12;

  /// What a split may not change.
  struct State {
    Bits bits;
    std::vector<std::string> files;
    std::size_t payloads;
  };

  State stateOf(const Mask& mask) const {
    State state{bitsOf(mask), temporaryFiles(), hxvoxora::payloadStatistics().payloadsInUse};
    return state;
  }

  void expectAsBefore(const Mask& mask, const State& before) const {
    const State now = stateOf(mask);
    EXPECT_EQ(now.bits, before.bits);
    EXPECT_EQ(now.files, before.files);
    EXPECT_LE(now.payloads, before.payloads);
  }

  /// A mask whose components, and the rest of which, share tiles with others.
  static McHandle<Mask> crowded(std::mt19937& random) {
    const McVec3i n(70, 40, 36);
    const auto mask = makeMask(n);
    setBits(*mask, randomBits(n, random, 0.2));
    return mask;
  }
};

/// Says yes after some time, whenever it is asked.
class ImpatientProgress : public RecordingProgress {
public:
  explicit ImpatientProgress(std::chrono::microseconds patience) : end_(std::chrono::steady_clock::now() + patience) {}
  bool isInterrupted() override { return std::chrono::steady_clock::now() >= end_; }

private:
  const std::chrono::steady_clock::time_point end_;
};

/// Fails at some question.
class FailingProgress : public RecordingProgress {
public:
  bool isInterrupted() override {
    if (RecordingProgress::isInterrupted()) throw std::runtime_error("the display is gone");
    return false;
  }
};

/// Runs out of memory at some file.
class ForgetfulFileSystem : public hxvoxora::PassingFileSystem {
public:
  explicit ForgetfulFileSystem(int filesBefore) : PassingFileSystem(FileSystem::posix()), filesBefore_(filesBefore) {}

  std::unique_ptr<hxvoxora::OutputFile> createExclusively(const std::string& path, Access access) override {
    if (filesBefore_.fetch_sub(1) == 0) throw std::bad_alloc();
    return PassingFileSystem::createExclusively(path, access);
  }

private:
  std::atomic<int> filesBefore_;
};

}  // namespace

TEST_F(MaskSplitFaults, CancelledAtAnyQuestionNothingStays) {
  auto random = seededRandom();
  const auto source = crowded(random);
  const State before = stateOf(*source);
  for (int turn = 0; turn < 100; ++turn) {
    const ThreadSwitch threads(turn % 2 != 0);
    AskedProgress progress;
    progress.interruptAfter = static_cast<int>(random() % 24);
    const auto masks = split(*source, 20, &progress);
    const bool hasSaved = std::find(progress.calls.begin(), progress.calls.end(), kSaving) != progress.calls.end();
    EXPECT_NE(masks.empty(), hasSaved) << turn;
    EXPECT_TRUE(hasSaved || progress.interruptAfter < 0) << turn;
    EXPECT_EQ(progress.calls.back(), "stop");
  }
  expectAsBefore(*source, before);
}

TEST_F(MaskSplitFaults, CancelledAtAnyMomentEveryMaskIsWholeOrEmpty) {
  auto random = seededRandom();
  const auto source = crowded(random);
  const State before = stateOf(*source);
  std::vector<Bits> expected;
  for (const auto& mask : split(*source, 6)) expected.push_back(bitsOf(*mask));
  SlowFileSystem slow(std::chrono::milliseconds(6));
  const FileSystemOverride current(slow);
  int cancelled = 0;
  for (int turn = 0; turn < 100; ++turn) {
    const ThreadSwitch threads(turn % 2 != 0);
    ImpatientProgress progress(std::chrono::microseconds(random() % 150000));
    const auto masks = split(*source, 6, &progress);
    if (masks.empty()) {
      ++cancelled;
      continue;
    }
    ASSERT_EQ(masks.size(), expected.size());
    for (std::size_t i = 0; i < masks.size(); ++i) {
      const Bits bits = bitsOf(*masks[i]);
      ASSERT_TRUE(bits == expected[i] || count(*masks[i]) == 0) << "mask " << i << ", turn " << turn;
    }
    cancelled += count(*masks.back()) == 0;
  }
  EXPECT_GT(cancelled, 0);
  expectAsBefore(*source, before);
}

TEST_F(MaskSplitFaults, FailureOfTheDisplayEndsTheWorkFirst) {
  const auto source = dots(kDots);
  const State before = stateOf(*source);
  SlowFileSystem slow(std::chrono::milliseconds(20));
  const FileSystemOverride current(slow);
  for (const bool on : {false, true}) {
    const ThreadSwitch threads(on);
    for (const int question : {0, 3, 1 + kDots}) {
      FailingProgress progress;
      progress.interruptAfter = question;
      EXPECT_THROW(split(*source, 0, &progress), std::runtime_error);
      EXPECT_EQ(progress.calls.back(), "stop");
      expectAsBefore(*source, before);
    }
  }
}

TEST_F(MaskSplitFaults, FullDiskIsToldAndNothingStays) {
  const auto source = dots(kDots);
  const State before = stateOf(*source);
  for (const bool on : {false, true}) {
    const ThreadSwitch threads(on);
    for (const auto extent : {FaultFileSystem::Extent::once, FaultFileSystem::Extent::forever}) {
      FaultFileSystem files(FileSystem::posix());
      const FileSystemOverride current(files);
      files.arm({.call = 5, .only = hxvoxora::FileCall::write, .extent = extent});
      RecordingProgress progress;
      const std::string text = refusal([&] { split(*source, 0, &progress); });
      EXPECT_THAT(text, HasSubstr("No space left on device"));
      EXPECT_THAT(text, HasSubstr(folder.string())) << "the file is named";
      EXPECT_EQ(progress.calls.back(), "stop");
      files.disarm();
      expectAsBefore(*source, before);
      EXPECT_EQ(split(*source, 0).size(), static_cast<std::size_t>(kDots));
    }
  }
}

TEST_F(MaskSplitFaults, WhateverCallFailsOnceTheMasksAreRightOrThereAreNone) {
  const auto source = dots(2);
  for (const bool on : {false, true}) {
    const ThreadSwitch threads(on);
    for (std::uint64_t call = 1;; ++call) {
      SCOPED_TRACE("failing call " + std::to_string(call));
      ASSERT_LT(call, 1000U);
      FaultFileSystem files(FileSystem::posix());
      const FileSystemOverride current(files);
      files.arm({.call = call, .extent = FaultFileSystem::Extent::once});
      try {
        const auto masks = split(*source, 0);
        EXPECT_EQ(masks.size(), 2U);
        for (const auto& mask : masks) EXPECT_EQ(count(*mask), 1U);
      } catch (const McException& failure) {
        EXPECT_THAT(failure.what(), HasSubstr(folder.string()));
      }
      const bool hasFailed = files.hasFailed();
      files.disarm();
      EXPECT_EQ(count(*source), 2U);
      // What could not be removed is that of a dead process.
      hxroi::details::TemporaryFolder::leave();
      hxroi::details::LeftOvers::removeRemains(files, hxroi::details::TemporaryFolder::path());
      EXPECT_THAT(temporaryFiles(), IsEmpty());
      if (!hasFailed || HasFailure()) break;
    }
  }
}

TEST_F(MaskSplitFaults, AnyExceptionOfAWorkerReachesTheCaller) {
  const auto source = dots(kDots);
  const State before = stateOf(*source);
  for (const bool on : {false, true}) {
    const ThreadSwitch threads(on);
    for (const int filesBefore : {0, 4, 16}) {
      ForgetfulFileSystem files(filesBefore);
      const FileSystemOverride current(files);
      RecordingProgress progress;
      EXPECT_THROW(split(*source, 5, &progress), std::bad_alloc) << filesBefore;
      EXPECT_EQ(progress.calls.back(), "stop");
      expectAsBefore(*source, before);
    }
  }
}

TEST_F(MaskSplitFaults, DamagedTileIsNamed) {
  auto random = seededRandom();
  crowded(random)->writeToFile(folder / "user");
  const std::string dataFile = (folder / "user.dat").string();
  std::string bytes = textOf(dataFile);
  bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 1);
  writeText(dataFile, bytes);
  const McHandle<Mask> source = Mask::loadFromFile("user", folder / "user");
  source->setBoundingBox(hxroi::wholeBox(source->dimensions()));
  for (const bool on : {false, true}) {
    const ThreadSwitch threads(on);
    EXPECT_THAT(refusal([&] { split(*source, 0); }), HasSubstr(dataFile));
    std::map<int, McBox3i> boxes;
    EXPECT_THAT(refusal([&] { source->splitToUniformLabelField3(boxes, 0, nullptr); }), HasSubstr(dataFile));
  }
  EXPECT_THAT(temporaryFiles(), IsEmpty());
}
