#include <cmath>
#include <gmock/gmock.h>
#include <limits>
#include <random>

#include "quarn/base/McException.h"
#include "quarn/base/mcinterface_cast.h"
#include "quarn/kernel/fields/HxISetOfVolumeData.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/fields/HxVolumeData.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "tests/kernel/TestObjects.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr McPrimType kAllTypes[] = {McPrimType::Uint8,  McPrimType::Int8,  McPrimType::Uint16, McPrimType::Int16,
                                    McPrimType::Uint32, McPrimType::Int32, McPrimType::Float,  McPrimType::Double};

TEST(UniformScalarField, StartsAtZeroInEveryType) {
  for (const McPrimType type : kAllTypes) {
    const McHandle<HxUniformScalarField3> field = new HxUniformScalarField3(McDim3l(3, 4, 5), type);
    EXPECT_EQ(field->primType(), type);
    EXPECT_EQ(field->value(2, 3, 4), 0.0);
    field->setValue(2, 3, 4, 100);
    EXPECT_EQ(field->value(2, 3, 4), 100.0);
    field->visitValues([](const auto* values) { EXPECT_EQ(static_cast<double>(values[59]), 100.0); });
    const std::size_t size = field->visitValues([](auto* values) { return sizeof(*values); });
    EXPECT_EQ(size, HxUniformScalarField3::primTypeSize(type));
  }
}

TEST(UniformScalarField, RefusesImpossibleDimensions) {
  const auto make = [](McDim3l d) {
    McHandle<HxUniformScalarField3> f = new HxUniformScalarField3(d, McPrimType::Double);
  };
  EXPECT_THROW(make(McDim3l(-1, 4, 4)), McException);
  EXPECT_THROW(make(McDim3l(1 << 30, 1 << 30, 1 << 30)), McException);
  EXPECT_THROW(make(McDim3l(std::int64_t{1} << 60, 1, 1)), McException);
}

TEST(UniformScalarField, ExchangesItsVoxelsAndKeepsItsPlace) {
  const McHandle<HxUniformLabelField3> a = new HxUniformLabelField3(McDim3l(3, 1, 1));
  const McHandle<HxUniformLabelField3> b = new HxUniformLabelField3(McDim3l(1, 2, 1));
  a->setValue(2, 0, 0, 7);
  b->setValue(0, 1, 0, 9);
  const McBox3f place = a->boundingBox();
  a->swapVoxels(*b);
  EXPECT_EQ(a->latticeDimensions(), McDim3l(1, 2, 1));
  EXPECT_EQ(a->lattice().getLabels()[1], 9);
  EXPECT_EQ(b->latticeDimensions(), McDim3l(3, 1, 1));
  EXPECT_EQ(b->lattice().getLabels()[2], 7);
  EXPECT_EQ(a->boundingBox(), place);
}

TEST(UniformScalarField, IsAVolumeForMasksInThePool) {
  const McHandle<HxUniformScalarField3> field = new HxUniformScalarField3(McDim3l(3, 4, 5), McPrimType::Uint8);
  field->setGeometry({{1, 2, 3}, {0.5, 1, 2}, {0, 1, 0, 1, 0, 0, 0, 0, 1}});
  EXPECT_EQ(mcinterface_cast<HxISetOfVolumeData>(field), nullptr);
  HxObjectPool::instance().add(field, "image");
  const auto* volume = mcinterface_cast<HxISetOfVolumeData>(field);
  ASSERT_NE(volume, nullptr);
  EXPECT_EQ(volume->getDimensions(), McDim3l(3, 4, 5));
  EXPECT_EQ(volume->getGeometry(), field->geometry());
  EXPECT_EQ(mcinterface_cast<HxUniformScalarField3>(volume), field.get());
  EXPECT_EQ(field->interfaces().size(), 1U);
  HxObjectPool::instance().clear();
  EXPECT_NE(mcinterface_cast<HxISetOfVolumeData>(HxObject::create("HxUniformLabelField3")), nullptr);
}

