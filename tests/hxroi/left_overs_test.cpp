#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include "hxroi/details/LeftOvers.h"
#include "hxroi/details/OwnerMark.h"
#include "hxroi/details/TemporaryNames.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/voxora/files/FaultFileSystem.h"
#include "quarn/voxora/files/MemoryFileSystem.h"

namespace names = hxroi::details::TemporaryNames;
namespace LeftOvers = hxroi::details::LeftOvers;
using hxroi::details::OwnerMark;
using hxvoxora::FaultFileSystem;
using hxvoxora::FileCall;
using hxvoxora::FileKind;
using hxvoxora::MemoryFileSystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr const char* kEarly = "20260101T000000.000000";
constexpr const char* kNoon = "20260101T120000.000000";
constexpr const char* kLate = "20260101T230000.000000";
constexpr long kOther = 4242;

class TemporaryOwners : public ::testing::Test {
protected:
  TemporaryOwners() { files.makeDirectory("/tmp"); }

  void make(const std::string& name, const std::string& text = "") {
    const auto bytes = std::as_bytes(std::span(text));
    files.setContent("/tmp/" + name, {bytes.begin(), bytes.end()});
  }

  void makeMask(const std::string& time, long process, int counter = 0) {
    for (const char* end : {".ldm", ".dat", ".fcp"}) make(names::stem(time, counter, process) + end);
  }

  /// The mark of another process that lives while the result does.
  std::unique_ptr<hxvoxora::FileLock> foreignMark(const std::string& since, long process = kOther, int number = 0) {
    make(names::ownerMark(process, number), since);
    return files.tryLock("/tmp/" + names::ownerMark(process, number));
  }

  std::vector<std::string> found() {
    std::vector<std::string> stems;
    for (const auto& set : LeftOvers::find(files, "/tmp")) stems.push_back(set.stem);
    return stems;
  }

  static std::string ownMark(int number) { return names::ownerMark(::getpid(), number); }

  MemoryFileSystem files;
  HxRecordingSink console;
};

}  // namespace

TEST_F(TemporaryOwners, MarkIsALockedFileThatGoesWithItsObject) {
  {
    const OwnerMark mark(files, "/tmp", kNoon);
    EXPECT_TRUE(mark.holds());
    EXPECT_EQ(mark.number(), 0);
    EXPECT_THAT(files.list("/tmp"), ElementsAre(ownMark(0)));
    EXPECT_FALSE(files.tryLock("/tmp/" + ownMark(0)));
    EXPECT_EQ(OwnerMark::sinceOf(files, "/tmp/" + ownMark(0)), kNoon);
  }
  EXPECT_THAT(files.list("/tmp"), IsEmpty());
}

TEST_F(TemporaryOwners, ProcessesOfOneIdGetDifferentNumbers) {
  auto first = std::make_unique<OwnerMark>(files, "/tmp", kNoon);
  const OwnerMark second(files, "/tmp", kNoon);
  const OwnerMark third(files, "/tmp", kNoon);
  EXPECT_EQ(second.number(), 1);
  EXPECT_EQ(third.number(), 2);
  first.reset();
  EXPECT_EQ(OwnerMark(files, "/tmp", kNoon).number(), 0);
}

TEST_F(TemporaryOwners, MarkOfADeadProcessOfTheSameIdIsTakenOver) {
  make(ownMark(0), kEarly);
  const OwnerMark mark(files, "/tmp", kNoon);
  EXPECT_EQ(mark.number(), 0);
  EXPECT_EQ(OwnerMark::sinceOf(files, "/tmp/" + ownMark(0)), kNoon);
}

TEST_F(TemporaryOwners, MarkThatSomebodyRemovedHoldsNoMore) {
  const OwnerMark mark(files, "/tmp", kNoon);
  files.remove("/tmp/" + ownMark(0));
  EXPECT_FALSE(mark.holds());
  const OwnerMark successor(files, "/tmp", kNoon);
  EXPECT_FALSE(mark.holds());
  EXPECT_TRUE(successor.holds());
}

