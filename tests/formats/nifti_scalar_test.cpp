#include <algorithm>
#include <cmath>
#include <cstdint>
#include <gmock/gmock.h>
#include <limits>
#include <numeric>
#include <type_traits>
#include <vector>

#include "quarn/formats/readNifti.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "tests/formats/niftiBytes.h"
#include "tests/formats/testFiles.h"

namespace {

using quarn::formats::readNifti;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;

constexpr std::size_t voxelCount = 3 * 4 * 5;

/// Both ends of a type's range, and a distinct small value for every other voxel.
template <typename T>
std::vector<T> sampleVoxels() {
  std::vector<T> voxels(voxelCount);
  std::iota(voxels.begin(), voxels.end(), T{1});
  voxels.front() = std::numeric_limits<T>::lowest();
  voxels.back() = std::numeric_limits<T>::max();
  return voxels;
}

template <typename T>
NiftiBytes image(NiftiBytes::Type type, const std::vector<T>& voxels) {
  NiftiBytes bytes;
  bytes.setType(type, 8 * sizeof(T));
  bytes.setVoxels(voxels);
  return bytes;
}

/// The values of a field, which must have the type T.
template <typename T>
std::vector<T> valuesOf(const HxUniformScalarField3& field) {
  return field.visitValues([&field](const auto* values) -> std::vector<T> {
    if constexpr (std::is_same_v<std::remove_cvref_t<decltype(*values)>, T>) {
      return {values, values + field.voxelCount()};
    }
    ADD_FAILURE() << "the field has the type " << HxUniformScalarField3::primTypeName(field.primType());
    return {};
  });
}

template <typename T>
void expectTypeIsKept(NiftiBytes::Type type, McPrimType expected) {
  const TestFolder folder;
  const std::vector<T> voxels = sampleVoxels<T>();
  const std::string file = image(type, voxels).file();
  for (const QString& path :
       {folder.write(QStringLiteral("image.nii"), file), folder.write(QStringLiteral("image.nii.gz"), gzipped(file))}) {
    const McHandle<HxUniformScalarField3> field = readNifti(path, {});
    EXPECT_EQ(field->primType(), expected);
    EXPECT_EQ(field->latticeDimensions(), McDim3l(3, 4, 5));
    EXPECT_THAT(valuesOf<T>(*field), ElementsAreArray(voxels));
  }
}

TEST(NiftiScalar, KeepsUint8) {
  expectTypeIsKept<std::uint8_t>(NiftiBytes::UInt8, McPrimType::Uint8);
}
TEST(NiftiScalar, KeepsInt8) {
  expectTypeIsKept<std::int8_t>(NiftiBytes::Int8, McPrimType::Int8);
}
TEST(NiftiScalar, KeepsUint16) {
  expectTypeIsKept<std::uint16_t>(NiftiBytes::UInt16, McPrimType::Uint16);
}
TEST(NiftiScalar, KeepsInt16) {
  expectTypeIsKept<std::int16_t>(NiftiBytes::Int16, McPrimType::Int16);
}
TEST(NiftiScalar, KeepsUint32) {
  expectTypeIsKept<std::uint32_t>(NiftiBytes::UInt32, McPrimType::Uint32);
}
TEST(NiftiScalar, KeepsInt32) {
  expectTypeIsKept<std::int32_t>(NiftiBytes::Int32, McPrimType::Int32);
}
TEST(NiftiScalar, KeepsFloat) {
  expectTypeIsKept<float>(NiftiBytes::Float, McPrimType::Float);
}
TEST(NiftiScalar, KeepsDouble) {
  expectTypeIsKept<double>(NiftiBytes::Double, McPrimType::Double);
}

TEST(NiftiScalar, TurnsWideIntegersIntoDoubles) {
  const TestFolder folder;
  std::vector<std::int64_t> wide(voxelCount, 7);
  wide.front() = -(std::int64_t{1} << 53);
  wide.back() = std::int64_t{1} << 53;
  const QString file = folder.write(QStringLiteral("wide.nii"), image(NiftiBytes::Int64, wide).file());
  EXPECT_THAT(valuesOf<double>(*readNifti(file, {})), ElementsAreArray(std::vector<double>(wide.begin(), wide.end())));

  std::vector<std::uint64_t> tooWide(voxelCount, 7);
  tooWide.back() = std::uint64_t{0xFFFFFFFFFFFFFFFF};
  const QString refused = folder.write(QStringLiteral("refused.nii"), image(NiftiBytes::UInt64, tooWide).file());
  EXPECT_EQ(
      refusal([&] { readNifti(refused, {}); }),
      refused.toStdString() + ": holds the 64-bit integer 18446744073709551615, which does not fit a field exactly");
}

TEST(NiftiScalar, AppliesTheScaleOfTheHeader) {
  const TestFolder folder;
  std::vector<std::int16_t> raw(voxelCount);
  std::iota(raw.begin(), raw.end(), std::int16_t{-30});
  NiftiBytes bytes = image(NiftiBytes::Int16, raw);
  bytes.setScale(0.5F, 10.0F);
  const auto field = readNifti(folder.write(QStringLiteral("scaled.nii"), bytes.file()), {});
  std::vector<float> expected(voxelCount);
  std::transform(raw.begin(), raw.end(), expected.begin(), [](std::int16_t v) { return 0.5F * v + 10.0F; });
  EXPECT_THAT(valuesOf<float>(*field), ElementsAreArray(expected));

  bytes.setScale(0.0F, 0.0F);
  const auto unscaled = readNifti(folder.write(QStringLiteral("unscaled.nii"), bytes.file()), {});
  EXPECT_THAT(valuesOf<std::int16_t>(*unscaled), ElementsAreArray(raw)) << "a slope of 0 means: not scaled";
}

TEST(NiftiScalar, PassesOverScalesThatAreNoNumbers) {
  const TestFolder folder;
  const std::vector<std::int16_t> raw = sampleVoxels<std::int16_t>();
  NiftiBytes bytes = image(NiftiBytes::Int16, raw);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float infinity = std::numeric_limits<float>::infinity();
  const auto read = [&](float slope, float intercept) {
    bytes.setScale(slope, intercept);
    return readNifti(folder.write(QStringLiteral("image.nii"), bytes.file()), {});
  };
  for (const float slope : {nan, infinity, -infinity})
    EXPECT_THAT(valuesOf<std::int16_t>(*read(slope, 5.0F)), ElementsAreArray(raw)) << slope;
  for (const float intercept : {nan, infinity}) EXPECT_EQ(read(2.0F, intercept)->value(1, 0, 0), 4.0) << intercept;
  EXPECT_FLOAT_EQ(static_cast<float>(read(1e-17F, 0.0F)->value(1, 0, 0)), 2e-17F) << "a small slope is one, too";
}

TEST(NiftiScalar, AppliesTheScaleToVolumesOfManyPieces) {
  const TestFolder folder;
  std::vector<std::int16_t> raw(300 * 200 * 60);
  for (std::size_t i = 0; i < raw.size(); ++i) raw[i] = static_cast<std::int16_t>(i % 30011);
  NiftiBytes bytes = image(NiftiBytes::Int16, raw);
  bytes.setDimensions({300, 200, 60});
  bytes.setScale(0.25F, -7.0F);
  const auto field = readNifti(folder.write(QStringLiteral("scaled.nii.gz"), gzipped(bytes.file())), {});
  const std::vector<float> values = valuesOf<float>(*field);
  ASSERT_EQ(values.size(), raw.size());
  for (std::size_t i = 0; i < raw.size(); ++i) ASSERT_EQ(values[i], 0.25F * raw[i] - 7.0F) << i;
}

TEST(NiftiScalar, KeepsNanAndInfinity) {
  const TestFolder folder;
  std::vector<float> voxels(voxelCount, 1.0F);
  voxels[1] = std::numeric_limits<float>::quiet_NaN();
  voxels[2] = -std::numeric_limits<float>::infinity();
  const auto field = readNifti(folder.write(QStringLiteral("odd.nii"), image(NiftiBytes::Float, voxels).file()), {});
  EXPECT_TRUE(std::isnan(field->value(1, 0, 0)));
  EXPECT_EQ(field->value(2, 0, 0), -std::numeric_limits<double>::infinity());
  EXPECT_EQ(field->value(0, 1, 0), 1.0);
}

TEST(NiftiScalar, ReadsTheVoxelsOfTheFileThatIsNamed) {
  const TestFolder folder;
  const std::vector<std::uint8_t> plain(voxelCount, 1), packed(voxelCount, 2);
  const QString file = folder.write(QStringLiteral("image.nii"), image(NiftiBytes::UInt8, plain).file());
  const QString other = folder.write(QStringLiteral("image.nii.gz"), gzipped(image(NiftiBytes::UInt8, packed).file()));
  EXPECT_THAT(valuesOf<std::uint8_t>(*readNifti(file, {})), ElementsAreArray(plain));
  EXPECT_THAT(valuesOf<std::uint8_t>(*readNifti(other, {})), ElementsAreArray(packed));
}

TEST(NiftiScalar, ReadsTheOtherByteOrder) {
  const TestFolder folder;
  const std::vector<std::int16_t> voxels = sampleVoxels<std::int16_t>();
  std::string file = image(NiftiBytes::Int16, voxels).file();
  const auto reverse = [&file](std::size_t offset, std::size_t size, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      std::reverse(file.begin() + static_cast<std::ptrdiff_t>(offset + i * size),
                   file.begin() + static_cast<std::ptrdiff_t>(offset + (i + 1) * size));
    }
  };
  reverse(0, 4, 1);             // size of the header
  reverse(40, 2, 8);            // dimensions
  reverse(70, 2, 2);            // type and bits
  reverse(76, 4, 9);            // voxel sizes and data offset
  reverse(352, 2, voxelCount);  // voxels
  EXPECT_THAT(valuesOf<std::int16_t>(*readNifti(folder.write(QStringLiteral("swapped.nii"), file), {})),
              ElementsAreArray(voxels));
}

