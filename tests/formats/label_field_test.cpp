#include <algorithm>
#include <cstdint>
#include <gmock/gmock.h>
#include <limits>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "quarn/formats/readNifti.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "tests/formats/niftiBytes.h"
#include "tests/formats/testFiles.h"

namespace {

using quarn::formats::readNifti;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr std::size_t voxelCount = 3 * 4 * 5;
constexpr std::int16_t labelIntent = 1002;

/// The volume with these values at its first voxels and 0 everywhere else.
template <typename T>
NiftiBytes labelImage(NiftiBytes::Type type, std::vector<T> voxels) {
  voxels.resize(voxelCount);
  NiftiBytes bytes;
  bytes.setType(type, 8 * sizeof(T));
  bytes.setVoxels(voxels);
  return bytes;
}

HxLoadOptions asLabels() {
  HxLoadOptions options;
  options.kind = QStringLiteral("label");
  return options;
}

/// Reads the image as a label field; null, and the test fails, when another field comes.
McHandle<HxUniformLabelField3> readLabels(const NiftiBytes& bytes, const HxLoadOptions& options) {
  const TestFolder folder;
  const McHandle<HxUniformScalarField3> field =
      readNifti(folder.write(QStringLiteral("labels.nii"), bytes.file()), options);
  auto* const labels = dynamic_cast<HxUniformLabelField3*>(field.get());
  EXPECT_NE(labels, nullptr);
  return labels;
}

std::vector<int> firstLabels(const HxUniformLabelField3& field, std::size_t count) {
  const std::uint8_t* const labels = field.lattice().getLabels(0);
  return {labels, labels + count};
}

/// Name and "Id" of each material, in their order.
std::vector<std::pair<std::string, std::int64_t>> materialsOf(HxUniformLabelField3& field) {
  std::vector<std::pair<std::string, std::int64_t>> result;
  const HxParamBundle* const materials = field.materials(true);
  for (int i = 0; i < materials->size(); ++i) {
    std::int64_t id = -1;
    EXPECT_TRUE(materials->getBundle(i)->findNum("Id", id)) << i;
    result.emplace_back(materials->getBundle(i)->name(), id);
  }
  return result;
}

template <typename T>
void expectLabelsOf(NiftiBytes::Type type) {
  const auto field = readLabels(labelImage<T>(type, {T{7}, T{0}, T{100}, T{7}}), asLabels());
  EXPECT_EQ(field->latticeDimensions(), McDim3l(3, 4, 5));
  EXPECT_THAT(firstLabels(*field, 5), ElementsAre(7, 0, 100, 7, 0));
  EXPECT_THAT(materialsOf(*field), IsEmpty());
}

TEST(LabelField, TakesWholeNumbersOfEveryType) {
  expectLabelsOf<std::uint8_t>(NiftiBytes::UInt8);
  expectLabelsOf<std::int8_t>(NiftiBytes::Int8);
  expectLabelsOf<std::uint16_t>(NiftiBytes::UInt16);
  expectLabelsOf<std::int16_t>(NiftiBytes::Int16);
  expectLabelsOf<std::uint32_t>(NiftiBytes::UInt32);
  expectLabelsOf<std::int32_t>(NiftiBytes::Int32);
  expectLabelsOf<std::uint64_t>(NiftiBytes::UInt64);
  expectLabelsOf<std::int64_t>(NiftiBytes::Int64);
  expectLabelsOf<float>(NiftiBytes::Float);
  expectLabelsOf<double>(NiftiBytes::Double);
}

TEST(LabelField, IsChosenByKindNamesOrIntent) {
  const TestFolder folder;
  NiftiBytes bytes = labelImage<std::uint8_t>(NiftiBytes::UInt8, {1, 2});
  const QString plain = folder.write(QStringLiteral("plain.nii"), bytes.file());
  bytes.setIntent(labelIntent);
  const QString intended = folder.write(QStringLiteral("intended.nii"), bytes.file());
  const auto isLabelField = [](const QString& file, const HxLoadOptions& options) {
    return dynamic_cast<HxUniformLabelField3*>(readNifti(file, options).get()) != nullptr;
  };
  EXPECT_FALSE(isLabelField(plain, {}));
  EXPECT_TRUE(isLabelField(plain, asLabels()));
  EXPECT_TRUE(isLabelField(intended, {}));
  HxLoadOptions named;
  named.labels = folder.write(QStringLiteral("names.txt"), "1 A\n");
  EXPECT_TRUE(isLabelField(plain, named));
  HxLoadOptions scalar;
  scalar.kind = QStringLiteral("scalar");
  EXPECT_FALSE(isLabelField(intended, scalar));
}

TEST(LabelField, RefusesTheFirstVoxelThatIsNoLabel) {
  const TestFolder folder;
  const auto refusalOf = [&folder](const NiftiBytes& bytes) {
    const QString file = folder.write(QStringLiteral("labels.nii"), bytes.file());
    const std::string text = refusal([&] { readNifti(file, asLabels()); });
    return text.substr(std::min(text.size(), file.toStdString().size() + 2));
  };
  std::vector<float> voxels(voxelCount, 1.0F);
  voxels[2 + 3 * (1 + 4 * 3)] = 2.5F;
  voxels.back() = 3.5F;
  EXPECT_EQ(refusalOf(labelImage(NiftiBytes::Float, voxels)),
            "voxel (2, 1, 3) is 2.5; labels are whole numbers from 0 to 2147483647");
  EXPECT_THAT(refusalOf(labelImage<std::int8_t>(NiftiBytes::Int8, {0, -1})), HasSubstr("voxel (1, 0, 0) is -1;"));
  EXPECT_THAT(refusalOf(labelImage<float>(NiftiBytes::Float, {std::numeric_limits<float>::quiet_NaN()})),
              HasSubstr("voxel (0, 0, 0) is nan;"));
  EXPECT_THAT(refusalOf(labelImage<float>(NiftiBytes::Float, {2147483648.0F})),
              HasSubstr("voxel (0, 0, 0) is 2147483648;"));
  EXPECT_THAT(refusalOf(labelImage<std::uint32_t>(NiftiBytes::UInt32, {2147483648U})),
              HasSubstr("voxel (0, 0, 0) is 2147483648;"));
  EXPECT_THAT(refusalOf(labelImage<std::int64_t>(NiftiBytes::Int64, {std::int64_t{1} << 40})),
              HasSubstr("voxel (0, 0, 0) is 1099511627776;"));
}

TEST(LabelField, RenumbersLargeValuesAndKeepsThemAsIds) {
  HxRecordingSink messages;
  const auto field =
      readLabels(labelImage<std::int32_t>(NiftiBytes::Int32, {1000, 0, 256, 2147483647, 3, 256}), asLabels());
  EXPECT_THAT(firstLabels(*field, 7), ElementsAre(3, 0, 2, 4, 1, 2, 0));
  EXPECT_THAT(materialsOf(*field),
              ElementsAre(Pair("Exterior", 0), Pair("Undescribed-label-3", 3), Pair("Undescribed-label-256", 256),
                          Pair("Undescribed-label-1000", 1000), Pair("Undescribed-label-2147483647", 2147483647)));
  ASSERT_EQ(messages.consoleEntries.size(), 1U);
  EXPECT_EQ(
      messages.consoleEntries.front(),
      "labels.nii: labels up to 2147483647 were renumbered from 1 to 4 in increasing order; \"Id\" of each material "
      "is the value in the file\n");
}

TEST(LabelField, RenumbersAsManyLabelsAsItCanHold) {
  const TestFolder folder;
  const HxRecordingSink messages;
  NiftiBytes bytes;
  bytes.setDimensions({16, 16, 1});
  bytes.setType(NiftiBytes::UInt16, 16);
  std::vector<std::uint16_t> voxels(256);
  std::iota(voxels.begin(), voxels.end(), std::uint16_t{1000});
  voxels.back() = 0;
  bytes.setVoxels(voxels);
  const auto field = readLabels(bytes, asLabels());
  std::vector<int> expected(256);
  std::iota(expected.begin(), expected.end(), 1);
  expected.back() = 0;
  EXPECT_THAT(firstLabels(*field, 256), ElementsAreArray(expected));

  voxels.back() = 2000;
  bytes.setVoxels(voxels);
  const QString file = folder.write(QStringLiteral("many.nii"), bytes.file());
  EXPECT_EQ(refusal([&] { readNifti(file, asLabels()); }),
            file.toStdString() +
                ": has 256 labels, the largest is 2000; a label field holds at most 255 labels: choose "
                "some by their values");
}

TEST(LabelField, SetsLabelsOutsideTheChosenValuesToZero) {
  HxRecordingSink messages;
  HxLoadOptions options = asLabels();
  options.values = HxLoadOptions::parseRanges(QStringLiteral("1-2,95"));
  const auto field = readLabels(labelImage<std::int16_t>(NiftiBytes::Int16, {1, 2, 3, 94, 95, 1000, 1}), options);
  EXPECT_THAT(firstLabels(*field, 8), ElementsAre(1, 2, 0, 0, 95, 0, 1, 0));
  EXPECT_THAT(materialsOf(*field), IsEmpty());
  EXPECT_THAT(messages.consoleEntries, IsEmpty());

  options.values = HxLoadOptions::parseRanges(QStringLiteral("94-1000"));
  const auto renumbered = readLabels(labelImage<std::int16_t>(NiftiBytes::Int16, {1, 2, 3, 94, 95, 1000, 1}), options);
  EXPECT_THAT(firstLabels(*renumbered, 8), ElementsAre(0, 0, 0, 1, 2, 3, 0, 0));
  EXPECT_THAT(materialsOf(*renumbered),
              ElementsAre(Pair("Exterior", 0), Pair("Undescribed-label-94", 94), Pair("Undescribed-label-95", 95),
                          Pair("Undescribed-label-1000", 1000)));
}

TEST(LabelField, ChosenValuesMakeLabelsAndThoseThatAreAbsentAreTold) {
  const TestFolder folder;
  const HxRecordingSink messages;
  const QString file = folder.write(QStringLiteral("some.nii"),
                                    labelImage(NiftiBytes::UInt8, std::vector<std::uint8_t>{1, 2, 9}).file());
  HxLoadOptions options;
  options.values = HxLoadOptions::parseRanges(QStringLiteral("2-3,5,7-8"));
  const auto field = readNifti(file, options);
  EXPECT_NE(dynamic_cast<HxUniformLabelField3*>(field.get()), nullptr);
  ASSERT_EQ(messages.warnings.size(), 1U);
  EXPECT_EQ(messages.warnings.front(), "some.nii: no voxel has one of the values 5, 7-8");
  options.kind = QStringLiteral("scalar");
  EXPECT_THAT(refusal([&] { readNifti(file, options); }), HasSubstr("no label values can be chosen"));
}

TEST(LabelField, WithNoneOfTheChosenValuesIsRefused) {
  const TestFolder folder;
  const HxRecordingSink messages;
  const QString file = folder.write(QStringLiteral("some.nii"),
                                    labelImage(NiftiBytes::UInt8, std::vector<std::uint8_t>{1, 2, 9}).file());
  HxLoadOptions options;
  options.values = HxLoadOptions::parseRanges(QStringLiteral("5,7-8"));
  EXPECT_EQ(refusal([&] { readNifti(file, options); }), file.toStdString() + ": holds no label of the values 5, 7-8");
  options.values = HxLoadOptions::parseRanges(QStringLiteral("0"));
  EXPECT_EQ(refusal([&] { readNifti(file, options); }), file.toStdString() + ": holds no label of the values 0");
  EXPECT_THAT(messages.warnings, IsEmpty());
}

/// Materials of an 8-bit image with these labels and names.
std::vector<std::pair<std::string, std::int64_t>> materialsFor(const std::vector<std::uint8_t>& voxels,
                                                               const std::string& names, const char* values = "") {
  const TestFolder folder;
  HxLoadOptions options;
  options.labels = folder.write(QStringLiteral("names.txt"), names);
  if (*values) options.values = HxLoadOptions::parseRanges(QLatin1String(values));
  return materialsOf(*readLabels(labelImage(NiftiBytes::UInt8, voxels), options));
}

TEST(LabelMaterials, GoUpToTheLargestValueOfImageAndNames) {
  EXPECT_THAT(materialsFor({4}, "2 Two\n"),
              ElementsAre(Pair("Exterior", 0), Pair("Undescribed-label-1", 1), Pair("Two", 2),
                          Pair("Undescribed-label-3", 3), Pair("Undescribed-label-4", 4)));
  EXPECT_THAT(materialsFor({1}, "3 Three\n"), ElementsAre(Pair("Exterior", 0), Pair("Undescribed-label-1", 1),
                                                          Pair("Undescribed-label-2", 2), Pair("Three", 3)));
  EXPECT_THAT(materialsFor({1}, "1 One\n300 Beyond\n"), ElementsAre(Pair("Exterior", 0), Pair("One", 1)));
  EXPECT_THAT(materialsFor({}, "0 Air\n"), ElementsAre(Pair("Exterior", 0)));
}

TEST(LabelMaterials, GoUpToTheLargestChosenValue) {
  EXPECT_THAT(materialsFor({1, 2, 3}, "1 One\n2 Two\n3 Three\n4 Four\n", "2"),
              ElementsAre(Pair("Exterior", 0), Pair("One", 1), Pair("Two", 2)));
}

TEST(LabelMaterials, HaveNamesThatBundlesAccept) {
  EXPECT_THAT(
      materialsFor({},
                   "1 Fornix_(column_and_body)\n2\tBr\xC3\xBC"
                   "cke a/b\n3 A-1_b\n"),
      ElementsAre(Pair("Exterior", 0), Pair("Fornix__column_and_body_", 1), Pair("Br_cke_a_b", 2), Pair("A-1_b", 3)));
}

TEST(LabelMaterials, HaveNamesThatDiffer) {
  EXPECT_THAT(materialsFor({6}, "1 A\n2 A\n3 A-4\n4 A\n5 Exterior\n"),
              ElementsAre(Pair("Exterior", 0), Pair("A", 1), Pair("A-2", 2), Pair("A-4", 3), Pair("A-4-4", 4),
                          Pair("Exterior-5", 5), Pair("Undescribed-label-6", 6)));
}

TEST(LabelMaterials, AreThoseOfTheLabelsThatOccurAfterRenumbering) {
  const TestFolder folder;
  const HxRecordingSink messages;
  HxLoadOptions options;
  options.labels = folder.write(QStringLiteral("names.txt"), "5 Five\n700 Big\n900 Absent\n");
  const auto field = readLabels(labelImage<std::int16_t>(NiftiBytes::Int16, {700, 5, 6}), options);
  EXPECT_THAT(firstLabels(*field, 4), ElementsAre(3, 1, 2, 0));
  EXPECT_THAT(materialsOf(*field),
              ElementsAre(Pair("Exterior", 0), Pair("Five", 5), Pair("Undescribed-label-6", 6), Pair("Big", 700)));
}

TEST(LabelMaterials, LeaveNothingBehindWhenNamesAreRefused) {
  const TestFolder folder;
  const QString file =
      folder.write(QStringLiteral("labels.nii"), labelImage<std::uint8_t>(NiftiBytes::UInt8, {1}).file());
  HxLoadOptions options;
  options.labels = folder.write(QStringLiteral("names.txt"), "1 A\n1 B\n");
  EXPECT_THAT(refusal([&] { readNifti(file, options); }), HasSubstr("names.txt:2: label value 1 was named before"));
}

}  // namespace
