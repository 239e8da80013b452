#include <QString>
#include <algorithm>
#include <memory>
#include <mutex>
#include <set>
#include <thread>

#include "quarn/kernel/params/HxParamBundle.h"
#include "tests/hxroi/SplitTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class MaskSplit : public SplitTest {
protected:
  static constexpr McVec3i kGrid{13, 11, 7};

  /// Five components in this order, which is neither that of x nor that of y.
  static McHandle<Mask> five() {
    return maskOf(kGrid, {{9, 8, 1}, {10, 8, 1}, {2, 1, 2}, {0, 4, 2}, {5, 4, 2}, {1, 1, 5}, {1, 2, 5}});
  }

  static Bits allOf(const Masks& masks) {
    Bits all(bitsOf(*masks.front()).size());
    for (const auto& mask : masks) {
      const Bits bits = bitsOf(*mask);
      for (std::size_t i = 0; i < all.size(); ++i) all[i] = all[i] || bits[i];
    }
    return all;
  }

  QString warningFor(const char* maximum) const {
    return QString("The number of splitted components is greater than the maximum allowed (%1).").arg(maximum);
  }
};

/// Remembers which threads made files.
class WatchingFileSystem : public hxvoxora::PassingFileSystem {
public:
  WatchingFileSystem() : PassingFileSystem(hxvoxora::FileSystem::posix()) {}

  std::unique_ptr<hxvoxora::OutputFile> createExclusively(const std::string& path, Access access) override {
    {
      const std::lock_guard lock(mutex_);
      threads_.insert(std::this_thread::get_id());
    }
    return PassingFileSystem::createExclusively(path, access);
  }

  bool hasSeen(std::thread::id thread) const { return threads_.contains(thread); }
  bool hasSeenAny() const { return !threads_.empty(); }

private:
  std::mutex mutex_;
  std::set<std::thread::id> threads_;
};

}  // namespace

TEST_F(MaskSplit, FillsInAThreadOfItsOwnWhenTheSwitchIsOn) {
  const auto source = five();
  const auto seen = [&] {
    WatchingFileSystem files;
    const hxvoxora::FileSystemOverride current(files);
    split(*source, 100);
    EXPECT_TRUE(files.hasSeenAny());
    return files.hasSeen(std::this_thread::get_id());
  };
  {
    const ThreadSwitch threads(true);
    EXPECT_FALSE(seen());
  }
  {
    const ThreadSwitch threads(false);
    EXPECT_TRUE(seen());
  }
  EXPECT_TRUE(seen()) << "off unless set";
}

TEST_F(MaskSplit, FacesConnect) {
  for (const McVec3i& other : {McVec3i(5, 4, 3), McVec3i(4, 5, 3), McVec3i(4, 4, 4)}) {
    EXPECT_EQ(split(*maskOf(kGrid, {{4, 4, 3}, other}), 100).size(), 1U);
  }
}

TEST_F(MaskSplit, EdgesAndCornersDoNot) {
  for (const McVec3i& other : {McVec3i(5, 5, 3), McVec3i(5, 4, 4), McVec3i(4, 5, 4), McVec3i(5, 5, 4)}) {
    EXPECT_EQ(split(*maskOf(kGrid, {{4, 4, 3}, other}), 100).size(), 2U);
  }
}

TEST_F(MaskSplit, ComponentsComeInTheOrderOfTheirFirstVoxels) {
  const auto masks = split(*five(), 100);
  std::vector<McBox3i> boxes;
  for (const auto& mask : masks) {
    ASSERT_TRUE(mask->cachedBoundingBox());
    boxes.push_back(*mask->cachedBoundingBox());
    EXPECT_EQ(boundsOf(bitsOf(*mask), kGrid), boxes.back());
  }
  EXPECT_THAT(boxes, ElementsAre(McBox3i(9, 10, 8, 8, 1, 1), McBox3i(2, 2, 1, 1, 2, 2), McBox3i(0, 0, 4, 4, 2, 2),
                                 McBox3i(5, 5, 4, 4, 2, 2), McBox3i(1, 1, 1, 2, 5, 5)));
  EXPECT_THAT(console.warnings, IsEmpty());
}