TEST(NiftiScalar, ReadsPairsByEitherHalf) {
  const TestFolder folder;
  const std::vector<std::uint16_t> voxels = sampleVoxels<std::uint16_t>();
  NiftiBytes bytes = image(NiftiBytes::UInt16, voxels);
  bytes.putText(344, "ni1");
  bytes.put<float>(108, 0.0F);
  const QString header = folder.write(QStringLiteral("pair.hdr"), bytes.header());
  const QString data = folder.write(QStringLiteral("pair.img"), bytes.voxels());
  EXPECT_THAT(valuesOf<std::uint16_t>(*readNifti(header, {})), ElementsAreArray(voxels));
  EXPECT_THAT(valuesOf<std::uint16_t>(*readNifti(data, {})), ElementsAreArray(voxels));
  QFile::remove(data);
  EXPECT_EQ(refusal([&] { readNifti(header, {}); }), data.toStdString() + ": does not exist");
}

TEST(NiftiScalar, TakesTheFileThatIsNamedForItsHalfOfAPair) {
  const TestFolder folder;
  NiftiBytes plain = image(NiftiBytes::UInt8, std::vector<std::uint8_t>(voxelCount, 1));
  plain.putText(344, "ni1");
  plain.put<float>(108, 0.0F);
  NiftiBytes packed = plain;
  packed.setVoxels(std::vector<std::uint8_t>(voxelCount, 2));
  packed.put<float>(80, 7.0F);
  const QString header = folder.write(QStringLiteral("a.hdr"), plain.header());
  const QString data = folder.write(QStringLiteral("a.img"), plain.voxels());
  const QString packedHeader = folder.write(QStringLiteral("a.hdr.gz"), gzipped(packed.header()));
  const QString packedData = folder.write(QStringLiteral("a.img.gz"), gzipped(packed.voxels()));
  for (const QString& file : {header, data}) {
    EXPECT_EQ(readNifti(file, {})->value(0, 0, 0), 1.0);
    EXPECT_EQ(readNifti(file, {})->geometry().voxelSize[0], 1.0);
  }
  for (const QString& file : {packedHeader, packedData}) {
    EXPECT_EQ(readNifti(file, {})->value(0, 0, 0), 2.0);
    EXPECT_EQ(readNifti(file, {})->geometry().voxelSize[0], 7.0);
  }
  QFile::remove(packedHeader);
  EXPECT_EQ(readNifti(packedData, {})->value(0, 0, 0), 2.0);
  EXPECT_EQ(readNifti(packedData, {})->geometry().voxelSize[0], 1.0);
}

