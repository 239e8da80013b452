#include "SetFileTest.h"
#include "hxroi/details/MaskHeader.h"
#include "hxroi/package.h"

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
namespace MaskHeader = hxroi::details::MaskHeader;

namespace {

/// A saved set, which is then damaged.
class SetVerifierTest : public SetFileTest {
protected:
  SetVerifierTest() {
    fillSet();
    EXPECT_EQ(save(), 1);
  }

  /// Fills `sound` and `wrong`.
  void verify() {
    sound.clear();
    wrong.clear();
    const auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
    hxroi_verifyRois(mesh.get(), file.c_str(), [this](const QString& finding, bool isSound) {
      (isSound ? sound : wrong).push_back(finding.toStdString());
    });
  }

  void editHeader(const std::string& mask, const std::function<std::string(std::string)>& edit) {
    const fs::path header = masks / (mask + ".ldm");
    const std::string text = edit(contentOf(header));
    std::ofstream(header.string(), std::ios::binary | std::ios::trunc) << text;
  }

  void setBox(const std::string& mask, const McBox3i& box) {
    editHeader(mask, [&](const std::string& text) { return *MaskHeader::withBoxes(text, box, std::nullopt); });
  }

  void editSet(const std::function<void(HxParamBundle&)>& edit) {
    const auto mesh = QuarnMesh::read(QString::fromStdString(file.string()));
    edit(mesh->parameters);
    ASSERT_EQ(mesh->write(file.c_str(), QuarnMesh::TEXT, nullptr, true, false), 1);
  }

