#include "tests/hxroi/MaskTest.h"
#include "tests/voxora/corpus/BadSet.h"

namespace {

class MaskBadFiles : public MaskTest {
protected:
  static McHandle<Mask> load(const BadSet& set) { return Mask::loadFromFile("Putamen", set.folder() + "/a"); }

  /// The message without the folder, which has another name in each run.
  static std::string withoutFolder(const BadSet& set, std::string message) {
    for (const std::string& text : {set.folder() + "/", set.folder().substr(0, set.folder().rfind('/') + 1)}) {
      for (std::size_t at; (at = message.find(text)) != std::string::npos;) message.erase(at, text.size());
    }
    return message;
  }

  void expectRefused(const BadCase& badCase) {
    SCOPED_TRACE(badCase.name);
    BadSet set;
    badCase.spoil(set);
    console.clear();
    const bool opens = badCase.message.empty() || badCase.onlyTilesAreBad;
    if (!opens) {
      std::string expected = "Mask Putamen cannot be read: " + badCase.message;
      if (const auto at = expected.find("CANARY"); at != std::string::npos) expected.replace(at, 6, "canary");
      EXPECT_EQ(withoutFolder(set, refusal([&] { load(set); })), expected);
    } else if (badCase.message.empty()) {
      EXPECT_NO_THROW(load(set)->getBoundingBox());
    } else {
      const auto mask = load(set);
      EXPECT_EQ(withoutFolder(set, refusal([&] { count(*mask); })), badCase.message);
    }
    EXPECT_EQ(console.consoleText(), "");
    EXPECT_TRUE(temporaryFiles().empty());
  }

  /// A mask whose header has these elements.
  McHandle<Mask> withElements(BadSet& set, const std::string& elements) {
    set.append(elements);
    console.clear();
    return load(set);
  }

  static std::string exact(const std::string& text) { return "<BoundingBox>" + text + "</BoundingBox>"; }
  static std::string approximated(const std::string& text) {
    return "<ApproximatedBoundingBox>" + text + "</ApproximatedBoundingBox>";
  }
};

}  // namespace

TEST_F(MaskBadFiles, HeadersAreRefused) {
  for (const BadCase& badCase : badHeaders()) expectRefused(badCase);
}

TEST_F(MaskBadFiles, IndexesAreRefused) {
  for (const BadCase& badCase : badIndexes()) expectRefused(badCase);
}

TEST_F(MaskBadFiles, TilesAreRefused) {
  for (const BadCase& badCase : badData()) expectRefused(badCase);
}

TEST_F(MaskBadFiles, BoxesThatCannotBeAreDroppedWithAWarning) {
  const McBox3i right = load(BadSet())->getBoundingBox();
  const std::pair<const char*, const char*> cases[] = {{"FiveNumbers", "1 2 3 4 5"},
                                                       {"InvertedOnOneAxis", "0 9 5 2 0 9"},
                                                       {"OutsideTheGrid", "0 50 0 12 0 10"},
                                                       {"BelowTheGrid", "-1 49 0 12 0 10"},
                                                       {"SizeThatOverflows", "-2147483648 2147483647 0 12 0 10"},
                                                       {"EmptyOnOneAxisOnly", "2147483647 -2147483648 0 12 0 10"},
                                                       {"NotANumber", "0 nan 0 12 0 10"},
                                                       {"NumberTooLarge", "0 2147483648 0 12 0 10"},
                                                       {"SevenNumbers", "0 9 0 9 0 9 0"}};
  for (const auto& [name, text] : cases) {
    SCOPED_TRACE(name);
    BadSet set;
    const auto mask = withElements(set, exact(text));
    EXPECT_EQ(withoutFolder(set, console.consoleText()),
              std::string("a.ldm: element BoundingBox \"") + text + "\": not a box inside the mask; ignored\n");
    EXPECT_FALSE(mask->cachedBoundingBox());
    EXPECT_EQ(mask->getBoundingBox(), right);
  }
}

TEST_F(MaskBadFiles, BoxWithoutTextIsNone) {
  BadSet set;
  EXPECT_FALSE(withElements(set, exact(""))->cachedBoundingBox());
  EXPECT_EQ(console.consoleText(), "");
}

TEST_F(MaskBadFiles, ContradictingBoxesAreNotBelieved) {
  BadSet set;
  const auto mask = withElements(set, exact("0 9 0 9 0 9") + exact("0 8 0 8 0 8"));
  EXPECT_FALSE(mask->cachedBoundingBox());
  EXPECT_EQ(console.consoleText(), "");
}

TEST_F(MaskBadFiles, ExactBoxOutsideTheApproximatedOneStandsAsItIs) {
  BadSet set;
  const auto mask = withElements(set, exact("0 9 0 9 0 9") + approximated("1 2 1 2 1 2"));
  EXPECT_EQ(mask->getBoundingBox(), McBox3i(0, 9, 0, 9, 0, 9));
  EXPECT_EQ(mask->cachedApproximatedBoundingBox(), McBox3i(1, 2, 1, 2, 1, 2));
}

/// Nobody can tell without reading all voxels, which the boxes are there to spare.
TEST_F(MaskBadFiles, BoxSmallerThanTheVoxelsStandsAsItIs) {
  BadSet set;
  const auto mask = withElements(set, exact("3 4 3 4 3 4"));
  EXPECT_EQ(mask->getBoundingBox(), McBox3i(3, 4, 3, 4, 3, 4));
  EXPECT_GT(count(*mask), 8U);
}