TEST(UniformScalarField, KnowsTheRangeOfItsValues) {
  const McHandle<HxUniformScalarField3> field = new HxUniformScalarField3(McDim3l(100, 101, 53), McPrimType::Int16);
  field->visitValues([&](auto* values) { std::fill_n(values, field->voxelCount(), decltype (*values + 0)(7)); });
  field->setValue(99, 100, 52, -300);
  field->setValue(0, 0, 0, 1200);
  field->setValue(5, 5, 5, 0);
  double min;
  double max;
  field->valueRange(min, max);
  EXPECT_EQ(min, -300);
  EXPECT_EQ(max, 1200);
}

TEST(UniformScalarField, LeavesTheBackgroundOutOnRequest) {
  const McHandle<HxUniformLabelField3> labels = new HxUniformLabelField3(McDim3l(4, 4, 4));
  float min;
  float max;
  labels->valueRange(min, max, true);
  EXPECT_GT(min, max);
  labels->setValue(1, 1, 1, 5);
  labels->setValue(2, 1, 1, 9);
  labels->valueRange(min, max, true);
  EXPECT_EQ(min, 5);
  EXPECT_EQ(max, 9);
  labels->valueRange(min, max);
  EXPECT_EQ(min, 0);
}

TEST(UniformScalarField, SkipsNaNInItsRange) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const McHandle<HxUniformScalarField3> field = new HxUniformScalarField3(McDim3l(2, 2, 1), McPrimType::Double);
  field->setValue(0, 0, 0, nan);
  field->setValue(1, 0, 0, 1e-300);
  field->setValue(0, 1, 0, 16777217.0);
  field->setValue(1, 1, 0, nan);
  double min;
  double max;
  field->valueRange(min, max);
  EXPECT_EQ(min, 1e-300);
  EXPECT_EQ(max, 16777217.0);
  for (int i = 0; i < 4; ++i) field->setValue(i % 2, i / 2, 0, nan);
  field->valueRange(min, max);
  EXPECT_GT(min, max);
}

TEST(UniformScalarField, LiesAtTheOriginUntilToldOtherwise) {
  const McHandle<HxUniformScalarField3> field = new HxUniformScalarField3(McDim3l(11, 5, 1), McPrimType::Float);
  EXPECT_EQ(field->boundingBox(), McBox3f(0, 10, 0, 4, 0, 1));
  EXPECT_THAT(field->voxelToWorld(10, 4, 0), ElementsAre(10, 4, 0));
  field->setBoundingBox(McBox3f(5, 25, 0, 8, 1, 3));
  EXPECT_THAT(field->voxelToWorld(1, 1, 1), ElementsAre(7, 2, 3));
  EXPECT_DOUBLE_EQ(field->voxelVolume(), 2 * 2 * 2);
  field->setBoundingBox(McBox3f());
  EXPECT_TRUE(field->boundingBox().isEmpty());
}

TEST(UniformScalarField, AppliesOriginSizeAndDirection) {
  const McHandle<HxUniformScalarField3> field = new HxUniformScalarField3(McDim3l(91, 109, 91), McPrimType::Uint8);
  // x runs backwards, y and z are swapped.
  field->setGeometry({{90, -126, -72}, {2, 3, 4}, {-1, 0, 0, 0, 0, 1, 0, 1, 0}});
  EXPECT_THAT(field->voxelToWorld(0, 0, 0), ElementsAre(90, -126, -72));
  EXPECT_THAT(field->voxelToWorld(10, 20, 30), ElementsAre(90 - 20, -126 + 120, -72 + 60));
  EXPECT_EQ(field->boundingBox(), McBox3f(90, 270, -126, 198, -72, 288));
  EXPECT_DOUBLE_EQ(field->voxelVolume(), 24);
  EXPECT_EQ(field->parameters.getBundle("Geometry", false)->find("VoxelSize")->print(), "2.0 3.0 4.0");
  EXPECT_EQ(field->parameters.getBundle("Geometry", false)->find("Direction")->reals()->size(), 9u);

  field->setBoundingBox(McBox3f(0, 90, 0, 108, 0, 90));
  EXPECT_THAT(field->geometry().voxelSize, ElementsAre(1, 1, 1));
  EXPECT_THAT(field->voxelToWorld(1, 0, 0), ElementsAre(-1, 0, 0));
}

