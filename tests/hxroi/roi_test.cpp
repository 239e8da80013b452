#include <atomic>
#include <oneapi/tbb/parallel_for.h>
#include <regex>
#include <set>
#include <thread>

#include "hxroi/details/Group.h"
#include "quarn/base/McTimeStamp.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/script/HxCommands.h"
#include "tests/hxroi/MaskTest.h"

using hxroi::details::Group;
using hxroi::details::Roi;

namespace {

class RoiTest : public MaskTest {
protected:
  RoiTest() {
    rois->setLabel("atlas");
    rois->addRoi(mask);
    rois->touches.clear();
  }

  /// What the set hears while `change` runs.
  template <class Change>
  std::vector<unsigned int> heard(Change change) {
    rois->touches.clear();
    change();
    return rois->touches;
  }

  int parse(std::vector<std::string> words) {
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    Tcl_Interp* interp = Tcl_CreateInterp();
    const int result = mask->parse(interp, static_cast<int>(words.size()), argv.data());
    result_ = Tcl_GetStringResult(interp);
    Tcl_DeleteInterp(interp);
    return result;
  }

  const McHandle<ListeningRois> rois = new ListeningRois;
  const McHandle<Mask> mask = makeMask();
  std::string result_;
};

using Flags = std::vector<unsigned int>;

}  // namespace

