#include "SetFileTest.h"
#include "hxroi/detail/SetRecord.h"

namespace SetRecord = hxroi::SetRecord;
using ::testing::HasSubstr;

namespace {

/// Records of sets that read the files of a saved set.
class SetRecordTest : public SetFileTest {
protected:
  SetRecordTest() {
    fillSet();
    EXPECT_EQ(save(), 1);
  }

  /// The set as it comes back from its record, with nothing in the temporary storage.
  McHandle<HxRois> comeBack(const HxRois& set) {
    SetRecord::write(set, record.string());
    return read();
  }
  McHandle<HxRois> read() {
    return SetRecord::load(*SetRecord::read(record.string()),
                           [](const std::string&, const std::string&) { return McHandle<Mask>(); });
  }

  const fs::path record = folder / "record.set";
};

TEST_F(SetRecordTest, BringsBackMasksFromTheFilesThatTheyRead) {
  const auto loaded = load(file);
  const auto back = comeBack(*loaded);
  EXPECT_EQ(names(*back), names(*loaded));
  EXPECT_EQ(back->getNumberOfMasks(), 4U);
  EXPECT_EQ(count(*back->getMask("A")), 125U);
  EXPECT_EQ(back->getMask("B")->id(), loaded->getMask("B")->id());
  EXPECT_TRUE(back->findPort("color-A")) << "its ports are there at once";
  std::string text;
  EXPECT_FALSE(back->getMask("A")->parameters().findString("__source", text));
  EXPECT_FALSE(back->getMask("A")->parameters().findString("__generation", text));
}

TEST_F(SetRecordTest, TakesNoFilesOfAnotherSave) {
  const auto loaded = load(file);
  SetRecord::write(*loaded, record.string());
  for (const char* extension : {".ldm", ".dat", ".fcp"}) {
    fs::remove(masks / (std::string("A") + extension));
    fs::copy_file(masks / (std::string("D") + extension), masks / (std::string("A") + extension));
  }
  const auto back = read();
  EXPECT_EQ(back->getMask("A"), nullptr);
  EXPECT_EQ(back->getNumberOfMasks(), 3U);
  EXPECT_THAT(console.consoleText(), HasSubstr("Mask A is not recovered: "));
}

TEST_F(SetRecordTest, TellsOfFilesThatAreGone) {
  const auto loaded = load(file);
  SetRecord::write(*loaded, record.string());
  fs::rename(masks, folder / "elsewhere");
  EXPECT_EQ(read()->getNumberOfMasks(), 0U);
  EXPECT_THAT(console.consoleText(), HasSubstr("Mask D is not recovered: "));
}

TEST_F(SetRecordTest, VoxelsThatAreNowhereOnDiskAreLost) {
  const McHandle<HxRois> set(new HxRois);
  set->addRoi(makeMask("Empty"));
  set->addRoi(makeMask("Edited"));
  fill(*set->getMask("Edited"), {0, 0, 0}, {2, 2, 2});
  set->addRoi(new Mask("Full", {13, 11, 7}, true, McColor(), nullptr));
  set->addRoi(makeMask("Removed"));
  fill(*set->getMask("Removed"), {0, 0, 0}, {2, 2, 2});
  set->getMask("Removed")->flush(0);
  Mask::removeTemporaryFiles(set->getMask("Removed")->temporaryPrefix());
  const auto back = comeBack(*set);
  EXPECT_EQ(names(*back), std::vector<std::string>({"Empty"}));
  EXPECT_EQ(SetRecord::maskCount(*SetRecord::read(record.string())), 4);
  for (const char* name : {"Edited", "Full", "Removed"}) {
    EXPECT_THAT(console.consoleText(),
                HasSubstr("Mask " + std::string(name) + " is not recovered: its voxels are lost"));
  }
}

TEST_F(SetRecordTest, FilesOfASetAreFoundFromAnywhere) {
  const fs::path former = fs::current_path();
  fs::current_path(folder);
  const auto loaded = load("set.ROIs.qm");
  SetRecord::write(*loaded, record.string());
  fs::current_path(former);
  EXPECT_EQ(read()->getNumberOfMasks(), 4U) << console.consoleText();
}

TEST_F(SetRecordTest, IsRefusedWhenItIsNone) {
  EXPECT_THAT(refusalOf([&] { SetRecord::read(file.string()); }), HasSubstr("is no record of a ROI set"));
}

}  // namespace