TEST_F(TemporaryOwners, MarkThatCannotBeMadeIsAnErrorAndLeavesNothing) {
  for (const FileCall call : {FileCall::create, FileCall::write, FileCall::lock}) {
    FaultFileSystem faults(files);
    faults.arm({.only = call, .extent = FaultFileSystem::Extent::forever});
    EXPECT_THROW(OwnerMark(faults, "/tmp", kNoon), McException);
    EXPECT_THAT(found(), IsEmpty());
  }
  EXPECT_EQ(OwnerMark(files, "/tmp", kNoon).number(), 0);
  EXPECT_THAT(files.list("/tmp"), IsEmpty());
}

TEST_F(TemporaryOwners, MarkThatCannotBeRemovedIsLoggedOnly) {
  FaultFileSystem faults(files);
  {
    const OwnerMark mark(faults, "/tmp", kNoon);
    faults.arm({.only = FileCall::remove, .extent = FaultFileSystem::Extent::forever});
  }
  EXPECT_THAT(files.list("/tmp"), ElementsAre(ownMark(0)));
  LeftOvers::removeRemains(files, "/tmp");
  EXPECT_THAT(files.list("/tmp"), IsEmpty());
}

TEST_F(TemporaryOwners, FilesWithoutALivingOwnerAreLeftOvers) {
  makeMask(kNoon, kOther);
  makeMask(kEarly, 17);
  make("notes.txt");
  make(names::stem(kLate, 5, 17) + ".dat~7d0c93a1b2f4e865");
  const auto all = LeftOvers::find(files, "/tmp");
  ASSERT_EQ(all.size(), 3U);
  EXPECT_EQ(all[0].stem, names::stem(kEarly, 0, 17));
  EXPECT_THAT(all[0].names, ElementsAre(all[0].stem + ".dat", all[0].stem + ".fcp", all[0].stem + ".ldm"));
  EXPECT_EQ(all[1].stem, names::stem(kNoon, 0, kOther));
  EXPECT_THAT(all[2].names, ElementsAre(all[2].stem + ".dat~7d0c93a1b2f4e865"));
  for (const auto& set : all) LeftOvers::remove(files, "/tmp", set);
  EXPECT_THAT(files.list("/tmp"), ElementsAre("notes.txt"));
}

TEST_F(TemporaryOwners, FilesOfALivingProcessAreNot) {
  makeMask(kNoon, kOther);
  {
    const auto living = foreignMark(kEarly);
    EXPECT_THAT(found(), IsEmpty());
  }
  EXPECT_EQ(found().size(), 1U);
}

TEST_F(TemporaryOwners, OwnFilesAreNot) {
  const OwnerMark mark(files, "/tmp", kEarly);
  makeMask(kNoon, ::getpid());
  EXPECT_THAT(found(), IsEmpty());
}

TEST_F(TemporaryOwners, FilesOfADeadProcessAreFoundUnderAnIdThatWasGivenOutAnew) {
  makeMask(kEarly, kOther);
  makeMask(kLate, kOther);
  const auto living = foreignMark(kNoon);
  EXPECT_THAT(found(), ElementsAre(names::stem(kEarly, 0, kOther)));
}

TEST_F(TemporaryOwners, AnyLivingProcessOfTheIdKeepsTheFiles) {
  makeMask(kNoon, kOther);
  const auto late = foreignMark(kLate, kOther, 0);
  const auto early = foreignMark(kEarly, kOther, 1);
  EXPECT_THAT(found(), IsEmpty());
}

TEST_F(TemporaryOwners, MarkThatTellsNoTimeKeepsAllFiles) {
  makeMask(kEarly, kOther);
  const auto living = foreignMark("");
  EXPECT_THAT(found(), IsEmpty());
}

TEST_F(TemporaryOwners, MarkThatCannotBeLockedKeepsTheFiles) {
  makeMask(kNoon, kOther);
  make(names::ownerMark(kOther, 0), kEarly);
  FaultFileSystem faults(files);
  faults.arm({.only = FileCall::lock, .extent = FaultFileSystem::Extent::forever, .reason = "No locks available"});
  EXPECT_THAT(LeftOvers::find(faults, "/tmp"), IsEmpty());
}