TEST_F(MaskSplit, ComponentsAreMadeLikeTheMask) {
  const auto source = five();
  source->setColormapRange({-3, 17});
  source->setProperty("side", "left");
  source->parameters().getBundle("Atlas")->set("year", 2026);
  const auto masks = split(*source, 100);
  ASSERT_EQ(masks.size(), 5U);
  std::set<std::string> ids{source->id()};
  for (const auto& mask : masks) {
    EXPECT_EQ(mask->name(), "mask-splitted-component0");
    EXPECT_EQ(mask->dimensions(), kGrid);
    EXPECT_EQ(mask->colormap(false), nullptr);
    EXPECT_EQ(mask->colormapRange(false), std::make_pair(-3.0F, 17.0F));
    EXPECT_EQ(mask->stringProperty("side", false), "left");
    EXPECT_NE(std::as_const(mask->parameters()).getBundle("Atlas"), nullptr);
    EXPECT_TRUE(mask->owners().empty());
    ids.insert(mask->id());
  }
  EXPECT_EQ(ids.size(), 6U) << "identifiers are their own";
  for (std::size_t i = 1; i < masks.size(); ++i) EXPECT_NE(masks[i - 1]->color(), masks[i]->color());
}

TEST_F(MaskSplit, ComponentsAreSavedIntoFilesOfTheirOwn) {
  const auto source = five();
  const auto masks = split(*source, 2);
  ASSERT_EQ(masks.size(), 3U);
  for (const auto& mask : masks) {
    EXPECT_TRUE(mask->ownsTemporaryFiles());
    EXPECT_FALSE(mask->volumeMask()->hasUnsavedEdits());
    for (const char* extension : {".ldm", ".dat", ".fcp"}) EXPECT_TRUE(exists(mask->temporaryPrefix() + extension));
  }
  EXPECT_TRUE(source->volumeMask()->hasUnsavedEdits()) << "the source is left alone";
}

TEST_F(MaskSplit, ColoursAreDrawnInTheOrderOfTheComponents) {
  std::vector<McColor> sequence{McColor::nextHtmlColor()};
  for (McColor next = McColor::nextHtmlColor(); !(next == sequence.front()); next = McColor::nextHtmlColor()) {
    sequence.push_back(next);
  }
  for (const bool on : {false, true}) {
    const ThreadSwitch threads(on);
    const auto masks = split(*five(), 3);
    ASSERT_EQ(masks.size(), 4U);
    auto expected = std::find(sequence.begin(), sequence.end(), masks[0]->color());
    for (const auto& mask : masks) {
      ASSERT_NE(expected, sequence.end());
      EXPECT_EQ(mask->color(), *expected);
      if (++expected == sequence.end()) expected = sequence.begin();
    }
  }
}

TEST_F(MaskSplit, EmptyMaskGivesNothing) {
  AskedProgress progress;
  EXPECT_THAT(split(*makeMask(), 100, &progress), IsEmpty());
  EXPECT_THAT(callsOf(progress), ElementsAre(kComputing, "asked", "stop"));
  EXPECT_THAT(split(*makeMask(), 0), IsEmpty());
  EXPECT_THAT(console.warnings, IsEmpty());
}

TEST_F(MaskSplit, FullMaskIsOneComponent) {
  const auto source = makeMask(kGrid);
  *source = true;
  const auto masks = split(*source, 100);
  ASSERT_EQ(masks.size(), 1U);
  EXPECT_EQ(count(*masks[0]), 13U * 11U * 7U);
}

TEST_F(MaskSplit, FullMaskThatWasNeverWrittenRemembersToBeEmpty) {
  EXPECT_THAT(split(*makeMask(kGrid, true), 100), IsEmpty());
}

TEST_F(MaskSplit, WhatIsBeyondTheMaximumBecomesOneMaskInFront) {
  const auto source = five();
  const McBox3i box = source->getBoundingBox();
  const auto masks = split(*source, 2);
  EXPECT_THAT(console.warnings, ElementsAre(warningFor("2")));
  ASSERT_EQ(masks.size(), 3U);
  EXPECT_EQ(masks[0]->cachedApproximatedBoundingBox(), box);
  EXPECT_FALSE(masks[0]->cachedBoundingBox());
  EXPECT_EQ(count(*masks[0]), 4U);
  EXPECT_TRUE(voxel(*masks[0], 0, 4, 2) && voxel(*masks[0], 5, 4, 2) && voxel(*masks[0], 1, 2, 5));
  EXPECT_EQ(masks[1]->cachedBoundingBox(), McBox3i(9, 10, 8, 8, 1, 1));
  EXPECT_EQ(masks[2]->cachedBoundingBox(), McBox3i(2, 2, 1, 1, 2, 2));
  EXPECT_EQ(allOf(masks), bitsOf(*source));
}

TEST_F(MaskSplit, AsManyAsAllowedLeaveNoRest) {
  EXPECT_EQ(split(*five(), 5).size(), 5U);
  EXPECT_THAT(console.warnings, IsEmpty());
  EXPECT_EQ(split(*five(), 4).size(), 5U);
  EXPECT_THAT(console.warnings, ElementsAre(warningFor("4")));
}

