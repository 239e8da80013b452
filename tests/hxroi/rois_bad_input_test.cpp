#include "RoisTest.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/objects/HxObjectPool.h"

namespace {

const std::string kInvalidName = "Invalid name: can only contains alpha numerics, underscores and dashes.";

/// What a set and its ROIs are called, where they stand, and what they hold.
class RoisBadInput : public RoisTest {
protected:
  RoisBadInput() {
    bone = addMask("Bone");
    rois->addRoi(makeGroup("Group", {"Member"}));
  }

  std::vector<std::string> summary() const {
    std::vector<std::string> lines = topLevelNames();
    for (const Mask* mask : rois->masks()) lines.push_back("mask " + mask->name());
    for (const auto& roi : *rois) lines.push_back(roi->name() + " " + roi->id());
    return lines;
  }

  /// `statement` is refused with `text`, and nothing has changed.
  template <class Statement>
  void expectRefusal(Statement statement, const std::string& text) {
    const auto before = summary();
    EXPECT_STREQ(refusalOf(statement).c_str(), text.c_str());
    EXPECT_EQ(summary(), before);
  }

  Mask* bone;
};

class BadNames : public RoisBadInput, public ::testing::WithParamInterface<std::string> {};

TEST_P(BadNames, AreRefusedByMasksGroupsAndRenaming) {
  const std::string name = GetParam();
  expectRefusal([&] { makeMask(name); }, kInvalidName);
  expectRefusal([&] { makeGroup(name); }, kInvalidName);
  expectRefusal([&] { bone->setName(name); }, kInvalidName);
  expectRefusal([&] { rois->getGroup("Group")->setName(name); }, kInvalidName);
  expectRefusal([&] { rois->getMask("Member")->setName(name); }, kInvalidName);
}

TEST_P(BadNames, AreFoundNowhere) {
  const std::string name = GetParam();
  EXPECT_EQ(rois->getRoi(name), nullptr);
  EXPECT_TRUE(rois->isNameUnique(name));
  expectRefusal([&] { rois->removeRoi(name); }, "No roi named " + QString::fromLatin1(name).toStdString() +
                                                    " has been inserted inside this HxRois (atlas).");
}

INSTANTIATE_TEST_SUITE_P(Kinds, BadNames,
                         ::testing::Values("", " ", std::string("a\0b", 3), "a b", "a/b", "../a", "\"a\"", "'a'",
                                           "[exec_touch]", "{a}", "$a", "a\\b", "a;b", "a\nb", "a.b", "%1", "%s%n",
                                           "a:b", "a,b", "\xE9", "\xC3\xA9", std::string(10000, ' '),
                                           std::string(9999, 'a') + "!"));

TEST_F(RoisBadInput, ALongNameOfGoodCharactersIsAName) {
  const std::string name(10000, 'a');
  bone->setName(name);
  EXPECT_EQ(rois->getMask(name), bone);
  EXPECT_EQ(rois->getUniqueName(name), name + "0");
}

TEST_F(RoisBadInput, AMaskOfAnotherGridIsRefused) {
  expectRefusal(
      [&] {
        rois->addRoi(makeMask("Other", {13, 11, 8}));
      },
      "Mask Other dimensions (13, 11, 8) does not match other rois dimensions (13, 11, 7).");
  expectRefusal(
      [&] {
        rois->getGroup("Group")->addMask(makeMask("Other", {1, 11, 7}));
      },
      "Mask Other dimensions (1, 11, 7) does not match other rois dimensions (13, 11, 7).");
  EXPECT_EQ(rois->getGroup("Group")->size(), 1U);
}

TEST_F(RoisBadInput, AMaskOfAnotherTileSizeIsRefused) {
  preferences().set("LDA > Tile Size", "32");
  const auto other = makeMask("Other");
  preferences().set("LDA > Tile Size", "64");
  expectRefusal([&] { rois->addRoi(other); },
                "Mask is incompatible with data (different tile size).\n"
                "You have to set \"Preferences->LDA->Tile Size\" parameter to 64.");
  EXPECT_TRUE(other->owners().empty());
}

TEST_F(RoisBadInput, ARoiOfAnotherSetMayComeButNotTwice) {
  const McHandle<HxRois> second(new HxRois);
  second->setLabel("second");
  second->addRoi(bone);
  EXPECT_EQ(bone->owners(), (Roi::Owners{rois, second}));
  const auto text = refusalOf([&] { second->addRoi(bone); });
  EXPECT_EQ(text, "A roi named Bone has already been inserted inside this HxRois (second).");
  EXPECT_EQ(second->getNumberOfRois(), 1U);
}

TEST_F(RoisBadInput, AGroupThatHoldsANameOfTheSetIsRefused) {
  const auto group = makeGroup("Fresh", {"New", "Bone"});
  expectRefusal([&] { rois->addRoi(group); }, "A roi named Bone has already been inserted inside this HxRois (atlas).");
  EXPECT_EQ(rois->getMask("New"), nullptr);
  EXPECT_TRUE(group->owners().empty());
  for (const Mask& member : *group) EXPECT_TRUE(member.owners().empty());
}

TEST_F(RoisBadInput, OnlyScalarFieldsAreConnectedToData) {
  const McHandle<HxColormap> colormap(new HxColormap);
  colormap->setLabel("colours %2");
  const HxRois::PortDataConnectionCheck check(rois);
  EXPECT_EQ(refusalOf([&] { check.ensureCompatibleWith(colormap); }), "colours %2% is not an uniform scalar field 3.");
  EXPECT_FALSE(rois->portData.connect(colormap));
  EXPECT_EQ(rois->portData.source(), nullptr);
}

TEST_F(RoisBadInput, TheHundredAndFirstMaskIsRefusedWhereverItComesIn) {
  for (int i = 2; i < 100; ++i) addMask("m" + std::to_string(i));
  const std::string full = "There is already 100 masks inside atlas. No more mask can be inserted.";
  expectRefusal([&] { rois->addRoi(makeMask("New")); }, full);
  expectRefusal([&] { rois->getGroup("Group")->addMask(makeMask("New")); }, full);
  expectRefusal([&] { rois->addRoi(makeGroup("Fresh", {"New"})); }, full);
  rois->addRoi(makeGroup("Empty"));
  EXPECT_EQ(rois->getNumberOfMasks(), 100U);
}

TEST_F(RoisBadInput, ASecondSetThatRefusesKeepsTheMaskOutOfBoth) {
  const McHandle<HxRois> second(new HxRois);
  second->setLabel("second");
  const auto shared = makeGroup("Shared");
  rois->addRoi(shared);
  second->addRoi(shared);
  second->addRoi(makeMask("Taken"));
  expectRefusal([&] { shared->addMask(makeMask("Taken")); },
                "A roi named Taken has already been inserted inside this HxRois (second).");
  EXPECT_EQ(rois->getMask("Taken"), nullptr);
  EXPECT_EQ(shared->size(), 0U);
}

}  // namespace