TEST_F(RoiTest, IdentifierIsARandomUuid) {
  const std::regex uuid("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
  EXPECT_TRUE(std::regex_match(mask->id(), uuid)) << mask->id();
}

TEST_F(RoiTest, EqualNamesHaveDifferentIdentifiers) {
  EXPECT_NE(makeMask()->id(), makeMask()->id());
  const McHandle<Mask> copy = new Mask("mask", *mask);
  EXPECT_NE(copy->id(), mask->id());
}

TEST_F(RoiTest, IdentifierCanBeRestored) {
  mask->setId("0b0e7a5e-0000-4000-8000-000000000000");
  EXPECT_EQ(mask->id(), "0b0e7a5e-0000-4000-8000-000000000000");
  EXPECT_TRUE(mask->parameters().find("Id")->getFlag(102));
}

TEST_F(RoiTest, IdParameterBelongsToTheProgram) {
  EXPECT_EQ(mask->parameters().find("Id")->flags(), 102);
}

TEST_F(RoiTest, BundleIsNamedLikeTheRoiAndLocked) {
  EXPECT_EQ(mask->parameters().name(), "mask");
  EXPECT_TRUE(mask->parameters().getFlag(32));
  mask->setName("other");
  EXPECT_EQ(mask->parameters().name(), "other");
  EXPECT_TRUE(mask->parameters().getFlag(32));
}

TEST_F(RoiTest, RenamingToTheSameNameTellsNobody) {
  EXPECT_EQ(heard([&] { mask->setName("mask"); }), Flags{});
}

TEST_F(RoiTest, RenamingTouches16AndTheSetFollows) {
  EXPECT_EQ(heard([&] { mask->setName("Left_Putamen-2"); }), Flags{16});
  EXPECT_EQ(rois->getRoi("Left_Putamen-2"), mask);
  EXPECT_EQ(rois->getRoi("mask"), nullptr);
}

TEST_F(RoiTest, BadCharactersInNamesAreRefused) {
  for (const char* name : {"a b", "a.b", "a/b", "\xe9"}) {
    EXPECT_EQ(refusal([&] { mask->setName(name); }),
              "Invalid name: can only contains alpha numerics, underscores and dashes.");
    EXPECT_EQ(mask->name(), "mask");
  }
  EXPECT_EQ(refusal([] {
              makeMask({2, 2, 2}, false, "a b");
            }),
            "Invalid name: can only contains alpha numerics, underscores and dashes.");
}

TEST_F(RoiTest, NamesMayBeginWithDigits) {
  mask->setName("3_Brodmann");
  EXPECT_EQ(mask->name(), "3_Brodmann");
  mask->setName("42");
  EXPECT_EQ(mask->name(), "42");
}

TEST_F(RoiTest, RenamingThatASetRefusesChangesNothing) {
  rois->addRoi(makeMask({13, 11, 7}, false, "taken"));
  EXPECT_THROW(mask->setName("taken"), McException);
  EXPECT_EQ(mask->name(), "mask");
  EXPECT_EQ(rois->getRoi("mask"), mask);
}

TEST_F(RoiTest, SetsAskedBeforeTheRefusingOneAreNotAskedAgain) {
  const McHandle<ListeningRois> other = new ListeningRois;
  other->addRoi(mask);
  const bool otherIsLast = *mask->owners().rbegin() == static_cast<HxRois*>(other.get());
  HxRois* last = otherIsLast ? static_cast<HxRois*>(other.get()) : rois.get();
  HxRois* first = otherIsLast ? rois.get() : static_cast<HxRois*>(other.get());
  last->addRoi(makeMask({13, 11, 7}, false, "taken"));
  EXPECT_THROW(mask->setName("taken"), McException);
  EXPECT_EQ(mask->name(), "mask");
  EXPECT_EQ(first->getRoi("taken"), mask);
  EXPECT_EQ(last->getRoi("mask"), mask);
  first->notifyRoiRename("taken", "mask");
}

TEST_F(RoiTest, FixedNameReplacesWhatANameMayNotHold) {
  EXPECT_EQ(Roi::fixedName("Left Putamen"), "Left_Putamen");
  EXPECT_EQ(Roi::fixedName("Left_Putamen-2"), "Left_Putamen-2");
}

TEST_F(RoiTest, EachDisplayChangeHasItsOwnFlag) {
  const McHandle<HxColormap> colormap = new HxColormap;
  EXPECT_EQ(heard([&] { mask->setColor(McColor(1, 0, 0)); }), Flags{128});
  EXPECT_EQ(heard([&] { mask->setColormap(colormap); }), Flags{2048});
  EXPECT_EQ(heard([&] { mask->setColormapRange({2, 5}); }), Flags{32});
  EXPECT_EQ(heard([&] { mask->setAlphaEnabled(false); }), Flags{5});
  EXPECT_EQ(heard([&] { mask->setProperty("x", 1); }), Flags{64});
  mask->setColormap(nullptr);
}

TEST_F(RoiTest, SettingWhatIsSetAlreadyTellsNobody) {
  const McHandle<HxColormap> colormap = new HxColormap;
  mask->setColormap(colormap);
  EXPECT_EQ(heard([&] {
              mask->setColor(mask->color(false));
              mask->setColormap(colormap);
              mask->setColormapRange({0, 1});
              mask->setAlphaEnabled(true);
            }),
            Flags{});
  mask->setColormap(nullptr);
}

TEST_F(RoiTest, ColormapThatChangedInItselfIsAChange) {
  const McHandle<HxColormap> colormap = new HxColormap;
  mask->setColormap(colormap);
  colormap->setMinMax(0, 7);
  EXPECT_EQ(heard([&] { mask->setColormap(colormap); }), Flags{2048});
  EXPECT_EQ(heard([&] { mask->setColormap(colormap); }), Flags{});
  mask->setColormap(nullptr);
}

TEST_F(RoiTest, TakingTheColormapAwayKeepsItsTouchTime) {
  const McHandle<HxColormap> colormap = new HxColormap;
  mask->setColormap(colormap);
  EXPECT_EQ(heard([&] { mask->setColormap(nullptr); }), Flags{2048});
  EXPECT_EQ(heard([&] { mask->setColormap(nullptr); }), Flags{});
}

TEST_F(RoiTest, PropertiesKeepTheirTypes) {
  mask->setProperty("text", "left");
  mask->setProperty("number", 3);
  mask->setProperty("real", 0.1F);
  EXPECT_EQ(mask->stringProperty("text", false), "left");
  EXPECT_EQ(mask->intProperty("number", false), 3);
  EXPECT_EQ(mask->floatProperty("real", false), 0.1F);
}

TEST_F(RoiTest, MissingPropertiesAreNamed) {
  EXPECT_EQ(refusal([&] { mask->floatProperty("f", true); }), "ROI does not have a float property named f.");
  EXPECT_EQ(refusal([&] { mask->intProperty("i", true); }), "ROI does not have an integer property named i.");
  EXPECT_EQ(refusal([&] { mask->stringProperty("s", false); }), "ROI does not have a string property named s.");
}

TEST_F(RoiTest, GroupWinsWhenInheriting) {
  const McHandle<Group> group = new Group("group", McColor(0, 1, 0), nullptr);
  const McHandle<Mask> member = makeMask({13, 11, 7}, false, "member");
  group->setColormapRange({3, 4});
  member->setProperty("x", 1);
  member->setProperty("own", 7);
  group->setProperty("x", 2);
  group->addMask(member);
  EXPECT_EQ(member->color(true), McColor(0, 1, 0));
  EXPECT_EQ(member->color(false), McColor(0.5F, 0.25F, 1));
  EXPECT_EQ(member->colormapRange(true), std::make_pair(3.0F, 4.0F));
  EXPECT_EQ(member->colormapRange(false), std::make_pair(0.0F, 1.0F));
  EXPECT_EQ(member->intProperty("x", true), 2);
  EXPECT_EQ(member->intProperty("x", false), 1);
  EXPECT_EQ(member->intProperty("own", true), 7);
}

TEST_F(RoiTest, GroupWinsForColormapsTextsAndRealsToo) {
  const McHandle<HxColormap> ofGroup = new HxColormap;
  const McHandle<HxColormap> ofMember = new HxColormap;
  const McHandle<Group> group = new Group("group", McColor(0, 1, 0), ofGroup);
  const McHandle<Mask> member = makeMask({13, 11, 7}, false, "member");
  member->setColormap(ofMember);
  member->setProperty("text", "own");
  member->setProperty("real", 0.5F);
  member->setProperty("only", "mine");
  member->setProperty("only-real", 0.25F);
  group->setProperty("text", "shared");
  group->setProperty("real", 1.5F);
  group->addMask(member);
  EXPECT_EQ(member->colormap(true), ofGroup);
  EXPECT_EQ(member->colormap(false), ofMember);
  EXPECT_EQ(member->stringProperty("text", true), "shared");
  EXPECT_EQ(member->stringProperty("text", false), "own");
  EXPECT_EQ(member->stringProperty("only", true), "mine");
  EXPECT_EQ(member->floatProperty("real", true), 1.5F);
  EXPECT_EQ(member->floatProperty("real", false), 0.5F);
  EXPECT_EQ(member->floatProperty("only-real", true), 0.25F);
  member->setColormap(nullptr);
  group->setColormap(nullptr);
}

TEST_F(RoiTest, AlphaIsNotInherited) {
  const McHandle<Group> group = new Group("group", McColor(0, 1, 0), nullptr);
  const McHandle<Mask> member = makeMask({13, 11, 7}, false, "member");
  group->addMask(member);
  group->setAlphaEnabled(false);
  EXPECT_TRUE(member->isAlphaEnabled());
}

TEST_F(RoiTest, BookkeepingRefusesWhatDoesNotFit) {
  EXPECT_EQ(refusal([&] { mask->notifyAddedToHxRois(rois); }), "mask has already been inserted inside HxRois atlas.");
  const McHandle<Mask> stranger = makeMask({13, 11, 7}, false, "stranger");
  EXPECT_EQ(refusal([&] { stranger->notifyRemovedFromHxRois(rois); }),
            "stranger has never been inserted inside HxRois atlas.");
  EXPECT_TRUE(stranger->owners().empty());
}

TEST_F(RoiTest, ContentRenewsTheTimeStampAfterTheSetsWereTold) {
  class StampReader : public ListeningRois {
  public:
    void touch(unsigned int flags) override {
      if (watched) stampWhenTold = watched->timeStamp();
      ListeningRois::touch(flags);
    }
    const Roi* watched = nullptr;
    std::uint64_t stampWhenTold = 0;
  };
  const McHandle<StampReader> reader = new StampReader;
  reader->addRoi(mask);
  reader->watched = mask;
  const std::uint64_t before = mask->timeStamp();
  mask->touch(16);
  EXPECT_EQ(mask->timeStamp(), before);
  mask->touch(8);
  EXPECT_EQ(reader->stampWhenTold, before);
  EXPECT_GT(mask->timeStamp(), before);
  reader->watched = nullptr;
}

TEST_F(RoiTest, WorkersMayTouchAtOnceAndEverySetHearsThemAll) {
  class CountingRois : public HxRois {
  public:
    void touch(unsigned int flags) override {
      if (flags == 8) ++contentTouches;
      HxRois::touch(flags);
    }
    std::atomic<int> contentTouches{0};
  };
  constexpr int kTouches = 20000;
  const McHandle<CountingRois> one = new CountingRois;
  const McHandle<CountingRois> two = new CountingRois;
  rois->removeRoi("mask");
  one->addRoi(mask);
  two->addRoi(mask);
  one->contentTouches = two->contentTouches = 0;
  std::atomic<int> stepsBack{0};
  tbb::parallel_for(0, kTouches, [&](int) {
    const std::uint64_t before = mask->timeStamp();
    mask->touch(8);
    if (mask->timeStamp() <= before) ++stepsBack;
  });
  EXPECT_EQ(one->contentTouches, kTouches);
  EXPECT_EQ(two->contentTouches, kTouches);
  EXPECT_EQ(stepsBack, 0) << "the time stamp went back";
}

TEST_F(RoiTest, NumberThatWasDrawnEarlierDoesNotTurnTheTimeStampBack) {
  mask->touch(8);
  const std::uint64_t before = mask->timeStamp();
  const std::uint64_t next = McTimeStamp<Roi>::s_nextTimeStamp.exchange(0);
  mask->touch(8);
  EXPECT_EQ(mask->timeStamp(), before);
  McTimeStamp<Roi>::s_nextTimeStamp = next;
  mask->touch(8);
  EXPECT_GT(mask->timeStamp(), before);
}

TEST_F(RoiTest, CopyTakesDisplayAndParametersAlong) {
  mask->setProperty("side", "left");
  mask->setColormapRange({1, 2});
  mask->setAlphaEnabled(false);
  const McHandle<Mask> copy = new Mask("copy", *mask);
  EXPECT_EQ(copy->name(), "copy");
  EXPECT_EQ(copy->color(false), mask->color(false));
  EXPECT_EQ(copy->colormapRange(false), std::make_pair(1.0F, 2.0F));
  EXPECT_FALSE(copy->isAlphaEnabled());
  EXPECT_EQ(copy->stringProperty("side", false), "left");
  EXPECT_TRUE(copy->owners().empty());
  EXPECT_EQ(copy->parent(), nullptr);
}

TEST_F(RoiTest, ConcurrentCallersGetDifferentColours) {
  std::vector<McColor> colors(McColor::htmlColorCount());
  std::vector<std::thread> threads;
  for (McColor& color : colors) threads.emplace_back([&color] { color = Roi::nextHtmlColor(); });
  for (std::thread& thread : threads) thread.join();
  const auto less = [](const McColor& a, const McColor& b) {
    return std::tie(a.r, a.g, a.b) < std::tie(b.r, b.g, b.b);
  };
  const std::set<McColor, decltype(less)> different(colors.begin(), colors.end(), less);
  EXPECT_EQ(different.size(), colors.size());
}

TEST_F(RoiTest, ScriptsReachTheParameters) {
  EXPECT_EQ(parse({"mask", "parameters", "set", "side", "left"}), TCL_OK);
  EXPECT_EQ(mask->stringProperty("side", false), "left");
  EXPECT_EQ(parse({"mask", "parameters", "get", "side"}), TCL_OK);
  EXPECT_EQ(result_, "left");
}

TEST_F(RoiTest, OtherScriptWordsAreAnsweredWithTheUsage) {
  EXPECT_EQ(parse({"mask", "fire"}), TCL_ERROR);
  EXPECT_THAT(console.consoleText(), ::testing::HasSubstr("parameters"));
}
