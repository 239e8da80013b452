#include "quarn/voxora/readers/SoLDMReader.h"
#include "tests/hxroi/MaskTest.h"

namespace {

class MaskPersistence : public MaskTest {
protected:
  McHandle<Mask> source() {
    auto mask = makeMask({13, 11, 7}, kBox);
    return mask;
  }

  McHandle<Mask> load(const std::string& name = "user") { return Mask::loadFromFile(name, folder / name); }

  /// Puts an element into a written header.
  void addElement(const std::string& element) {
    std::string text = textOf(folder / "user.ldm");
    writeText(folder / "user.ldm", text.insert(text.find("</VolumeInformation>"), element));
  }

  std::string header() const { return textOf(folder / "user.ldm"); }

  static int occurrences(const std::string& text, const std::string& part) {
    int count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
  }

  static constexpr McBox3i kBox{2, 4, 3, 5, 1, 2};
};

}  // namespace

TEST_F(MaskPersistence, ExactBoxComesBackWithoutAScan) {
  const auto mask = source();
  mask->getBoundingBox();
  mask->writeToFile(folder / "user");
  const auto loaded = load();
  EXPECT_EQ(loaded->cachedBoundingBox(), kBox);
  EXPECT_EQ(bitsOf(*loaded), bitsOf(*mask));
  EXPECT_EQ(loaded->dimensions(), McVec3i(13, 11, 7));
}

TEST_F(MaskPersistence, ApproximatedBoxComesBack) {
  const auto mask = source();
  mask->setApproximatedBoundingBox({0, 9, 0, 9, 0, 6});
  mask->writeToFile(folder / "user");
  const auto loaded = load();
  EXPECT_EQ(loaded->cachedApproximatedBoundingBox(), McBox3i(0, 9, 0, 9, 0, 6));
  EXPECT_FALSE(loaded->cachedBoundingBox());
}

TEST_F(MaskPersistence, EmptyBoxComesBack) {
  makeMask()->writeToFile(folder / "user");
  EXPECT_THAT(header(), ::testing::HasSubstr("<BoundingBox>2147483647 -2147483648 2147483647 -2147483648 2147483647 "
                                             "-2147483648</BoundingBox>"));
  EXPECT_EQ(load()->cachedBoundingBox(), hxroi::emptyBox<int>());
}

TEST_F(MaskPersistence, BothBoxesComeBackAndAreWrittenAgain) {
  const auto mask = source();
  mask->getBoundingBox();
  mask->writeToFile(folder / "user");
  addElement("<ApproximatedBoundingBox>0 9 0 9 0 6</ApproximatedBoundingBox>");
  const auto loaded = load();
  EXPECT_EQ(loaded->cachedBoundingBox(), kBox);
  EXPECT_EQ(loaded->cachedApproximatedBoundingBox(), McBox3i(0, 9, 0, 9, 0, 6));
  loaded->writeToFile(folder / "again");
  const auto again = load("again");
  EXPECT_EQ(again->cachedBoundingBox(), kBox);
  EXPECT_EQ(again->cachedApproximatedBoundingBox(), McBox3i(0, 9, 0, 9, 0, 6));
}

TEST_F(MaskPersistence, WritingTwiceLeavesOneElementOfEach) {
  const auto mask = source();
  mask->getBoundingBox();
  mask->writeToFile(folder / "user");
  mask->writeToFile(folder / "user");
  EXPECT_EQ(occurrences(header(), "<BoundingBox>"), 1);
  mask->setApproximatedBoundingBox(kBox);
  mask->writeToFile(folder / "user");
  EXPECT_EQ(occurrences(header(), "<BoundingBox>"), 0);
  EXPECT_EQ(occurrences(header(), "<ApproximatedBoundingBox>"), 1);
}

TEST_F(MaskPersistence, MaskWithoutBoxesWritesTheHeaderUnchanged) {
  const auto mask = source();
  mask->writeToFile(folder / "user");
  std::string own = textOf(mask->temporaryPrefix() + ".ldm");
  const std::string stem = path(mask->temporaryPrefix()).filename().string();
  for (const char* extension : {".dat", ".fcp"}) own.replace(own.find(stem + extension), stem.size(), "user");
  EXPECT_EQ(header(), own);
  EXPECT_FALSE(load()->cachedBoundingBox());
}

TEST_F(MaskPersistence, BoxIsComputedWhenTheHeaderHasNone) {
  source()->writeToFile(folder / "user");
  EXPECT_EQ(load()->getBoundingBox(), kBox);
}

TEST_F(MaskPersistence, PendingEditsAreWritten) {
  const auto mask = source();
  mask->writeToFile(folder / "user");
  fill(*mask, {12, 12, 10, 10, 6, 6});
  mask->writeToFile(folder / "user");
  EXPECT_EQ(count(*load()), 19U);
}

TEST_F(MaskPersistence, OldBoxesDoNotSurviveAnEdit) {
  const auto mask = source();
  mask->getBoundingBox();
  mask->writeToFile(folder / "user");
  const auto loaded = load();
  fill(*loaded, {12, 12, 10, 10, 6, 6});
  loaded->writeToFile(folder / "user");
  EXPECT_EQ(occurrences(header(), "BoundingBox>"), 0);
  EXPECT_EQ(load()->getBoundingBox(), McBox3i(2, 12, 3, 10, 1, 6));
}

