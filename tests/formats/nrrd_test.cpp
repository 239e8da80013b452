#include <itkNrrdImageIO.h>

#include "quarn/formats/readNrrd.h"
#include "tests/formats/badInput.h"
#include "tests/formats/sampleFields.h"
#include "tests/support/RecordingProgress.h"

namespace {

using quarn::formats::readNrrd;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const std::string header =
    "NRRD0004\ntype: uchar\ndimension: 3\nspace: left-posterior-superior\nsizes: 3 4 5\n"
    "space directions: (1,0,0) (0,2,0) (0,0,3)\nkinds: domain domain domain\nendian: little\nencoding: raw\n"
    "space origin: (10,20,30)\n\n";

std::string voxels() {
  std::string bytes(60, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(7 * i);
  return bytes;
}

class Nrrd : public ::testing::Test {
protected:
  McHandle<HxUniformScalarField3> read(const std::string& bytes) const {
    return readNrrd(folder.write(QStringLiteral("image.nrrd"), bytes), {});
  }

  TestFolder folder;
};

TEST_F(Nrrd, ReadsVoxelsAndGeometry) {
  const auto field = read(header + voxels());
  EXPECT_EQ(field->latticeDimensions(), McDim3l(3, 4, 5));
  EXPECT_EQ(bytesOf(*field), voxels());
  EXPECT_THAT(field->voxelToWorld(1, 1, 1), ElementsAre(11, 22, 33));
}

TEST_F(Nrrd, TurnsOtherSpaces) {
  const auto placed = [&](const char* space) {
    return read(exchanged(header, "left-posterior-superior", space) + voxels())->voxelToWorld(1, 1, 1);
  };
  EXPECT_THAT(placed("right-anterior-superior"), ElementsAre(-11, -22, 33));
  EXPECT_THAT(placed("RAS"), ElementsAre(-11, -22, 33));
  EXPECT_THAT(placed("left-anterior-superior"), ElementsAre(11, -22, 33));
  EXPECT_THAT(placed("scanner-xyz"), ElementsAre(11, 22, 33));
}

TEST_F(Nrrd, ReadsSpacingsWithoutASpace) {
  const auto field =
      read("NRRD0001\ntype: uchar\ndimension: 3\nsizes: 3 4 5\nspacings: 2 3 4\nencoding: raw\n\n" + voxels());
  EXPECT_THAT(field->voxelToWorld(1, 1, 1), ElementsAre(2, 3, 4));
}

TEST_F(Nrrd, TurnsAxesWithoutDirectionsToo) {
  const auto field = read(
      "NRRD0004\ntype: uchar\ndimension: 3\nspace: RAS\nsizes: 3 4 5\nspacings: 2 3 4\nspace origin: (10,20,30)\n"
      "encoding: raw\n\n" +
      voxels());
  EXPECT_THAT(field->voxelToWorld(0, 0, 0), ElementsAre(-10, -20, 30));
  EXPECT_THAT(field->voxelToWorld(1, 1, 1), ElementsAre(-12, -23, 34));
}

TEST_F(Nrrd, CountsInMillimetres) {
  const auto withUnits = [&](const std::string& units) {
    return read(exchanged(header, "space origin", "space units: " + units + "\nspace origin") + voxels());
  };
  EXPECT_THAT(withUnits("\"mm\" \"mm\" \"mm\"")->voxelToWorld(1, 1, 1), ElementsAre(11, 22, 33));
  EXPECT_THAT(withUnits("\"cm\" \"mm\" \"m\"")->voxelToWorld(1, 1, 1), ElementsAre(110, 22, 33000));
  const HxGeometry3 geometry = withUnits("\"um\" \"um\" \"\u00B5m\"")->geometry();
  EXPECT_THAT(geometry.voxelSize, ElementsAre(0.001, 0.002, 0.003));
  EXPECT_THAT(geometry.origin, ElementsAre(0.01, 0.02, 0.03));
  for (const char* bad : {"\"furlong\" \"mm\" \"mm\"", "\"mm\" \"mm\"", "mm mm mm"})
    EXPECT_THAT(refusal([&] { withUnits(bad); }), HasSubstr("field \"space units\" is \"")) << bad;
}

TEST_F(Nrrd, ReadsTheEndsOfAxes) {
  const auto withEnds = [&](const std::string& fields) {
    return read("NRRD0004\ntype: uchar\ndimension: 3\nsizes: 3 4 5\naxis mins: 10 20 30\n" + fields +
                "encoding: raw\n\n" + voxels());
  };
  const std::string ends = "axis maxs: 16 32 40\n";
  auto field = withEnds(ends + "centers: cell cell node\n");
  EXPECT_THAT(field->geometry().voxelSize, ElementsAre(2, 3, 2.5));
  EXPECT_THAT(field->geometry().origin, ElementsAre(11, 21.5, 30));
  field = withEnds(ends + "units: \"cm\" \"mm\" \"mm\"\n");
  EXPECT_THAT(field->geometry().voxelSize, ElementsAre(20, 3, 2));
  EXPECT_THAT(field->geometry().origin, ElementsAre(110, 21.5, 31));
  field = withEnds("spacings: 4 4 4\ncenterings: node node node\n");
  EXPECT_THAT(field->voxelToWorld(1, 1, 1), ElementsAre(14, 24, 34));
  EXPECT_THAT(refusal([&] { withEnds("axis maxs: 1 2\n"); }),
              HasSubstr("field \"axis maxs\" is \"1 2\": a number for each axis is needed"));
  EXPECT_THAT(refusal([&] { withEnds("axis maxs: 1 2 3\n"); }), HasSubstr("the voxel size along axis 0 is -3"));
}

TEST_F(Nrrd, RefusesFewCompressedBytesOfManyVoxelsBeforeMakingRoom) {
  const std::string text = exchanged(exchanged(header, "raw", "gzip"), "3 4 5", "512 512 512");
  RecordingProgress progress;
  const ProgressScope scope(progress);
  EXPECT_THAT(refusal([&] { read(text + gzipped("1") + std::string(200'000, '\0')); }),
              HasSubstr(": is cut: it holds 1 bytes of voxels, the header asks for 134217728"));
  for (const float value : progress.values) EXPECT_LT(value, 0.5F) << "reading had begun";
}

TEST_F(Nrrd, ReadsManyCompressedVoxels) {
  const std::string text = exchanged(exchanged(header, "raw", "gzip"), "3 4 5", "512 512 300");
  std::string many(std::size_t{512} * 512 * 300, '\0');
  for (std::size_t i = 0; i < many.size(); ++i) many[i] = static_cast<char>(i / 100'003);
  EXPECT_EQ(bytesOf(*read(text + gzipped(many))), many);
}

TEST_F(Nrrd, ReadsCompressedVoxels) {
  EXPECT_EQ(bytesOf(*read(exchanged(header, "raw", "gzip") + gzipped(voxels()))), voxels());
}

TEST_F(Nrrd, ReadsTheOtherByteOrder) {
  const std::string text = exchanged(exchanged(header, "uchar", "short"), "little", "big");
  EXPECT_EQ(read(text + std::string("\x01\x02", 2) + std::string(118, '\0'))->value(0, 0, 0), 0x0102);
}

TEST_F(Nrrd, ReadsAFileOfVoxelsBesideTheHeader) {
  folder.write(QStringLiteral("voxels.raw"), "1234" + voxels());
  std::string text = exchanged(header, "encoding: raw\n", "encoding: raw\nbyte skip: 4\ndata file: voxels.raw\n");
  EXPECT_EQ(bytesOf(*readNrrd(folder.write(QStringLiteral("a.nhdr"), text), {})), voxels());
  EXPECT_EQ(
      bytesOf(*readNrrd(folder.write(QStringLiteral("a.nhdr"), exchanged(text, "voxels.raw", "./voxels.raw")), {})),
      voxels());
  text = exchanged(text, "byte skip: 4", "byte skip: -1");
  EXPECT_EQ(bytesOf(*readNrrd(folder.write(QStringLiteral("a.nhdr"), text), {})), voxels());
}

TEST_F(Nrrd, ReadsWhatTheToolkitWrites) {
  const HxGeometry3 geometry = obliqueGeometry();
  for (const bool isCompressed : {false, true}) {
    for (const char* name : {"written.nrrd", "written.nhdr"}) {
      const auto io = itk::NrrdImageIO::New();
      io->SetNumberOfDimensions(3);
      io->SetComponentType(itk::IOComponentEnum::FLOAT);
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
      const auto expected = sampleField<float>(McPrimType::Float);
      const QString file = folder.path(QLatin1String(name));
      io->SetFileName(file.toStdString());
      io->SetIORegion(region);
      io->Write(expected->data());
      const auto field = readNrrd(file, {});
      expectSameVoxels(*field, *expected);
      expectGeometryNear(field->geometry(), geometry, 1e-12);
    }
  }
}

TEST(NrrdBadInput, IsReadOrRefused) {
  const BadInput input(".nrrd");
  input.tryUsualFaults(header + voxels());
  input.tryChangedBytes(header + voxels());
  const std::string packed = exchanged(header, "raw", "gzip") + gzipped(voxels());
  input.tryUsualFaults(packed);
  input.tryChangedBytes(packed);
}

TEST(NrrdBadInput, TellsWhatItHoldsInstead) {
  const auto withAxes = [](const char* kinds, const char* sizes, const char* directions) {
    std::string text = exchanged(header, "dimension: 3", "dimension: 4");
    text = exchanged(exchanged(text, "domain domain domain", kinds), "3 4 5", sizes);
    return exchanged(text, "(1,0,0) (0,2,0) (0,0,3)", directions) + voxels();
  };
  const BadInput input(".nrrd");
  const char* const first = "none (1,0,0) (0,2,0) (0,0,3)";
  const char* const last = "(1,0,0) (0,2,0) (0,0,3) none";
  EXPECT_EQ(input.outcomeOf(withAxes("RGB-color domain domain domain", "3 4 5 1", first)),
            "holds RGB colours; plain numbers are needed");
  EXPECT_EQ(input.outcomeOf(withAxes("RGBA-color domain domain domain", "4 3 5 1", first)),
            "holds RGBA colours; plain numbers are needed");
  EXPECT_EQ(input.outcomeOf(withAxes("complex domain domain domain", "2 3 5 2", first)),
            "holds complex numbers; plain numbers are needed");
  EXPECT_EQ(input.outcomeOf(withAxes("vector domain domain domain", "6 2 5 1", first)),
            "holds vectors of 6 components; plain numbers are needed");
  EXPECT_EQ(input.outcomeOf(withAxes("domain domain domain list", "3 4 1 5", last)),
            "holds a series of 5 volumes; one volume is needed");
  EXPECT_EQ(input.outcomeOf(withAxes("domain domain domain list", "3 4 5 1", last)), "");
  EXPECT_EQ(input.outcomeOf("NRRD0001\ntype: uchar\ndimension: 2\nsizes: 3 20\nencoding: raw\n\n" + voxels()),
            "has 2 dimensions; a volume with 3 is needed");
  EXPECT_EQ(input.outcomeOf("NRRD0001\ntype: uchar\ndimension: 1\nsizes: 60\nencoding: raw\n\n" + voxels()),
            "has 1 dimensions; a volume with 3 is needed");
}

TEST(NrrdBadInput, NamesFieldAndValue) {
  const BadHeader table[] = {
      {"3 4 5", "3 4 6", "is cut: it holds 263 bytes, the header asks for 72 behind the first 203"},
      {"3 4 5", "65536 65536 65536",
       "is cut: it holds 275 bytes, the header asks for 281474976710656 behind the first 215"},
      {"encoding: raw", "encoding: hex", "field \"encoding\" is \"hex\"; \"raw\" and \"gzip\" are read"},
      {"encoding: raw", "encoding: bzip2", "field \"encoding\" is \"bzip2\"; \"raw\" and \"gzip\" are read"},
      {"encoding: raw", "encoding: ascii", "field \"encoding\" is \"text\"; \"raw\" and \"gzip\" are read"},
      {"endian: little", "line skip: 2",
       "field \"line skip\" is 2; only voxels without lines in front of them are read"},
      {"(1,0,0) (0,2,0)", "(1,0,0) (1,1,0)", "axes 0 and 1 of its lattice are not perpendicular (cosine 0.707106781)"},
      {"(0,2,0)", "(0,0,0)", "the voxel size along axis 1 is 0"},
  };
  const BadInput input(".nrrd");
  for (const BadHeader& bad : table)
    EXPECT_EQ(input.outcomeOf(exchanged(header, bad.part, bad.other) + voxels()), bad.refusal);
  EXPECT_EQ(
      input.outcomeOf(exchanged(exchanged(header, "uchar", "short"), "endian: little\n", "") + voxels() + voxels()),
      "the field \"endian\" is missing");
  EXPECT_THAT(
      input.outcomeOf(exchanged(exchanged(header, "raw", "gzip"), "3 4 5", "60000 60000 60") + gzipped(voxels())),
      StartsWith("is cut: it holds "));
}

TEST(NrrdBadInput, IsRefusedByTheHeaderAlone) {
  const BadHeader table[] = {
      {"3 4 5", "3 4 0", ""},
      {"3 4 5", "3 -4 5", ""},
      {"3 4 5", "3 4", ""},
      {"3 4 5", "3037000500 3037000500 2", ""},
      {"3 4 5", "3 4 99999999999999999999", ""},
      {"dimension: 3", "dimension: 17", ""},
      {"uchar", "block", ""},
      {"uchar", "bit", ""},
      {"(1,0,0)", "(nan,0,0)", ""},
      {"(1,0,0)", "(1,0)", ""},
      {"(10,20,30)", "(10,20,inf)", ""},
      {"encoding: raw", "encoding: raw\ndata file: /etc/passwd", ""},
      {"encoding: raw", "encoding: raw\ndata file: ../x.raw", ""},
      {"encoding: raw", "encoding: raw\ndata file: ./../x.raw", ""},
      {"encoding: raw", "encoding: raw\ndata file: ./", ""},
      {"encoding: raw", "encoding: raw\ndata file: missing.raw", ""},
      {"encoding: raw", "encoding: raw\ndata file: link.raw", ""},
      {"encoding: raw", "encoding: raw\ndata file: pipe.raw", ""},
      {"encoding: raw", "encoding: raw\ndata file: slice%03d.raw 1 5 1", ""},
      {"space origin: (10,20,30)\n", "data file: LIST\nthere.raw\n", ""},
  };
  const BadInput input(".nrrd");
  const std::string there = input.folder().write(QStringLiteral("there.raw"), voxels()).toStdString();
  ASSERT_EQ(::symlink(there.c_str(), input.folder().path(QStringLiteral("link.raw")).toStdString().c_str()), 0);
  ASSERT_EQ(::mkfifo(input.folder().path(QStringLiteral("pipe.raw")).toStdString().c_str(), 0600), 0);
  for (const BadHeader& bad : table)
    EXPECT_NE(input.outcomeOf(exchanged(header, bad.part, bad.other) + voxels()), "") << bad.other;
}

}  // namespace
