#include "tests/hxroi/MaskTest.h"

namespace {

using MaskCheckpoint = MaskTest;

std::string nameElement(const std::string& name) {
  return "<Name>" + name + "</Name>";
}

}  // namespace

TEST_F(MaskCheckpoint, WritesEditsOnly) {
  const auto empty = makeMask();
  empty->checkpoint();
  EXPECT_TRUE(temporaryFiles().empty());
  fill(*empty, McBox3i(1, 2, 1, 2, 1, 2));
  empty->checkpoint();
  EXPECT_FALSE(empty->volumeMask()->hasUnsavedEdits());
  const std::string header = textOf(empty->temporaryPrefix() + ".ldm");
  empty->checkpoint();
  EXPECT_EQ(textOf(empty->temporaryPrefix() + ".ldm"), header) << "written again without a change";
}

TEST_F(MaskCheckpoint, CopiedFilesGetTheNameOfTheCopy) {
  const auto source = makeMask({40, 30, 20}, McBox3i(1, 5, 1, 5, 1, 5), "source");
  source->flush(0);
  const McHandle<Mask> copy(new Mask("copy", *source));
  const std::string header = copy->temporaryPrefix() + ".ldm";
  ASSERT_THAT(textOf(header), ::testing::HasSubstr(nameElement("source"))) << "the files were not copied";
  copy->checkpoint();
  EXPECT_THAT(textOf(header), ::testing::HasSubstr(nameElement("copy")));
  EXPECT_EQ(bitsOf(*copy), bitsOf(*source));
  EXPECT_EQ(count(*McHandle<Mask>(Mask::loadFromFile("again", copy->temporaryPrefix()))), 125U);
  const std::string text = textOf(header);
  copy->checkpoint();
  EXPECT_EQ(textOf(header), text) << "written again without a change";
}

TEST_F(MaskCheckpoint, CopiedFilesOfABorrowedMaskGetItsName) {
  const auto source = makeMask({40, 30, 20}, McBox3i(1, 5, 1, 5, 1, 5), "source");
  source->flush(0);
  const auto user = borrowed(*makeMask({40, 30, 20}, McBox3i(0, 1, 0, 1, 0, 1), "user"));
  user->store(*source);
  user->checkpoint();
  EXPECT_THAT(textOf(user->temporaryPrefix() + ".ldm"), ::testing::HasSubstr(nameElement("user")));
  EXPECT_EQ(bitsOf(*user), bitsOf(*source));
}

TEST_F(MaskCheckpoint, BorrowedMaskStaysInTheFilesOfTheUser) {
  const auto user = borrowed(*makeMask({40, 30, 20}, McBox3i(0, 1, 0, 1, 0, 1), "other"));
  const auto before = hashesOf(folder);
  user->checkpoint();
  EXPECT_EQ(hashesOf(folder), before);
  EXPECT_TRUE(temporaryFiles().empty());
}

TEST_F(MaskCheckpoint, BorrowedMaskWhoseFilesAreGoneMovesToFilesOfItsOwn) {
  for (const bool isReplaced : {false, true}) {
    const auto user = borrowed(*makeMask({40, 30, 20}, McBox3i(0, 1, 0, 1, 0, 1), "other"));
    const auto bits = bitsOf(*user);
    if (isReplaced) makeMask({40, 30, 20}, McBox3i(5, 9, 5, 9, 5, 9), "new")->writeToFile(folder / "user");
    if (!isReplaced) Mask::removeTemporaryFiles(folder / "user");
    user->checkpoint();
    EXPECT_TRUE(user->ownsTemporaryFiles());
    EXPECT_EQ(bitsOf(*McHandle<Mask>(Mask::loadFromFile("again", user->temporaryPrefix()))), bits);
    EXPECT_EQ(bitsOf(*user), bits);
  }
}

TEST_F(MaskCheckpoint, OwnFilesThatVanishedAreWrittenAgain) {
  const auto mask = makeMask({40, 30, 20}, McBox3i(1, 5, 1, 5, 1, 5), "mask");
  mask->checkpoint();
  const auto bits = bitsOf(*mask);
  for (const char* extension : {".ldm", ".dat", ".fcp"}) {
    boost::filesystem::remove(mask->temporaryPrefix() + extension);
    mask->checkpoint();
    EXPECT_EQ(bitsOf(*McHandle<Mask>(Mask::loadFromFile("again", mask->temporaryPrefix()))), bits) << extension;
  }
}

TEST_F(MaskCheckpoint, FullMaskIsSavedAndStaysUnwritten) {
  {
    const auto full = makeMask({40, 30, 20}, true, "full");
    full->checkpoint();
    const std::string header = full->temporaryPrefix() + ".ldm";
    const std::string text = textOf(header);
    EXPECT_THAT(text, ::testing::HasSubstr(nameElement("full")));
    EXPECT_EQ(count(*McHandle<Mask>(Mask::loadFromFile("again", full->temporaryPrefix()))), 40U * 30 * 20);
    EXPECT_EQ(full->volumeMask()->fileName(), "");
    EXPECT_FALSE(full->volumeMask()->hasUnsavedEdits());
    EXPECT_EQ(full->cachedBoundingBox(), hxroi::emptyBox<int>());
    full->checkpoint();
    EXPECT_EQ(textOf(header), text) << "written again without a change";
    fill(*full, McBox3i(0, 0, 0, 0, 0, 0), false);
    full->checkpoint();
    EXPECT_EQ(count(*McHandle<Mask>(Mask::loadFromFile("again", full->temporaryPrefix()))), 40U * 30 * 20 - 1);
  }
  EXPECT_TRUE(temporaryFiles().empty());
}
