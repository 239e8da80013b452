#include <itkMetaImageIO.h>

#include "quarn/formats/readMetaImage.h"
#include "tests/formats/badInput.h"
#include "tests/formats/sampleFields.h"

namespace {

using quarn::formats::readMetaImage;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const std::string header =
    "ObjectType = Image\nNDims = 3\nBinaryData = True\nBinaryDataByteOrderMSB = False\nCompressedData = False\n"
    "TransformMatrix = 1 0 0 0 1 0 0 0 1\nOffset = 10 20 30\nElementSpacing = 1 2 3\nDimSize = 3 4 5\n"
    "ElementType = MET_UCHAR\nElementDataFile = LOCAL\n";

std::string voxels() {
  std::string bytes(60, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(7 * i);
  return bytes;
}

std::string zlibbed(const std::string& bytes) {
  std::string result(compressBound(bytes.size()), '\0');
  uLongf size = result.size();
  EXPECT_EQ(compress(reinterpret_cast<Bytef*>(result.data()), &size, reinterpret_cast<const Bytef*>(bytes.data()),
                     bytes.size()),
            Z_OK);
  result.resize(size);
  return result;
}

const std::string compressedHeader = exchanged(header, "CompressedData = False", "CompressedData = True");

class MetaImage : public ::testing::Test {
protected:
  McHandle<HxUniformScalarField3> read(const std::string& bytes, const HxLoadOptions& options = {}) const {
    return readMetaImage(folder.write(QStringLiteral("image.mha"), bytes), options);
  }

  TestFolder folder;
};

TEST_F(MetaImage, ReadsVoxelsAndGeometry) {
  const auto field = read(header + voxels());
  EXPECT_EQ(field->latticeDimensions(), McDim3l(3, 4, 5));
  EXPECT_EQ(field->primType(), McPrimType::Uint8);
  EXPECT_EQ(bytesOf(*field), voxels());
  EXPECT_THAT(field->voxelToWorld(1, 1, 1), ElementsAre(11, 22, 33));
}

TEST_F(MetaImage, TakesTheRowsOfTheMatrixForAxes) {
  const auto field = read(exchanged(header, "1 0 0 0 1 0 0 0 1", "0 0 -1 1 0 0 0 1 0") + voxels());
  EXPECT_THAT(field->voxelToWorld(1, 0, 0), ElementsAre(10, 20, 29));
  EXPECT_THAT(field->voxelToWorld(0, 1, 0), ElementsAre(12, 20, 30));
}

TEST_F(MetaImage, ReadsCompressedVoxels) {
  EXPECT_EQ(bytesOf(*read(compressedHeader + zlibbed(voxels()))), voxels());
  EXPECT_EQ(bytesOf(*read(compressedHeader + gzipped(voxels()))), voxels());
}

TEST_F(MetaImage, ReadsTheOtherByteOrder) {
  std::string text = exchanged(header, "MET_UCHAR", "MET_SHORT");
  text = exchanged(text, "BinaryDataByteOrderMSB = False", "ElementByteOrderMSB = True");
  const auto field = read(text + std::string("\x01\x02\xFF\xFE") + std::string(116, '\0'));
  EXPECT_EQ(field->value(0, 0, 0), 0x0102);
  EXPECT_EQ(field->value(1, 0, 0), -2);
}

TEST_F(MetaImage, ReadsAFileOfVoxelsBesideTheHeader) {
  folder.write(QStringLiteral("voxels.raw"), "12345678" + voxels());
  const std::string text = exchanged(header, "LOCAL", "voxels.raw");
  const auto read = [&](const char* headerSize) {
    const QString file = folder.write(QStringLiteral("image.mhd"), headerSize + text);
    return bytesOf(*readMetaImage(file, {}));
  };
  EXPECT_EQ(read("HeaderSize = 8\n"), voxels());
  EXPECT_EQ(read("HeaderSize = -1\n"), voxels());
  const QString dotted =
      folder.write(QStringLiteral("dot.mhd"), "HeaderSize = 8\n" + exchanged(header, "LOCAL", "./voxels.raw"));
  EXPECT_EQ(bytesOf(*readMetaImage(dotted, {})), voxels());
  EXPECT_EQ(read(""), ("12345678" + voxels()).substr(0, 60));
}

TEST_F(MetaImage, TakesTheLeastThatAHeaderMaySay) {
  const auto field =
      read("NDims = 3\r\nDimSize = 3 4 5\r\nElementType = MET_CHAR\r\nElementDataFile = LOCAL\r\n" + voxels());
  EXPECT_EQ(field->primType(), McPrimType::Int8);
  EXPECT_EQ(field->geometry(), HxGeometry3());
}

TEST_F(MetaImage, CountsInMillimetres) {
  EXPECT_THAT(read("DistanceUnits = um\n" + header + voxels())->voxelToWorld(0, 0, 0), ElementsAre(0.01, 0.02, 0.03));
  EXPECT_THAT(read("DistanceUnits = cm\n" + header + voxels())->voxelToWorld(0, 0, 0), ElementsAre(100, 200, 300));
}

TEST_F(MetaImage, PassesOverAxesOfOneElement) {
  std::string text = exchanged(exchanged(header, "NDims = 3", "NDims = 4"), "3 4 5", "3 4 5 1");
  text = exchanged(text, "1 0 0 0 1 0 0 0 1", "0 1 0 0 1 0 0 0 0 0 1 0 0 0 0 1");
  text = exchanged(exchanged(text, "10 20 30", "10 20 30 40"), "1 2 3", "1 2 3 4");
  const auto field = read("ElementNumberOfChannels = 01\n" + text + voxels());
  EXPECT_EQ(field->latticeDimensions(), McDim3l(3, 4, 5));
  EXPECT_THAT(field->voxelToWorld(1, 1, 1), ElementsAre(12, 21, 33));
  EXPECT_THAT(refusal([&] { read(exchanged(text, "3 4 5 1", "3 4 1 5") + voxels()); }),
              HasSubstr("holds a series of 5 volumes; one volume is needed"));
  EXPECT_THAT(refusal([&] { read(exchanged(text, "10 20 30 40", "10 20 30") + voxels()); }),
              HasSubstr("element Offset is \"10 20 30\": 4 numbers are needed"));
}

TEST_F(MetaImage, ReadsLabels) {
  HxLoadOptions options;
  options.kind = QStringLiteral("label");
  options.values = {{7, 14}};
  const auto field = read(header + voxels(), options);
  ASSERT_NE(dynamic_cast<HxUniformLabelField3*>(field.get()), nullptr);
  EXPECT_EQ(field->value(1, 0, 0), 7);
  EXPECT_EQ(field->value(0, 1, 0), 0);
}

TEST_F(MetaImage, ReadsWhatTheToolkitWrites) {
  const HxGeometry3 geometry = obliqueGeometry();
  for (const bool isCompressed : {false, true}) {
    for (const char* name : {"written.mha", "written.mhd"}) {
      const auto io = itk::MetaImageIO::New();
      io->SetNumberOfDimensions(3);
      io->SetComponentType(itk::IOComponentEnum::SHORT);
      io->SetPixelType(itk::IOPixelEnum::SCALAR);
      io->SetUseCompression(isCompressed);
      itk::ImageIORegion region(3);
      for (unsigned axis = 0; axis < 3; ++axis) {
        io->SetDimensions(axis, 3 + axis);
        region.SetSize(axis, 3 + axis);
        io->SetSpacing(axis, geometry.voxelSize[axis]);
        io->SetOrigin(axis, geometry.origin[axis]);
        io->SetDirection(axis, std::vector<double>{geometry.direction[axis], geometry.direction[3 + axis],
                                                   geometry.direction[6 + axis]});
      }
      const auto expected = sampleField<std::int16_t>(McPrimType::Int16);
      const QString file = folder.path(QLatin1String(name));
      io->SetFileName(file.toStdString());
      io->SetIORegion(region);
      io->Write(expected->data());
      const auto field = readMetaImage(file, {});
      expectSameVoxels(*field, *expected);
      expectGeometryNear(field->geometry(), geometry, 1e-5);
    }
  }
}

TEST(MetaImageBadInput, IsReadOrRefused) {
  const BadInput input(".mha");
  input.tryUsualFaults(header + voxels());
  input.tryChangedBytes(header + voxels());
  input.tryUsualFaults(compressedHeader + zlibbed(voxels()));
  input.tryChangedBytes(compressedHeader + zlibbed(voxels()));
}

TEST(MetaImageBadInput, NamesElementAndValue) {
  const BadHeader table[] = {
      {"ObjectType = Image", "ObjectType = Tube", "element ObjectType is \"Tube\": \"Image\" is needed"},
      {"NDims = 3", "NDims = 2", "element DimSize is \"3 4 5\": 2 numbers are needed"},
      {"NDims = 3", "NDims = many", "element NDims is \"many\": a number of axes is needed"},
      {"NDims = 3\n", "", "element NDims is missing"},
      {"DimSize = 3 4 5\n", "", "element DimSize is missing"},
      {"3 4 5", "3 4 0", "element DimSize is \"3 4 0\": 0 is no size"},
      {"3 4 5", "3 -4 5", "element DimSize is \"3 -4 5\": -4 is no size"},
      {"3 4 5", "3 4 5,0", "element DimSize is \"3 4 5,0\": 3 numbers are needed"},
      {"3 4 5", "3 4 99999999999999999999", "element DimSize is \"3 4 99999999999999999999\": 3 numbers are needed"},
      {"3 4 5", "3037000500 3037000500 2", "is said to have 3037000500 x 3037000500 x 2 voxels, which is no size"},
      {"3 4 5", "65536 65536 65536",
       "is cut: it holds 314 bytes, the header asks for 281474976710656 behind the first 254"},
      {"3 4 5", "3 4 6", "is cut: it holds 302 bytes, the header asks for 72 behind the first 242"},
      {"NDims = 3", "ElementNumberOfChannels = 3\nNDims = 3",
       "holds vectors of 3 components; plain numbers are needed"},
      {"NDims = 3", "ElementNumberOfChannels = 0\nNDims = 3",
       "element ElementNumberOfChannels is \"0\": a number is needed"},
      {"MET_UCHAR", "MET_UCHAR_ARRAY", "element ElementType is \"MET_UCHAR_ARRAY\": no type of plain numbers"},
      {"MET_UCHAR", "", "element ElementType is \"\": no type of plain numbers"},
      {"Spacing = 1 2 3", "Spacing = 1 nan 3", "the voxel size along axis 1 is nan"},
      {"Spacing = 1 2 3", "Spacing = 1 2 -3", "the voxel size along axis 2 is -3"},
      {"Spacing = 1 2 3", "Spacing = 0 2 3", "the voxel size along axis 0 is 0"},
      {"Offset = 10", "Offset = inf", "the origin along axis 0 is inf"},
      {"0 0 0 1 0 0 0 1", "0 0 0.8 0.6 0 0 0 1", "axes 0 and 1 of its lattice are not perpendicular (cosine 0.8)"},
      {"0 0 0 1 0 0 0 1", "0 0 0 0 0 0 0 1", "the length of the direction along axis 1 is 0"},
      {"BinaryData = True", "BinaryData = False",
       "element BinaryData is \"False\": numbers that are written out are not read"},
      {"NDims = 3", "ElementToIntensityFunctionSlope = 2\nNDims = 3",
       "element ElementToIntensityFunctionSlope is \"2\": only values without a scale are read"},
      {"NDims = 3", "HeaderSize = 8\nNDims = 3",
       "element HeaderSize is \"8\": only voxels in a file of their own have one"},
      {"NDims = 3", "NDims = 3\nNDims = 3", "element \"NDims\" stands there twice"},
      {"NDims = 3", "NDims: 3", "is not a MetaImage: line 2 is \"NDims: 3\", not \"Name = Value\""},
      {"NDims = 3", "DistanceUnits = miles\nNDims = 3",
       "element DistanceUnits is \"miles\": \"mm\", \"um\" or \"cm\" is needed"},
      {"LOCAL", "LIST", "element ElementDataFile is \"LIST\": the name of one file, or LOCAL, is needed"},
      {"LOCAL", "image%03d.raw 1 5 1",
       "element ElementDataFile is \"image%03d.raw 1 5 1\": the name of one file, or LOCAL, is needed"},
      {"LOCAL", "/etc/passwd", "ElementDataFile: \"/etc/passwd\" is not the plain name of a file in the same folder"},
      {"LOCAL", "../x.raw", "ElementDataFile: \"../x.raw\" is not the plain name of a file in the same folder"},
      {"LOCAL", "missing.raw", "ElementDataFile: \"missing.raw\" does not exist beside it"},
      {"LOCAL", "link.raw", "ElementDataFile: \"link.raw\" is not a regular file"},
      {"LOCAL", "pipe.raw", "ElementDataFile: \"pipe.raw\" is not a regular file"},
  };
  const BadInput input(".mha");
  const std::string there = input.folder().write(QStringLiteral("there.raw"), voxels()).toStdString();
  ASSERT_EQ(::symlink(there.c_str(), input.folder().path(QStringLiteral("link.raw")).toStdString().c_str()), 0);
  ASSERT_EQ(::mkfifo(input.folder().path(QStringLiteral("pipe.raw")).toStdString().c_str(), 0600), 0);
  for (const BadHeader& bad : table)
    EXPECT_EQ(input.outcomeOf(exchanged(header, bad.part, bad.other) + voxels()), bad.refusal);
}

TEST(MetaImageBadInput, CountsWhatStandsInFrontOfTheVoxels) {
  const BadInput input(".mha");
  input.folder().write(QStringLiteral("voxels.raw"), voxels());
  const std::string detached = exchanged(header, "LOCAL", "voxels.raw");
  EXPECT_EQ(input.outcomeOf("HeaderSize = 0\n" + detached), "");
  EXPECT_EQ(input.outcomeOf("HeaderSize = 1\n" + detached),
            "is cut: it holds 60 bytes, the header asks for 60 behind the first 1");
  EXPECT_EQ(input.outcomeOf("HeaderSize = 9223372036854775807\n" + detached),
            "is cut: it holds 60 bytes, the header asks for 60 behind the first 9223372036854775807");
  EXPECT_EQ(input.outcomeOf("HeaderSize = -2\n" + detached), "element HeaderSize is \"-2\": no number of bytes");
}

TEST(MetaImageBadInput, TellsASeriesAndAPlane) {
  const BadInput input(".mha");
  std::string text = exchanged(exchanged(header, "NDims = 3", "NDims = 4"), "3 4 5", "3 4 5 2");
  EXPECT_EQ(input.outcomeOf(text + voxels()), "holds a series of 2 volumes; one volume is needed");
  text = exchanged(exchanged(header, "NDims = 3", "NDims = 2"), "3 4 5", "3 20");
  EXPECT_EQ(input.outcomeOf(text + voxels()), "has 2 dimensions; a volume with 3 is needed");
}

TEST(MetaImageBadInput, FindsDamageOfCompressedVoxels) {
  const BadInput input(".mha");
  const std::string packed = zlibbed(voxels());
  for (std::size_t i = 3; i < packed.size(); ++i) {
    std::string changed = packed;
    changed[i] = static_cast<char>(changed[i] ^ 0x10);
    EXPECT_NE(input.outcomeOf(compressedHeader + changed), "") << i;
  }
  EXPECT_THAT(input.outcomeOf(exchanged(compressedHeader, "3 4 5", "60000 60000 60") + packed),
              StartsWith("is cut: it holds "));
  EXPECT_EQ(input.outcomeOf(compressedHeader + zlibbed(voxels().substr(1))),
            "is cut: it holds 59 bytes of voxels, the header asks for 60");
}

}  // namespace
