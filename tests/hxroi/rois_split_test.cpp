#include <chrono>
#include <iterator>
#include <tcl.h>

#include "quarn/voxora/files/FaultFileSystem.h"
#include "tests/hxroi/RoisTest.h"
#include "tests/hxroi/SplitTest.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

class RoisSplit : public RoisTest {
protected:
  using Masks = std::vector<McHandle<Mask>>;

  RoisSplit() : interp_(Tcl_CreateInterp()) {}
  ~RoisSplit() override { Tcl_DeleteInterp(interp_); }

  /// A mask of `count` single voxels in a row.
  Mask* addDots(const std::string& name, int count) {
    Mask* mask = addMask(name);
    for (int i = 0; i < count; ++i) fill(*mask, {2 * (i % 6), 2 * (i / 6), 3}, {1, 1, 1});
    return mask;
  }

  Masks split(const std::string& name, McProgressInterface* progress = nullptr) const {
    Masks masks;
    rois->splitMask(name, std::back_inserter(masks), progress);
    return masks;
  }

  int run(std::vector<std::string> words) {
    words.insert(words.begin(), "atlas");
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    return rois->parse(interp_, static_cast<int>(words.size()), argv.data());
  }

  std::size_t temporaryFiles() const {
    std::size_t files = 0;
    for (const auto& entry : boost::filesystem::directory_iterator(folder / "temporary" / "tmp-masks")) {
      files += entry.path().filename().string().starts_with("owner-") ? 0 : 1;
    }
    return files;
  }

  void addUpTo(std::size_t masks) {
    while (rois->getNumberOfMasks() < masks) addMask("other" + std::to_string(rois->getNumberOfMasks()));
  }

private:
  Tcl_Interp* interp_;
};

}  // namespace

TEST_F(RoisSplit, PiecesGoToTheCallerAndNotIntoTheSet) {
  addDots("A", 3);
  const auto masks = split("A");
  ASSERT_EQ(masks.size(), 3U);
  for (const auto& mask : masks) EXPECT_EQ(mask->name(), "A-splitted-component0");
  EXPECT_THAT(maskNames(), ElementsAre("A"));
}

TEST_F(RoisSplit, MembersOfGroupsAreSplitToo) {
  rois->addRoi(makeGroup("G", {"M"}));
  fill(*rois->getMask("M"), {1, 1, 1}, {2, 2, 2});
  EXPECT_EQ(split("M").size(), 1U);
}

TEST_F(RoisSplit, WhatIsNoMaskIsRefused) {
  addMask("A");
  rois->addRoi(makeGroup("G"));
  for (const char* name : {"G", "Missing", ""}) {
    EXPECT_EQ(refusalOf([&] { split(name); }), std::string("atlas does not contains a mask named ") + name + ".");
  }
}

TEST_F(RoisSplit, FullSetIsRefusedFirst) {
  addUpTo(100);
  const std::string expected = "atlas% has already reached the maximum number of allowed masks (100%). Cannot split.";
  EXPECT_EQ(refusalOf([&] { split("other0"); }), expected);
  EXPECT_EQ(refusalOf([&] { split("Missing"); }), expected);
}

TEST_F(RoisSplit, AsManyPiecesAsTheSetMayGetAreAskedFor) {
  addDots("A", 4);
  addUpTo(99);
  EXPECT_EQ(split("A").size(), 2U);
  ASSERT_EQ(console.warnings.size(), 1U);
  EXPECT_TRUE(console.warnings[0].endsWith("(1).")) << console.warnings[0].toStdString();
}

TEST_F(RoisSplit, InterruptedSplitGivesNothing) {
  addDots("A", 12);
  SlowFileSystem slow(std::chrono::milliseconds(20));
  const hxvoxora::FileSystemOverride current(slow);
  for (const bool on : {false, true}) {
    const ThreadSwitch threads(on);
    for (const int question : {0, 5, 13, 14}) {
      AskedProgress progress;
      progress.interruptAfter = question;
      EXPECT_THAT(split("A", &progress), IsEmpty()) << question;
      EXPECT_EQ(std::count(progress.calls.begin(), progress.calls.end(), "asked"), question + 1);
      EXPECT_EQ(temporaryFiles(), 0U);
    }
  }
}

TEST_F(RoisSplit, CommandInsertsThePiecesUnderNamesOfTheirOwn) {
  Mask* source = addDots("A", 3);
  AskedProgress progress;
  const ProgressScope scope(progress);
  EXPECT_EQ(run({"splitMask", "A"}), TCL_OK);
  EXPECT_THAT(topLevelNames(),
              ElementsAre("A", "A-splitted-component0", "A-splitted-component1", "A-splitted-component2"));
  EXPECT_EQ(rois->getMask("A"), source);
  EXPECT_EQ(count(*source), 3U);
  EXPECT_TRUE(voxel(*rois->getMask("A-splitted-component1"), 2, 0, 3));
  EXPECT_THAT(progress.calls, Contains("text Computed split 3"));
  EXPECT_EQ(console.consoleText(), "");
  EXPECT_EQ(run({"splitMask", "A"}), TCL_OK);
  EXPECT_EQ(topLevelNames().back(), "A-splitted-component5");
}