TEST_F(TemporaryOwners, MissingFolderHasNoLeftOvers) {
  EXPECT_THAT(LeftOvers::find(files, "/none"), IsEmpty());
  LeftOvers::removeRemains(files, "/none");
  LeftOvers::removeOwn(files, "/none", kEarly, 0);
}

TEST_F(TemporaryOwners, MarksOfTheLivingStay) {
  make(names::ownerMark(17, 0), kEarly);
  const auto living = foreignMark(kEarly);
  LeftOvers::removeRemains(files, "/tmp");
  EXPECT_THAT(files.list("/tmp"), ElementsAre(names::ownerMark(kOther, 0)));
}

TEST_F(TemporaryOwners, AllFilesAreTriedBeforeAFailedRemovalIsTold) {
  makeMask(kNoon, kOther);
  FaultFileSystem faults(files);
  faults.arm({.only = FileCall::remove, .reason = "Device or resource busy"});
  EXPECT_THROW(LeftOvers::remove(faults, "/tmp", LeftOvers::find(files, "/tmp").front()), McException);
  EXPECT_EQ(files.list("/tmp").size(), 1U);
}

TEST_F(TemporaryOwners, SpillFilesAreNoLeftOversAndGoWithTheMarksOfTheDead) {
  const auto living = foreignMark(kEarly);
  make(names::ownerMark(17, 0), kEarly);
  makeMask(kNoon, 17);
  const auto masks = files.list("/tmp");
  make(names::stem(kNoon, 0, 17) + ".spill3");
  make(names::stem(kLate, 1, 17) + ".spill4");
  make(names::stem(kLate, 1, kOther) + ".spill1");
  const auto all = LeftOvers::find(files, "/tmp");
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].names.size(), 3U);
  LeftOvers::removeRemains(files, "/tmp");
  auto expected = masks;
  std::erase(expected, names::ownerMark(17, 0));
  expected.push_back(names::stem(kLate, 1, kOther) + ".spill1");
  EXPECT_THAT(files.list("/tmp"), ::testing::UnorderedElementsAreArray(expected));
}

TEST_F(TemporaryOwners, OwnFilesOfKeptStemsStay) {
  OwnerMark mark(files, "/tmp", kEarly);
  makeMask(kNoon, ::getpid(), 1);
  makeMask(kNoon, ::getpid(), 2);
  mark.removeOwnFiles({names::stem(kNoon, 2, ::getpid())});
  EXPECT_EQ(files.list("/tmp").size(), 4U);
  EXPECT_EQ(files.kind("/tmp/" + names::stem(kNoon, 2, ::getpid()) + ".ldm"), FileKind::regular);
}

TEST_F(TemporaryOwners, OwnFilesAreToldFromThoseOfOthers) {
  const long self = ::getpid();
  OwnerMark mark(files, "/tmp", kNoon);
  makeMask(kEarly, self);                             // a process that died
  makeMask(kLate, self, names::kCountersPerProcess);  // another container
  makeMask(kLate, kOther);                            // another process
  const auto others = files.list("/tmp");
  makeMask(kNoon, self, 7);
  makeMask(kLate, self, 8);
  make(names::stem(kLate, 8, self) + ".dat~7d0c93a1b2f4e865");
  mark.removeOwnFiles();
  EXPECT_EQ(files.list("/tmp"), others);
}

TEST_F(TemporaryOwners, OneProcessRecoversAtATime) {
  {
    const LeftOvers::Claim claim(files, "/tmp");
    EXPECT_THROW(LeftOvers::Claim(files, "/tmp"), McException);
  }
  { const LeftOvers::Claim claim(files, "/tmp"); }
  EXPECT_THAT(files.list("/tmp"), IsEmpty());
  make(names::kRecoveryMark);  // of a process that was killed
  { const LeftOvers::Claim claim(files, "/tmp"); }
  EXPECT_THAT(files.list("/tmp"), IsEmpty());
}
