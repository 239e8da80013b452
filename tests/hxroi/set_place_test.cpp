#include <limits>

#include "RoisCommandsTest.h"
#include "SetFileTest.h"
#include "hxroi/detail/SetPlace.h"
#include "hxroi/detail/SetRecord.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

/// Turned about z, so that a box alone could not tell it.
constexpr HxGeometry3 kOblique{{-12.5, 0.1, 1.0 / 3.0}, {0.5, 2, 3}, {0, -1, 0, 1, 0, 0, 0, 0, 1}};

class SetPlace : public SetFileTest {
protected:
  void connect(const HxGeometry3& geometry) {
    field = new HxUniformScalarField3(McDim3l(13, 11, 7), McPrimType::Uint8);
    field->setGeometry(geometry);
    ASSERT_TRUE(rois->portData.connect(field));
  }

  McHandle<HxUniformScalarField3> field;
};

TEST_F(SetPlace, NobodyKnowsThatOfASetWithoutAField) {
  fillSet();
  ASSERT_EQ(rois->dimensions(), McVec3i(13, 11, 7));
  EXPECT_FALSE(hxroi::placeOf(*rois));
  ASSERT_EQ(save(), 1);
  EXPECT_EQ(load(file)->parameters.findBase("Geometry"), nullptr);
}

TEST_F(SetPlace, TheFileRemembersThatOfTheField) {
  fillSet();
  connect(kOblique);
  ASSERT_EQ(save(), 1);
  const McHandle<HxRois> loaded = load(file);
  EXPECT_EQ(loaded->portData.source(), nullptr);
  EXPECT_EQ(hxroi::placeOf(*loaded), kOblique);
}

TEST_F(SetPlace, IsKeptBySavesWithoutTheField) {
  fillSet();
  connect(kOblique);
  ASSERT_EQ(save(), 1);
  rois->portData.disconnect();
  EXPECT_EQ(hxroi::placeOf(*rois), kOblique);
  const fs::path second = folder / "second.ROIs.qm";
  ASSERT_EQ(load(file)->writeQuarnMesh(second.c_str()), 1);
  EXPECT_EQ(hxroi::placeOf(*load(second)), kOblique);
}

TEST_F(SetPlace, AFieldCountsMoreThanWhatIsRemembered) {
  fillSet();
  connect(kOblique);
  ASSERT_EQ(save(), 1);
  HxGeometry3 moved = kOblique;
  moved.origin = {1, 2, 3};
  field->setGeometry(moved);
  EXPECT_EQ(hxroi::placeOf(*rois), moved);
  ASSERT_EQ(save(), 1);
  EXPECT_EQ(hxroi::placeOf(*load(file)), moved);
}

TEST_F(SetPlace, OfAnotherGridIsForgotten) {
  fillSet();
  connect(kOblique);
  ASSERT_EQ(save(), 1);
  rois->portData.disconnect();
  rois->removeAllRois();
  EXPECT_EQ(hxroi::placeOf(*rois), kOblique);
  rois->addRoi(new hxroi::details::Mask("other", McVec3i(13, 11, 8), false, McColor(), nullptr));
  EXPECT_FALSE(hxroi::placeOf(*rois));
}

TEST_F(SetPlace, MayBeSetByHandButMustMakeSense) {
  fillSet();
  HxParamBundle& geometry = *rois->parameters.getBundle("Geometry");
  geometry.set("Origin", std::vector<double>{1, 2, 3});
  geometry.set("VoxelSize", std::vector<double>{1, 1, 2});
  EXPECT_FALSE(hxroi::placeOf(*rois)) << "without directions";
  geometry.set("Direction", std::vector<double>{1, 0, 0, 0, 1, 0, 0, 0, 1});
  EXPECT_EQ(hxroi::placeOf(*rois), (HxGeometry3{{1, 2, 3}, {1, 1, 2}}));
  for (const double size : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
    geometry.set("VoxelSize", std::vector<double>{1, 1, size});
    EXPECT_FALSE(hxroi::placeOf(*rois)) << size;
  }
  ASSERT_EQ(save(), 1);
  load(file);
}

TEST_F(SetPlace, GoesWithTheRecordOfAnUnsavedSet) {
  fillSet();
  connect(kOblique);
  const std::string record = (folder / "unsaved.set").string();
  hxroi::SetRecord::write(*rois, record);
  const auto lost = [](const std::string&, const std::string&) { return McHandle<hxroi::details::Mask>(); };
  EXPECT_EQ(hxroi::placeOf(*hxroi::SetRecord::load(*hxroi::SetRecord::read(record), lost)), kOblique);
}

TEST_F(SetPlace, TheBoxOfTheSetIsThere) {
  fillSet();
  const auto boxOfSet = [this] {
    McBox3f box(1, 2, 3, 4, 5, 6);
    rois->getBoundingBox(box.data());
    return box;
  };
  EXPECT_EQ(boxOfSet(), McBox3f());
  hxroi::storePlace(kOblique, McDim3l(13, 11, 7), rois->parameters);
  EXPECT_EQ(boxOfSet(), McBox3f(-12.5F, -6.5F, 0.1F, 20.1F, 1.0F / 3, 1.0F / 3 + 18));
  HxGeometry3 moved = kOblique;
  moved.origin = {1, 2, 3};
  connect(moved);
  EXPECT_EQ(boxOfSet(), field->boundingBox());
  rois->portData.disconnect();
  rois->removeAllRois();
  EXPECT_EQ(boxOfSet(), McBox3f()) << "without masks there is no grid";
}

TEST_F(SetPlace, IsCopiedWithTheFieldOrWithoutIt) {
  fillSet();
  connect(kOblique);
  const McHandle<HxRois> withField(new HxRois);
  hxroi::copyPlace(*rois, *withField);
  EXPECT_EQ(withField->portData.source(), field.get());

  ASSERT_EQ(save(), 1);
  rois->portData.disconnect();
  const McHandle<HxRois> without(new HxRois);
  hxroi::copyPlace(*rois, *without);
  EXPECT_EQ(hxroi::placeOf(*without), kOblique);

  rois->parameters.remove("Geometry");
  hxroi::copyPlace(*rois, *without);
  EXPECT_FALSE(hxroi::placeOf(*without));
}

using SetPlaceCommands = RoisCommands;

TEST_F(SetPlaceCommands, BoundingBoxesFollowTheRememberedPlace) {
  fill(*addMask("A"), {2, 3, 4}, {1, 1, 1});
  const McHandle<HxUniformScalarField3> field(new HxUniformScalarField3(McDim3l(13, 11, 7), McPrimType::Uint8));
  field->setGeometry({{100, 10, 1}, {2, 1, 4}});
  ASSERT_TRUE(rois->portData.connect(field));
  ASSERT_EQ(run({"getMaskBoundingBox", "A"}), TCL_OK);
  const std::vector<std::string> withField = result;
  hxroi::storePlace(*rois, rois->parameters);
  rois->portData.disconnect();
  EXPECT_EQ(run({"getMaskBoundingBox", "A"}), TCL_OK);
  EXPECT_EQ(result, withField);
  EXPECT_THAT(console.consoleEntries, IsEmpty());
}

TEST_F(SetPlaceCommands, BoundingBoxesOfASetWithoutAPlaceAreTold) {
  fill(*addMask("A"), {2, 3, 4}, {1, 1, 1});
  EXPECT_EQ(run({"getMaskBoundingBox", "A"}), TCL_OK);
  EXPECT_EQ(result.size(), 6U);
  EXPECT_THAT(console.consoleEntries, ElementsAre(HasSubstr("lies nowhere in the world")));
}

}  // namespace