TEST(NiftiScalar, ReadsVoxelsThatBeginLikeCompressedOnes) {
  const TestFolder folder;
  std::vector<std::uint8_t> voxels = sampleVoxels<std::uint8_t>();
  voxels[0] = 0x1F;
  voxels[1] = 0x8B;
  NiftiBytes bytes = image(NiftiBytes::UInt8, voxels);
  bytes.putText(344, "ni1");
  bytes.put<float>(108, 0.0F);
  const QString header = folder.write(QStringLiteral("pair.hdr"), bytes.header());
  folder.write(QStringLiteral("pair.img"), bytes.voxels());
  EXPECT_THAT(valuesOf<std::uint8_t>(*readNifti(header, {})), ElementsAreArray(voxels));
}

TEST(NiftiScalar, IgnoresDimensionsOfSizeOne) {
  const TestFolder folder;
  for (const std::vector<std::int16_t>& sizes :
       {std::vector<std::int16_t>{3, 4, 5, 1}, {3, 4, 5, 1, 1}, {3, 4, 5, 1, 1, 1, 1}}) {
    NiftiBytes bytes = image(NiftiBytes::UInt8, sampleVoxels<std::uint8_t>());
    bytes.setDimensions(sizes);
    const auto field = readNifti(folder.write(QStringLiteral("image.nii"), bytes.file()), {});
    EXPECT_EQ(field->latticeDimensions(), McDim3l(3, 4, 5));
    EXPECT_THAT(valuesOf<std::uint8_t>(*field), ElementsAreArray(sampleVoxels<std::uint8_t>()));
  }
  NiftiBytes slice = image(NiftiBytes::UInt8, sampleVoxels<std::uint8_t>());
  slice.setDimensions({12, 5, 1});
  EXPECT_EQ(readNifti(folder.write(QStringLiteral("slice.nii"), slice.file()), {})->latticeDimensions(),
            McDim3l(12, 5, 1));
}