  std::vector<std::string> sound, wrong;
};

TEST_F(SetVerifierTest, TellsOfEachSoundMask) {
  verify();
  EXPECT_THAT(wrong, IsEmpty());
  EXPECT_THAT(sound,
              ElementsAre(HasSubstr("A: 13 x 11 x 7 voxels, 125 set"), HasSubstr("B: 13 x 11 x 7 voxels, 24 set"),
                          HasSubstr("C: 13 x 11 x 7 voxels, 0 set"), HasSubstr("D: 13 x 11 x 7 voxels, 1 set")));
}

TEST_F(SetVerifierTest, ChangesAndLoadsNothing) {
  const auto before = contentOf(file) + contentOf(masks / "A.ldm") + contentOf(masks / "A.dat");
  verify();
  EXPECT_EQ(contentOf(file) + contentOf(masks / "A.ldm") + contentOf(masks / "A.dat"), before);
  EXPECT_THAT(console.consoleText(), ::testing::Not(HasSubstr("A.ldm")));
}

TEST_F(SetVerifierTest, NamesTheMaskOfEveryFlippedBit) {
  const std::string data = contentOf(masks / "A.dat");
  for (std::size_t i = 0; i < data.size(); i += 7) {
    std::string flipped = data;
    flipped[i] = static_cast<char>(flipped[i] ^ 0x10);
    std::ofstream((masks / "A.dat").string(), std::ios::binary | std::ios::trunc) << flipped;
    verify();
    EXPECT_THAT(wrong, ElementsAre(AllOf(HasSubstr("ROI \"A\": "), HasSubstr("A.dat")))) << "byte " << i;
    EXPECT_THAT(sound, SizeIs(3));
  }
}

TEST_F(SetVerifierTest, GoesOnBehindAMaskThatIsMissing) {
  fs::remove(masks / "B.dat");
  fs::remove(masks / "D.ldm");
  verify();
  EXPECT_THAT(wrong, ElementsAre(AllOf(HasSubstr("ROI \"B\": "), HasSubstr("B.dat")),
                                 AllOf(HasSubstr("ROI \"D\": "), HasSubstr("D.ldm"))));
  EXPECT_THAT(sound, SizeIs(2));
}

TEST_F(SetVerifierTest, ABoxMustHoldAllSetVoxels) {
  setBox("A", McBox3i(0, 3, 0, 4, 0, 4));
  verify();
  EXPECT_THAT(wrong, ElementsAre(HasSubstr("element BoundingBox \"0 3 0 4 0 4\": there are set voxels outside of it")));
  setBox("A", McBox3i(0, 13, 0, 4, 0, 4));
  verify();
  EXPECT_THAT(wrong, ElementsAre(HasSubstr("element BoundingBox \"0 13 0 4 0 4\": not a box inside the volume")));
  setBox("A", hxroi::emptyBox<int>());
  verify();
  EXPECT_THAT(wrong, ElementsAre(HasSubstr("there are set voxels outside of it")));
  setBox("A", McBox3i(0, 12, 0, 10, 0, 6));
  verify();
  EXPECT_THAT(wrong, IsEmpty());
}

TEST_F(SetVerifierTest, FindsWhatBreaksTheRulesOfASet) {
  editSet([](HxParamBundle& parameters) {
    HxParamBundle& bundles = *parameters.getBundle("__rois");
    bundles.getBundle("A")->set("Id", "same");
    bundles.getBundle("D")->set("Id", "same");
    bundles.getBundle("G")->getBundle("B")->set("__filename", "../B");
  });
  verify();
  EXPECT_THAT(wrong,
              ::testing::UnorderedElementsAre(HasSubstr("ROI \"D\": Id \"same\" belongs to another ROI of the set"),
                                              AllOf(HasSubstr("ROI \"B\": "), HasSubstr("../B"))));
  EXPECT_THAT(sound, SizeIs(4)) << "three masks, and that nobody has the files of the fourth";
}

TEST_F(SetVerifierTest, MasksOfAnotherGridAreWrong) {
  const McHandle<HxRois> other(new HxRois);
  other->addRoi(makeMask("D", {13, 11, 8}));
  const fs::path otherFile = folder / "other.ROIs.qm";
  ASSERT_EQ(other->writeQuarnMesh(otherFile.c_str()), 1);
  for (const char* extension : {".ldm", ".dat", ".fcp"})
    fs::rename(folder / "other.ROIs-masks" / (std::string("D") + extension), masks / (std::string("D") + extension));
  verify();
  EXPECT_THAT(wrong, ElementsAre(HasSubstr("ROI \"D\": 13 x 11 x 8 voxels, unlike the masks before it")));
}

TEST_F(SetVerifierTest, FollowsNoFolderThatLeadsElsewhere) {
  editSet([](HxParamBundle& parameters) { parameters.set("masks-directory", "../elsewhere"); });
  verify();
  EXPECT_THAT(wrong, ElementsAre(HasSubstr("masks-directory \"../elsewhere\" is not the name of a folder")));
  EXPECT_THAT(sound, IsEmpty());
}

TEST_F(SetVerifierTest, TwoRoisWithTheSameFilesAreWrong) {
  editSet([](HxParamBundle& parameters) { parameters.getBundle("__rois")->getBundle("D")->set("__filename", "A"); });
  verify();
  EXPECT_THAT(wrong, ElementsAre(HasSubstr("ROI \"D\": another ROI of the set has the files \"A\"")));
}

TEST_F(SetVerifierTest, TellsOfMasksThatBelongToNoRoi) {
  rois->removeRoi("D");
  ASSERT_EQ(save(), 1);
  verify();
  EXPECT_THAT(wrong, IsEmpty());
  EXPECT_THAT(sound.back(), HasSubstr("set.ROIs-masks: masks of no ROI of the set: D"));
}

TEST_F(SetVerifierTest, AMaskCopiedOverAnotherIsTold) {
  for (const char* suffix : {".dat", ".fcp", ".ldm"}) {
    fs::copy_file(masks / (std::string("A") + suffix), masks / (std::string("D") + suffix),
                  fs::copy_options::overwrite_existing);
  }
  verify();
  EXPECT_THAT(wrong, ElementsAre("ROI \"D\": " + (masks / "D.ldm").string() +
                                 ": belongs to the data file \"A.dat\", as if it were a copy of another mask"));
}

}  // namespace