TEST_F(MaskSplit, NoMaximumIsAbove253) {
  const auto source = dots(300);
  for (const char* maximum : {"0", "253", "254", "18446744073709551615"}) {
    console.clear();
    const auto masks = split(*source, std::strtoul(maximum, nullptr, 10));
    ASSERT_EQ(masks.size(), 254U) << maximum;
    EXPECT_THAT(console.warnings, ElementsAre(warningFor(maximum)));
    EXPECT_EQ(count(*masks[0]), 47U);
    for (std::size_t i = 1; i < masks.size(); ++i) ASSERT_EQ(count(*masks[i]), 1U);
  }
  console.clear();
  EXPECT_EQ(split(*source, 1).size(), 2U);
  EXPECT_THAT(console.warnings, ElementsAre(warningFor("1")));
}

TEST_F(MaskSplit, AsManyComponentsAsLabelsNeedNoRest) {
  EXPECT_EQ(split(*dots(253), 0).size(), 253U);
  EXPECT_THAT(console.warnings, IsEmpty());
}

TEST_F(MaskSplit, ProgressIsToldEveryComponent) {
  for (const bool on : {false, true}) {
    const ThreadSwitch threads(on);
    AskedProgress progress;
    const auto masks = split(*maskOf(kGrid, {{1, 1, 1}, {5, 5, 5}, {9, 9, 6}}), 100, &progress);
    EXPECT_EQ(masks.size(), 3U);
    EXPECT_THAT(callsOf(progress),
                ElementsAre(kComputing, "asked", "text Computed split 1", "asked", "text Computed split 2", "asked",
                            "text Computed split 3", "asked", "stop", kSaving, "stop"));
  }
}

TEST_F(MaskSplit, ProgressIsToldTheComponentsThatGetALabelOnly) {
  AskedProgress progress;
  split(*five(), 2, &progress);
  EXPECT_THAT(callsOf(progress), ElementsAre(kComputing, "asked", "text Computed split 1", "asked",
                                             "text Computed split 2", "asked", "stop", kSaving, "stop"));
}

TEST_F(MaskSplit, InterruptedWhileComputingThereIsNothing) {
  const auto source = five();
  for (int question = 0; question < 6; ++question) {
    AskedProgress progress;
    progress.interruptAfter = question;
    EXPECT_THAT(split(*source, 102, &progress), IsEmpty());
    EXPECT_EQ(std::count(progress.calls.begin(), progress.calls.end(), "asked"), question + 1);
    EXPECT_EQ(progress.calls.back(), "stop");
    EXPECT_EQ(std::count(progress.calls.begin(), progress.calls.end(), "stop"), 1);
  }
  AskedProgress progress;
  progress.interruptAfter = 1;
  EXPECT_THAT(split(*source, 2, &progress), IsEmpty());
  EXPECT_THAT(console.warnings, IsEmpty());
  EXPECT_EQ(console.consoleText(), "");
  EXPECT_THAT(temporaryFiles(), IsEmpty());
}

TEST_F(MaskSplit, LongSavesAskAndLeaveLaterMasksEmpty) {
  const auto source = dots(12);
  for (const bool on : {false, true}) {
    const ThreadSwitch threads(on);
    SlowFileSystem slow(std::chrono::milliseconds(20));
    const hxvoxora::FileSystemOverride current(slow);
    SaveInterrupter progress;
    progress.interruptAfter = 1;
    const auto masks = split(*source, 0, &progress);
    ASSERT_EQ(masks.size(), 12U);
    EXPECT_EQ(progress.calls.back(), "stop");
    EXPECT_EQ(progress.calls.end()[-2], "asked");
    EXPECT_FALSE(progress.values.empty());
    EXPECT_TRUE(std::is_sorted(progress.values.begin(), progress.values.end()));
    EXPECT_LT(progress.values.back(), 1.0F);
    std::uint64_t filled = 0;
    for (const auto& mask : masks) filled += count(*mask);
    EXPECT_GE(filled, 1U);
    EXPECT_LT(filled, 12U);
    for (const auto& mask : masks) EXPECT_LE(exists(mask->temporaryPrefix() + ".ldm"), count(*mask) == 1);
    if (!on) {
      for (std::size_t i = 0; i < masks.size(); ++i) EXPECT_EQ(count(*masks[i]), i < filled ? 1U : 0U);
    }
  }
}