TEST(NiftiGeometry, TurnsIntoMillimetresToTheLeftBackAndUp) {
  const TestFolder folder;
  NiftiBytes bytes = image(NiftiBytes::UInt8, sampleVoxels<std::uint8_t>());
  bytes.setAffine({{{2, 0, 0, -10}, {0, 3, 0, -20}, {0, 0, 4, -30}}});
  const auto field = readNifti(folder.write(QStringLiteral("image.nii"), bytes.file()), {});
  const HxGeometry3 geometry = field->geometry();
  EXPECT_THAT(geometry.origin, ElementsAre(10, 20, -30));
  EXPECT_THAT(geometry.voxelSize, ElementsAre(2, 3, 4));
  EXPECT_THAT(geometry.direction, ElementsAre(-1, 0, 0, 0, -1, 0, 0, 0, 1));
  float box[6];
  field->getBoundingBox(box);
  EXPECT_THAT(box, ElementsAre(10, 14, 20, 29, -30, -14));
  EXPECT_THAT(field->voxelToWorld(2, 3, 4), ElementsAre(6, 11, -14));
}

TEST(NiftiGeometry, KeepsFlippedAndExchangedAxes) {
  const TestFolder folder;
  NiftiBytes bytes = image(NiftiBytes::UInt8, sampleVoxels<std::uint8_t>());
  bytes.setAffine({{{-2, 0, 0, 90}, {0, 2, 0, -126}, {0, 0, 2, -72}}});
  auto field = readNifti(folder.write(QStringLiteral("flipped.nii"), bytes.file()), {});
  EXPECT_THAT(field->geometry().direction, ElementsAre(1, 0, 0, 0, -1, 0, 0, 0, 1));
  EXPECT_THAT(field->geometry().origin, ElementsAre(-90, 126, -72));

  // lattice x runs up, y to the left, z to the front
  bytes.setAffine({{{0, -3, 0, 5}, {0, 0, 4, 6}, {2, 0, 0, 7}}});
  field = readNifti(folder.write(QStringLiteral("exchanged.nii"), bytes.file()), {});
  EXPECT_THAT(field->geometry().voxelSize, ElementsAre(2, 3, 4));
  EXPECT_THAT(field->geometry().direction, ElementsAre(0, 1, 0, 0, 0, -1, 1, 0, 0));
  EXPECT_THAT(field->voxelToWorld(1, 0, 0), ElementsAre(-5, -6, 9));
  EXPECT_THAT(field->voxelToWorld(0, 1, 0), ElementsAre(-2, -6, 7));
}

TEST(NiftiGeometry, KeepsObliqueAxes) {
  const TestFolder folder;
  NiftiBytes bytes = image(NiftiBytes::UInt8, sampleVoxels<std::uint8_t>());
  bytes.setAffine({{{0.6F, -0.8F, 0, 1}, {0.8F, 0.6F, 0, 2}, {0, 0, 1, 3}}});
  const auto field = readNifti(folder.write(QStringLiteral("oblique.nii"), bytes.file()), {});
  const auto world = field->voxelToWorld(2, 1, 1);
  EXPECT_NEAR(world[0], -(0.6 * 2 - 0.8 + 1), 1e-6);
  EXPECT_NEAR(world[1], -(0.8 * 2 + 0.6 + 2), 1e-6);
  EXPECT_NEAR(world[2], 4, 1e-6);
}