TEST_F(RoisSplit, CommandTellsItsForm) {
  addMask("A");
  EXPECT_EQ(run({"splitMask"}), TCL_ERROR);
  EXPECT_THAT(console.consoleText(), HasSubstr("splitMask"));
  EXPECT_EQ(run({"splitMask", "A", "A"}), TCL_ERROR);
  console.clear();
  EXPECT_EQ(run({"splitMask", "help"}), TCL_OK);
  EXPECT_THAT(console.consoleText(), HasSubstr("splitMask"));
  EXPECT_THAT(topLevelNames(), ElementsAre("A"));
}

TEST_F(RoisSplit, CommandPrintsRefusals) {
  addMask("A");
  EXPECT_EQ(run({"splitMask", "Missing"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries, ElementsAre("atlas does not contains a mask named Missing."));
  addUpTo(100);
  console.clear();
  EXPECT_EQ(run({"splitMask", "A"}), TCL_ERROR);
  EXPECT_THAT(console.consoleEntries,
              ElementsAre("atlas% has already reached the maximum number of allowed masks (100%). Cannot split."));
}

TEST_F(RoisSplit, CommandOnAnEmptyMaskAddsNothing) {
  addMask("A");
  EXPECT_EQ(run({"splitMask", "A"}), TCL_OK);
  EXPECT_THAT(topLevelNames(), ElementsAre("A"));
}

TEST_F(RoisSplit, CommandThatIsInterruptedLeavesTheSet) {
  addDots("A", 12);
  SlowFileSystem slow(std::chrono::milliseconds(20));
  const hxvoxora::FileSystemOverride current(slow);
  for (const int question : {0, 3, 14}) {
    AskedProgress progress;
    progress.interruptAfter = question;
    const ProgressScope scope(progress);
    EXPECT_EQ(run({"splitMask", "A"}), TCL_OK);
    EXPECT_THAT(topLevelNames(), ElementsAre("A"));
    EXPECT_EQ(count(*rois->getMask("A")), 12U);
    EXPECT_EQ(temporaryFiles(), 0U);
  }
  EXPECT_EQ(console.consoleText(), "");
}

TEST_F(RoisSplit, CommandOnAFullDiskTellsSoAndLeavesTheSet) {
  addDots("A", 12);
  for (const bool on : {false, true}) {
    const ThreadSwitch threads(on);
    console.clear();
    hxvoxora::FaultFileSystem files(hxvoxora::FileSystem::posix());
    const hxvoxora::FileSystemOverride current(files);
    files.arm({.call = 9, .only = hxvoxora::FileCall::write, .extent = hxvoxora::FaultFileSystem::Extent::forever});
    EXPECT_EQ(run({"splitMask", "A"}), TCL_ERROR);
    ASSERT_EQ(console.consoleEntries.size(), 1U);
    EXPECT_THAT(console.consoleEntries[0], HasSubstr("No space left on device"));
    EXPECT_THAT(console.consoleEntries[0], HasSubstr(folder.string()));
    EXPECT_THAT(topLevelNames(), ElementsAre("A"));
    EXPECT_EQ(count(*rois->getMask("A")), 12U);
    EXPECT_EQ(temporaryFiles(), 0U);
  }
}

TEST_F(RoisSplit, PiecesThatFindNoPlaceGoAndThoseBeforeThemStay) {
  addDots("A", 2);
  addUpTo(99);
  // One piece and one with the rest, but place for one only.
  EXPECT_THROW(run({"splitMask", "A"}), McException);
  EXPECT_EQ(rois->getNumberOfMasks(), 100U);
  EXPECT_EQ(topLevelNames().back(), "A-splitted-component0");
  EXPECT_NE(rois->getMask("A"), nullptr);
  EXPECT_EQ(temporaryFiles(), 3U) << "those of the piece that went in";
}

TEST_F(RoisSplit, MergedPiecesAreTheMaskAgain) {
  Mask* source = addDots("A", 9);
  fill(*source, {7, 5, 0}, {3, 3, 3});
  EXPECT_EQ(run({"splitMask", "A"}), TCL_OK);
  std::vector<std::string> pieces = topLevelNames();
  pieces.erase(pieces.begin());
  const McHandle<Mask> merged = rois->mergeMasks(pieces.begin(), pieces.end());
  *merged ^= *source;
  EXPECT_TRUE(merged->empty());
}