TEST(UniformScalarField, RefusesDegenerateGeometry) {
  const McHandle<HxUniformScalarField3> field = new HxUniformScalarField3(McDim3l(2, 2, 2), McPrimType::Uint8);
  HxGeometry3 geometry;
  geometry.voxelSize[1] = 0;
  EXPECT_THROW(field->setGeometry(geometry), McException);
  geometry = HxGeometry3();
  geometry.origin[2] = std::numeric_limits<double>::infinity();
  EXPECT_THROW(field->setGeometry(geometry), McException);
  EXPECT_EQ(field->geometry(), HxGeometry3());
}

TEST(UniformScalarField, ResizesToZeros) {
  const McHandle<HxUniformScalarField3> field = new HxUniformScalarField3(McDim3l(2, 2, 2), McPrimType::Uint8);
  field->setValue(1, 1, 1, 3);
  field->resize(McDim3l(3, 3, 3), McPrimType::Float);
  EXPECT_EQ(field->latticeDimensions(), McDim3l(3, 3, 3));
  double min;
  double max;
  field->valueRange(min, max);
  EXPECT_EQ(max, 0);
  EXPECT_EQ(field->boundingBox(), McBox3f(0, 2, 0, 2, 0, 2));
}

TEST(UniformScalarField, AnswersScripts) {
  PoolCleaner cleaner;
  HxRecordingSink sink;
  auto* field = new HxUniformScalarField3(McDim3l(3, 4, 5), McPrimType::Int16);
  HxObjectPool::instance().add(field, "f");
  field->setValue(1, 2, 3, -7);
  EXPECT_EQ(evaluate("f getDimensions"), "3 4 5");
  EXPECT_EQ(evaluate("f getType"), "int16");
  EXPECT_EQ(evaluate("f getValue 1 2 3"), "-7.0");
  EXPECT_EQ(evaluate("f getRange"), "-7.0 0.0");
  EXPECT_EQ(evaluate("f getVoxelSize"), "1.0 1.0 1.0");
  EXPECT_EQ(evaluate("f getBoundingBox"), "0.0 2.0 0.0 3.0 0.0 4.0");
  EXPECT_EQ(evaluate("f voxelToWorld 0.5 0 0"), "0.5 0.0 0.0");
  for (const char* refused : {"f getValue 3 0 0", "f getValue 0 0 -1", "f getValue a 0 0", "f getValue 1 2"}) {
    EXPECT_THAT(evaluate(refused), HasSubstr("error: ")) << refused;
  }
}

TEST(LabelField, SharesItsLabelsWithTheLattice) {
  const McHandle<HxUniformLabelField3> field = new HxUniformLabelField3(McDim3l(4, 3, 2));
  HxLabelLattice3& lattice = field->lattice();
  EXPECT_EQ(lattice.dimensions(), McDim3l(4, 3, 2));
  EXPECT_EQ(lattice.getLabels(1), lattice.getLabels(0) + 12);
  lattice.getLabels(1)[4] = 9;
  EXPECT_EQ(field->value(0, 1, 1), 9);
  lattice.resize(McDim3l(2, 2, 2));
  EXPECT_EQ(field->latticeDimensions(), McDim3l(2, 2, 2));
  EXPECT_EQ(*std::max_element(lattice.getLabels(), lattice.getLabels() + 8), 0);
}