TEST(NiftiGeometry, PrefersTheMatrixToTheQuaternion) {
  const TestFolder folder;
  NiftiBytes bytes = image(NiftiBytes::UInt8, sampleVoxels<std::uint8_t>());
  bytes.setUnturnedQuaternion({1, 2, 3});
  EXPECT_THAT(readNifti(folder.write(QStringLiteral("image.nii"), bytes.file()), {})->voxelToWorld(0, 0, 0),
              ElementsAre(-1, -2, 3));
  for (const std::int16_t code : {std::int16_t{1}, std::int16_t{2}, std::int16_t{4}}) {
    bytes.setAffine({{{2, 0, 0, -10}, {0, 2, 0, -20}, {0, 0, 2, -30}}});
    bytes.put<std::int16_t>(254, code);
    EXPECT_THAT(readNifti(folder.write(QStringLiteral("image.nii"), bytes.file()), {})->voxelToWorld(1, 0, 0),
                ElementsAre(8, 20, -30));
  }
  bytes.setAffine({{{1, 0.9F, 0, 0}, {0, 0.4F, 0, 0}, {0, 0, 1, 0}}});
  EXPECT_THAT(readNifti(folder.write(QStringLiteral("image.nii"), bytes.file()), {})->voxelToWorld(0, 0, 0),
              ElementsAre(-1, -2, 3))
      << "axes that are not perpendicular leave the quaternion";
}

TEST(NiftiGeometry, CountsInMillimetres) {
  const TestFolder folder;
  NiftiBytes bytes = image(NiftiBytes::UInt8, sampleVoxels<std::uint8_t>());
  bytes.setAffine({{{2, 0, 0, -16}, {0, 2, 0, -16}, {0, 0, 2, -16}}});
  bytes.put<std::uint8_t>(123, 1);  // metres
  EXPECT_THAT(readNifti(folder.write(QStringLiteral("image.nii"), bytes.file()), {})->voxelToWorld(1, 0, 0),
              ElementsAre(14000, 16000, -16000));
}

TEST(NiftiGeometry, CountsQuaternionsInMillimetres) {
  const TestFolder folder;
  NiftiBytes bytes = image(NiftiBytes::UInt8, sampleVoxels<std::uint8_t>());
  bytes.setUnturnedQuaternion({1, 2, 3});
  for (std::size_t i = 0; i < 3; ++i) bytes.put<float>(80 + 4 * i, 2.0F);
  bytes.put<std::uint8_t>(123, 3);  // micrometres
  HxGeometry3 geometry = readNifti(folder.write(QStringLiteral("image.nii"), bytes.file()), {})->geometry();
  EXPECT_THAT(geometry.voxelSize, ElementsAre(0.002, 0.002, 0.002));
  EXPECT_THAT(geometry.origin, ElementsAre(-0.001, -0.002, 0.003));
  bytes.put<std::uint8_t>(123, 1);  // metres
  geometry = readNifti(folder.write(QStringLiteral("image.nii"), bytes.file()), {})->geometry();
  EXPECT_THAT(geometry.voxelSize, ElementsAre(2000, 2000, 2000));
  EXPECT_THAT(geometry.origin, ElementsAre(-1000, -2000, 3000));
}

TEST(NiftiGeometry, TurnsByTheQuaternion) {
  const TestFolder folder;
  NiftiBytes bytes = image(NiftiBytes::UInt8, sampleVoxels<std::uint8_t>());
  bytes.setUnturnedQuaternion({0, 0, 0});
  const auto directionOf = [&](std::array<float, 3> parts, float handedness) {
    for (std::size_t i = 0; i < 3; ++i) bytes.put<float>(256 + 4 * i, parts[i]);
    bytes.put<float>(76, handedness);
    return readNifti(folder.write(QStringLiteral("image.nii"), bytes.file()), {})->geometry().direction;
  };
  const float half = std::sqrt(0.5F);
  const auto near = [](double value) { return ::testing::DoubleNear(value, 1e-6); };
  // A quarter turn from x to y: the first axis leads to the front, the second to the left.
  EXPECT_THAT(directionOf({0, 0, half}, 1),
              ElementsAre(near(0), near(1), near(0), near(-1), near(0), near(0), near(0), near(0), near(1)));
  EXPECT_THAT(directionOf({0, 0, half}, -1),
              ElementsAre(near(0), near(1), near(0), near(-1), near(0), near(0), near(0), near(0), near(-1)));
  // Half a turn round x, by a quaternion that is a little too long.
  EXPECT_THAT(directionOf({1.0004F, 0, 0}, 0),
              ElementsAre(near(-1), near(0), near(0), near(0), near(1), near(0), near(0), near(0), near(-1)));
}