TEST_F(MaskSplit, OnlyWhatTheRememberedBoxHoldsIsSplit) {
  const auto source = maskOf(kGrid, {{0, 0, 0}, {4, 4, 3}, {5, 4, 3}, {6, 4, 3}, {12, 10, 6}});
  source->setBoundingBox({4, 5, 3, 5, 2, 4});
  const auto masks = split(*source, 100);
  ASSERT_EQ(masks.size(), 1U);
  EXPECT_EQ(masks[0]->cachedBoundingBox(), McBox3i(4, 5, 4, 4, 3, 3));
  EXPECT_EQ(count(*masks[0]), 2U);
}

TEST_F(MaskSplit, RememberedBoxWithoutVoxelsGivesNothing) {
  const auto source = maskOf(kGrid, {{0, 0, 0}});
  source->setBoundingBox({4, 5, 3, 5, 2, 4});
  AskedProgress progress;
  EXPECT_THAT(split(*source, 100, &progress), IsEmpty());
  EXPECT_THAT(callsOf(progress), ElementsAre(kComputing, "asked", "stop", kSaving, "stop"));
}

TEST_F(MaskSplit, BorrowedMaskStaysSo) {
  const auto source = borrowed(*five());
  const auto before = hashesOf(folder);
  const auto masks = split(*source, 100);
  EXPECT_EQ(masks.size(), 5U);
  EXPECT_EQ(allOf(masks), bitsOf(*source));
  EXPECT_FALSE(source->ownsTemporaryFiles());
  EXPECT_EQ(hashesOf(folder), before);
}

TEST_F(MaskSplit, ComponentsLiveOnWithoutTheMask) {
  auto source = five();
  source->flush(0);
  const Bits bits = bitsOf(*source);
  const auto masks = split(*source, 1);
  source.reset();
  EXPECT_EQ(allOf(masks), bits);
}

TEST_F(MaskSplit, LabelFieldCoversTheBoundingBox) {
  const auto source = five();
  std::map<int, McBox3i> boxes;
  AskedProgress progress;
  const McHandle<HxUniformLabelField3> field = source->splitToUniformLabelField3(boxes, 3, &progress);
  ASSERT_TRUE(field);
  EXPECT_EQ(field->refCount(), 1);
  EXPECT_EQ(field->latticeDimensions(), McDim3l(11, 8, 5));
  EXPECT_EQ(field->value(9, 7, 0), 2);
  EXPECT_EQ(field->value(10, 7, 0), 2);
  EXPECT_EQ(field->value(2, 0, 1), 3);
  EXPECT_EQ(field->value(0, 3, 1), 4);
  EXPECT_EQ(field->value(5, 3, 1), 1);
  EXPECT_EQ(field->value(1, 1, 4), 1);
  EXPECT_EQ(field->value(0, 0, 0), 0);
  EXPECT_EQ(boxes.size(), 4U);
  EXPECT_EQ(boxes[1], hxroi::emptyBox<int>());
  EXPECT_EQ(boxes[2], McBox3i(9, 10, 7, 7, 0, 0));
  EXPECT_EQ(boxes[4], McBox3i(0, 0, 3, 3, 1, 1));
  EXPECT_THAT(callsOf(progress),
              ElementsAre(kComputing, "asked", "text Computed split 1", "asked", "text Computed split 2", "asked",
                          "text Computed split 3", "asked", "stop"));
  EXPECT_THAT(console.warnings, IsEmpty());
}

TEST_F(MaskSplit, LabelFieldIsNotMadeWhenInterruptedOrEmpty) {
  std::map<int, McBox3i> boxes;
  EXPECT_EQ(makeMask()->splitToUniformLabelField3(boxes, 3, nullptr), nullptr);
  EXPECT_THAT(boxes, IsEmpty());
  for (int question = 0; question < 6; ++question) {
    AskedProgress progress;
    progress.interruptAfter = question;
    EXPECT_EQ(five()->splitToUniformLabelField3(boxes, 100, &progress), nullptr);
    EXPECT_EQ(progress.calls.back(), "stop");
  }
}

TEST_F(MaskSplit, LabelFieldOfABoxWithoutVoxelsHasNoLabels) {
  const auto source = maskOf(kGrid, {{0, 0, 0}});
  source->setBoundingBox({4, 5, 3, 5, 2, 4});
  std::map<int, McBox3i> boxes;
  const McHandle<HxUniformLabelField3> field = source->splitToUniformLabelField3(boxes, 0, nullptr);
  ASSERT_TRUE(field);
  float min = 0, max = 0;
  field->valueRange(min, max, true);
  EXPECT_GT(min, max);
  EXPECT_EQ(boxes[1], McBox3i(0, 1, 0, 2, 0, 2));
}