TEST(LabelField, ListsItsLabels) {
  PoolCleaner cleaner;
  HxRecordingSink sink;
  auto* field = new HxUniformLabelField3(McDim3l(3, 3, 1));
  HxObjectPool::instance().add(field, "f");
  EXPECT_EQ(evaluate("f getLabels"), "{0 {} 9}");
  for (const char* name : {"Exterior", "Bone", "Skin"}) field->materials()->getBundle(name);
  field->setValue(0, 0, 0, 1);
  field->setValue(1, 0, 0, 1);
  field->setValue(2, 2, 0, 255);
  EXPECT_EQ(evaluate("f getLabels"), "{0 Exterior 6} {1 Bone 2} {2 Skin 0} {255 {} 1}");
  EXPECT_EQ(evaluate("lindex [f getLabels] 3 1"), "");
  EXPECT_EQ(evaluate("lindex [f getLabels] 1 1"), "Bone");
  EXPECT_THAT(evaluate("f getLabels 1"), HasSubstr("error: "));
  EXPECT_EQ(evaluate("f getType"), "uint8");
}

TEST(LabelField, CountsEveryVoxel) {
  const McHandle<HxUniformLabelField3> field = new HxUniformLabelField3(McDim3l(7, 5, 3));
  std::mt19937 random(1);
  std::array<std::int64_t, 256> expected{};
  for (std::int64_t i = 0; i < field->voxelCount(); ++i) {
    const auto label = static_cast<std::uint8_t>(random());
    field->lattice().getLabels()[i] = label;
    ++expected[label];
  }
  EXPECT_EQ(field->countLabels(), expected);
}

/// In fields of masks the first material is not that of the background.
TEST(LabelField, FindsMaterialsByIndexOrByIdentifier) {
  const McHandle<HxUniformLabelField3> field = new HxUniformLabelField3(McDim3l(1, 1, 1));
  EXPECT_TRUE(field->materialsByLabel().empty());
  HxParamBundle* const first = field->materials()->getBundle("First");
  HxParamBundle* const second = field->materials()->getBundle("Second");
  second->set("Id", 300);
  using Materials = std::map<int, const HxParamBundle*>;
  EXPECT_EQ(field->materialsByLabel(), (Materials{{0, first}, {1, second}}));
  first->set("Id", 0);
  EXPECT_EQ(field->materialsByLabel(), (Materials{{0, first}, {1, second}}));
  first->set("Id", 2);
  EXPECT_EQ(field->materialsByLabel(), (Materials{{2, first}, {300, second}}));
}

TEST(LabelField, MakesMaterialsOnRequestAndEmpty) {
  const McHandle<HxUniformLabelField3> field = new HxUniformLabelField3(McDim3l(1, 1, 1));
  EXPECT_EQ(field->materials(false), nullptr);
  EXPECT_EQ(field->lattice().materials(false), nullptr);
  HxParamBundle* materials = field->lattice().materials(true);
  ASSERT_NE(materials, nullptr);
  EXPECT_EQ(materials->size(), 0);
  EXPECT_EQ(field->materials(), materials);
}

TEST(LabelField, TellsOfItsContent) {
  const McHandle<HxUniformLabelField3> field = new HxUniformLabelField3(McDim3l(1, 1, 1));
  field->fire(1);
  field->notifyChanged();
  EXPECT_EQ(field->getNewFlags(), 8u);
}

TEST(VolumeData, IsAnInterfaceOfAFieldOrStandsAlone) {
  const McHandle<HxUniformScalarField3> field = new HxUniformScalarField3;
  EXPECT_EQ(mcinterface_cast<HxVolumeData>(field), nullptr);
  auto* attached = new HxVolumeData(field, nullptr);
  EXPECT_EQ(mcinterface_cast<HxVolumeData>(field), attached);
  const McHandle<HxVolumeData> alone = new HxVolumeData(nullptr, QString("mask"));
  EXPECT_EQ(alone->getLabel(), "mask");
}

}  // namespace