TEST(NiftiGeometry, StandsInVoxelSizesWhenThereIsNoForm) {
  const TestFolder folder;
  NiftiBytes bytes = image(NiftiBytes::UInt8, sampleVoxels<std::uint8_t>());
  for (std::size_t i = 0; i < 3; ++i) bytes.put<float>(80 + 4 * i, static_cast<float>(i + 2));
  const HxGeometry3 geometry = readNifti(folder.write(QStringLiteral("image.nii"), bytes.file()), {})->geometry();
  EXPECT_THAT(geometry.voxelSize, ElementsAre(2, 3, 4));
  EXPECT_THAT(geometry.origin, ElementsAre(0, 0, 0));
  EXPECT_THAT(geometry.direction, ElementsAre(-1, 0, 0, 0, -1, 0, 0, 0, 1));
}

TEST(NiftiGeometry, ChecksWhatIsUsedInMillimetres) {
  const TestFolder folder;
  NiftiBytes bytes = image(NiftiBytes::UInt8, sampleVoxels<std::uint8_t>());
  const auto read = [&] { return readNifti(folder.write(QStringLiteral("image.nii"), bytes.file()), {}); };
  bytes.setAffine({{{1e-7F, 0, 0, 0}, {0, 1e-7F, 0, 0}, {0, 0, 1e-7F, 0}}});
  bytes.put<std::uint8_t>(123, 1);  // metres
  EXPECT_FLOAT_EQ(static_cast<float>(read()->geometry().voxelSize[0]), 1e-4F);
  bytes.put<std::uint8_t>(123, 3);  // micrometres
  EXPECT_THAT(refusal([&] { read(); }), HasSubstr("the voxel size along axis 0 is 1.00000001e-10"));
  bytes.setAffine({{{1, 0, 0, 9e8F}, {0, 1, 0, 0}, {0, 0, 1, 0}}});
  bytes.put<std::uint8_t>(123, 1);
  EXPECT_THAT(refusal([&] { read(); }), HasSubstr("the origin along axis 0 is -9e+11"));
  bytes.setAffine({{{-1, 0, 0, 0}, {0, 1, 3.7e-33F, 0}, {0, 0, 1, 0}}});
  bytes.put<std::uint8_t>(123, 2);
  bytes.put<float>(80, -1.0F);
  EXPECT_THAT(read()->geometry().voxelSize, ElementsAre(1, 1, 1)) << "sizes beside a matrix do not count";
}

TEST(NiftiGeometry, RefusesAxesThatAreNotPerpendicular) {
  const TestFolder folder;
  NiftiBytes bytes = image(NiftiBytes::UInt8, sampleVoxels<std::uint8_t>());
  bytes.setAffine({{{1, 0.9F, 0, 0}, {0, 0.4F, 0, 0}, {0, 0, 1, 0}}});
  const QString file = folder.write(QStringLiteral("sheared.nii"), bytes.file());
  EXPECT_THAT(refusal([&] { readNifti(file, {}); }),
              HasSubstr(file.toStdString() + ": axes 0 and 1 of its lattice are not perpendicular"));
}

TEST(NiftiGeometry, IsThatOfTheRealImages) {
  // The affine matrices as nibabel.load(FILE).affine gives them, x and y turned round.
  const auto ch2 = readNifti(atlasFile(QStringLiteral("ch2.nii.gz")), {});
  EXPECT_EQ(ch2->latticeDimensions(), McDim3l(181, 217, 181));
  EXPECT_EQ(ch2->primType(), McPrimType::Uint8);
  EXPECT_THAT(ch2->voxelToWorld(0, 0, 0), ElementsAre(90, 125, -71));
  EXPECT_THAT(ch2->voxelToWorld(180, 216, 180), ElementsAre(-90, -91, 109));
  const auto monkey = readNifti(atlasFile(QStringLiteral("inia19-t1-brain.nii.gz")), {});
  EXPECT_EQ(monkey->primType(), McPrimType::Float);
  EXPECT_THAT(monkey->voxelToWorld(2, 0, 0), ElementsAre(41, 57.5, -30));
  float least = 0.0F;
  float greatest = 0.0F;
  monkey->valueRange(least, greatest);
  EXPECT_FLOAT_EQ(greatest, 383.17554F);
}

}  // namespace