TEST_F(MaskPersistence, BorrowedMaskIsCopiedUnderTheNewName) {
  const auto mask = source();
  mask->getBoundingBox();
  const auto user = borrowed(*mask);
  const auto before = hashesOf(folder);
  user->writeToFile(folder / "copy");
  EXPECT_THAT(textOf(folder / "copy.ldm"), ::testing::HasSubstr("copy.dat"));
  EXPECT_THAT(textOf(folder / "copy.ldm"), ::testing::Not(::testing::HasSubstr("user")));
  EXPECT_EQ(bitsOf(*load("copy")), bitsOf(*mask));
  EXPECT_FALSE(user->ownsTemporaryFiles());
  for (const auto& [name, hash] : before) EXPECT_EQ(hashesOf(folder).at(name), hash) << name;
}

TEST_F(MaskPersistence, BorrowedMaskWrittenOntoItsOwnFilesKeepsThem) {
  const auto user = borrowed(*source());
  const std::string data = textOf(folder / "user.dat");
  user->getBoundingBox();
  user->writeToFile(folder / "user");
  EXPECT_EQ(textOf(folder / "user.dat"), data);
  EXPECT_EQ(load()->cachedBoundingBox(), kBox);
  EXPECT_EQ(count(*user), 18U);
}

TEST_F(MaskPersistence, LoadedMaskIsBorrowedAndNamed) {
  const auto user = borrowed(*source());
  EXPECT_FALSE(user->ownsTemporaryFiles());
  EXPECT_EQ(user->name(), "user");
  EXPECT_EQ(user->volumeMask()->getName(), SbName("user"));
  EXPECT_EQ(user->volumeMask()->referenceCount(), 1);
  EXPECT_EQ(user->colormap(false), nullptr);
}

TEST_F(MaskPersistence, LoadingDrawsAColour) {
  source()->writeToFile(folder / "user");
  const auto first = load();
  const auto second = load();
  EXPECT_NE(first->color(false), second->color(false));
}

TEST_F(MaskPersistence, BoxesThatDoNotFitAreDroppedWithAWarning) {
  source()->writeToFile(folder / "user");
  const std::string plain = header();
  for (const std::string text :
       {"0 13 0 10 0 6", "-1 3 0 10 0 6", "5 2 0 10 0 6", "0 3 0 3", "1 2 3 4 5", "2147483647 -2147483648 0 1 0 1",
        "-2147483648 2147483647 0 1 0 1", "a b", "1 2 3 4 5 6 7"}) {
    writeText(folder / "user.ldm", plain);
    addElement("<BoundingBox>" + text + "</BoundingBox>");
    console.clear();
    const auto loaded = load();
    EXPECT_FALSE(loaded->cachedBoundingBox()) << text;
    EXPECT_THAT(console.consoleText(),
                ::testing::AllOf(::testing::HasSubstr("user.ldm"), ::testing::HasSubstr("BoundingBox"),
                                 ::testing::HasSubstr(text)));
    EXPECT_EQ(loaded->getBoundingBox(), kBox);
  }
}

TEST_F(MaskPersistence, ElementWithoutTextIsNoBox) {
  source()->writeToFile(folder / "user");
  addElement("<BoundingBox/>");
  EXPECT_FALSE(load()->cachedBoundingBox());
  EXPECT_TRUE(console.consoleEntries.empty());
}

TEST_F(MaskPersistence, UnreadableFilesAreRefusedWithTheReason) {
  EXPECT_THAT(refusal([&] { load("missing"); }), ::testing::HasSubstr("missing.ldm"));
  source()->writeToFile(folder / "user");
  const std::string whole = header();
  writeText(folder / "user.ldm", "");
  EXPECT_THAT(refusal([&] { load(); }), ::testing::HasSubstr("user.ldm"));
  boost::filesystem::remove(folder / "user.ldm");
  boost::filesystem::create_directory(folder / "user.ldm");
  EXPECT_THAT(refusal([&] { load(); }), ::testing::HasSubstr("user.ldm"));
  EXPECT_TRUE(temporaryFiles().empty());
}

TEST_F(MaskPersistence, HeaderCutAnywhereIsRefusedOrWhole) {
  source()->writeToFile(folder / "user");
  const std::string whole = header();
  const auto lastTag = whole.rfind("</VolumeInformation>") + std::string("</VolumeInformation>").size();
  for (std::size_t length = 0; length < whole.size(); ++length) {
    writeText(folder / "user.ldm", whole.substr(0, length));
    if (length < lastTag) {
      EXPECT_THROW(load(), McException) << length;
    } else {
      EXPECT_EQ(count(*load()), 18U);
    }
  }
}

TEST_F(MaskPersistence, BadNamesAreRefused) {
  source()->writeToFile(folder / "user");
  EXPECT_THROW(Mask::loadFromFile("a b", folder / "user"), McException);
}

TEST_F(MaskPersistence, NodeInMemoryCanBeWrappedAndWritten) {
  const auto node = hxvoxora::makeRef<SoVolumeMask>();
  node->initializeInMemory({13, 11, 7}, {64, 64, 64});
  const McHandle<Mask> mask = new Mask("wrapped", node.get(), McColor(), nullptr);
  EXPECT_FALSE(mask->ownsTemporaryFiles());
  fill(*mask, kBox);
  EXPECT_TRUE(mask->ownsTemporaryFiles());
  mask->writeToFile(folder / "user");
  EXPECT_EQ(count(*load()), 18U);
}

TEST_F(MaskPersistence, LargeMaskSurvives) {
  const auto mask = makeMask({257, 65, 33});
  auto random = seededRandom();
  setBits(*mask, randomBits({257, 65, 33}, random));
  const auto loaded = borrowed(*mask);
  EXPECT_EQ(bitsOf(*loaded), bitsOf(*mask));
}
