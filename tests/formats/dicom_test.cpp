#include <cmath>

#include "quarn/formats/readDicom.h"
#include "tests/formats/badInput.h"
#include "tests/formats/dicomBytes.h"
#include "tests/formats/sampleFields.h"
#include "tests/support/RecordingProgress.h"

namespace {

using quarn::formats::readDicomFile;
using quarn::formats::readDicomFolder;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class Dicom : public ::testing::Test {
protected:
  void add(const char* name, const DicomBytes& bytes, bool isExplicit = true) const {
    folder.write(QLatin1String(name), bytes.file(isExplicit));
  }
  McHandle<HxUniformScalarField3> read(const HxLoadOptions& options = {}) const {
    return readDicomFolder(folder.path(QString()), options);
  }
  std::string refusalOfFolder() const {
    const std::string text = refusal([&] { read(); });
    const std::string place = folder.path(QString()).chopped(1).toStdString();
    EXPECT_THAT(text, StartsWith(place));
    return text.substr(std::min(text.size(), place.size()));
  }

  TestFolder folder;
  HxRecordingSink messages;
};

TEST_F(Dicom, SortsSlicesByTheirPositions) {
  add("a", DicomBytes(6.0, 300));
  DicomBytes implicit(0.0, 100);
  implicit.setText(DicomBytes::syntax, "UI", "1.2.840.10008.1.2");
  add("b.dcm", implicit, false);
  add("c", DicomBytes(3.0, 200));
  const auto field = read();
  EXPECT_EQ(field->latticeDimensions(), McDim3l(3, 4, 3));
  EXPECT_EQ(field->primType(), McPrimType::Uint16);
  EXPECT_EQ(field->value(1, 0, 0), 101);
  EXPECT_EQ(field->value(2, 3, 1), 211);
  EXPECT_EQ(field->value(0, 0, 2), 300);
  EXPECT_THAT(field->voxelToWorld(0, 0, 0), ElementsAre(-10, -20, 0));
  EXPECT_THAT(field->voxelToWorld(1, 1, 1), ElementsAre(-9.5, -18, 3));
  EXPECT_THAT(messages.consoleEntries, IsEmpty());
}

TEST_F(Dicom, KeepsTheDirectionOfSlices) {
  // Columns to the back, rows down: sagittal slices.
  const char* const positions[] = {"5\\-20\\30", "1\\-20\\30", "3\\-20\\30"};
  for (int i = 0; i < 3; ++i) {
    DicomBytes bytes(0, static_cast<std::uint16_t>(100 * i));
    bytes.setText(DicomBytes::orientation, "DS", "0\\1\\0\\0\\0\\-1");
    bytes.setText(DicomBytes::position, "DS", positions[i]);
    add(std::to_string(i).c_str(), bytes);
  }
  const auto field = read();
  EXPECT_THAT(field->voxelToWorld(0, 0, 0), ElementsAre(5, -20, 30));
  EXPECT_THAT(field->voxelToWorld(1, 0, 0), ElementsAre(5, -19.5, 30));
  EXPECT_THAT(field->voxelToWorld(0, 1, 0), ElementsAre(5, -20, 28));
  EXPECT_THAT(field->voxelToWorld(0, 0, 1), ElementsAre(3, -20, 30));
  EXPECT_EQ(field->value(0, 0, 1), 200);
}

TEST_F(Dicom, ScalesPixels) {
  DicomBytes bytes(0, 10);
  bytes.setNumber(DicomBytes::stored, 12);
  bytes.setNumber(DicomBytes::highBit, 11);
  bytes.setText(DicomBytes::intercept, "DS", "-1024");
  add("a.dcm", bytes);
  auto field = read();
  EXPECT_EQ(field->primType(), McPrimType::Int16);
  EXPECT_EQ(field->value(0, 0, 0), -1014);
  bytes.setText(DicomBytes::slope, "DS", "0.5");
  add("a.dcm", bytes);
  field = read();
  EXPECT_EQ(field->primType(), McPrimType::Float);
  EXPECT_EQ(field->value(1, 0, 0), -1018.5);
}

TEST_F(Dicom, ScalesEachSliceByItsOwn) {
  DicomBytes first(0.0, 10), second(3.0, 10);
  second.setText(DicomBytes::slope, "DS", "2");
  add("a", first);
  add("b", second);
  const auto field = read();
  EXPECT_EQ(field->primType(), McPrimType::Int32);
  EXPECT_EQ(field->value(0, 0, 0), 10);
  EXPECT_EQ(field->value(0, 0, 1), 20);
}

TEST_F(Dicom, LeavesOutBitsThatAreNotStored) {
  DicomBytes bytes;
  std::string pixels;
  for (int i = 0; i < 12; ++i) pixels += DicomBytes::two(static_cast<std::uint16_t>(0xF000 | (i == 0 ? 0x0FFF : i)));
  bytes.set(DicomBytes::pixels, "OW", pixels);
  bytes.setNumber(DicomBytes::stored, 12);
  bytes.setNumber(DicomBytes::highBit, 11);
  bytes.setNumber(DicomBytes::sign, 1);
  add("a", bytes);
  const auto field = read();
  EXPECT_EQ(field->primType(), McPrimType::Int16);
  EXPECT_EQ(field->value(0, 0, 0), -1);
  EXPECT_EQ(field->value(1, 0, 0), 1);
}

TEST_F(Dicom, PassesOverNestedElements) {
  DicomBytes bytes;
  bytes.addSequence();
  add("a", bytes);
  EXPECT_EQ(read()->latticeDimensions(), McDim3l(3, 4, 1));
}

TEST_F(Dicom, PassesOverOtherFiles) {
  add("a.dcm", DicomBytes());
  folder.write(QStringLiteral("README"), "nothing");
  folder.write(QStringLiteral(".hidden"), "nothing");
  DicomBytes report;
  for (const auto tag : {DicomBytes::rows, DicomBytes::columns, DicomBytes::pixels}) report.remove(tag);
  add("report", report);
  EXPECT_EQ(read()->latticeDimensions(), McDim3l(3, 4, 1));
  ASSERT_EQ(messages.consoleEntries.size(), 1U);
  EXPECT_THAT(messages.consoleEntries.front(), HasSubstr(": 2 files that are no DICOM images were passed over"));
}

TEST_F(Dicom, ReadsLabels) {
  add("a", DicomBytes(0, 250));
  HxLoadOptions options;
  options.kind = QStringLiteral("label");
  const auto field = read(options);
  EXPECT_NE(dynamic_cast<HxUniformLabelField3*>(field.get()), nullptr);
}

TEST_F(Dicom, LoadsFoldersAndSingleSlices) {
  quarn::formats::registerFormats();
  add("a.dcm", DicomBytes(0.0));
  add("b.dcm", DicomBytes(3.0));
  for (const bool isFolder : {true, false}) {
    const QString path = folder.path(isFolder ? QString() : QStringLiteral("b.dcm"));
    const QStringList names = HxFileTypes::instance().load(path);
    const McHandle<HxUniformScalarField3> field =
        dynamic_cast<HxUniformScalarField3*>(HxObjectPool::instance().find(names.front()));
    EXPECT_EQ(field->latticeDimensions().nz, isFolder ? 2 : 1);
    EXPECT_EQ(QDir::cleanPath(field->getLoadCmd()), QDir::cleanPath(path));
    EXPECT_EQ(field->getLabel(), QFileInfo(QDir::cleanPath(path)).fileName());
    HxObjectPool::instance().remove(field.get());
  }
}

TEST_F(Dicom, ListsTheSeriesOfAFolder) {
  add("a", DicomBytes(0.0));
  add("b", DicomBytes(3.0));
  DicomBytes other;
  other.setText(DicomBytes::series, "UI", "1.2.4");
  other.setText(DicomBytes::description, "LO", "Neck");
  add("c", other);
  const auto size = std::to_string(other.file().size());
  EXPECT_EQ(refusalOfFolder(), ": holds 2 series, one series is needed; \"Head\" (\"1.2.3\"), 2 files, " +
                                   std::to_string(DicomBytes().file().size() + DicomBytes(3.0).file().size()) +
                                   " bytes; \"Neck\" (\"1.2.4\"), 1 files, " + size + " bytes");
}

TEST_F(Dicom, ListsSeriesBesideFilesThatCannotBeRead) {
  add("a", DicomBytes(0.0));
  DicomBytes report;
  for (const auto tag : {DicomBytes::rows, DicomBytes::columns, DicomBytes::pixels}) report.remove(tag);
  add("b.dcm", report);
  DicomBytes colours;
  colours.setText(DicomBytes::photometric, "CS", "RGB");
  add("c", colours);
  DicomBytes compressed;
  compressed.setText(DicomBytes::syntax, "UI", "1.2.840.10008.1.2.4.90");
  add("d", compressed);
  const std::string text = refusalOfFolder();
  EXPECT_THAT(text, StartsWith(": holds 1 series and 3 files that cannot be read, one series is needed; \"Head\" "
                               "(\"1.2.3\"), 1 files, " +
                               std::to_string(DicomBytes().file().size()) +
                               " bytes; b.dcm: is not a DICOM image; c: holds RGB colours; plain numbers are needed; "
                               "d: has the transfer syntax \"1.2.840.10008.1.2.4.90\""));
}

TEST_F(Dicom, NamesDescriptionsAndFilesAsTheyAre) {
  DicomBytes odd(0.0);
  odd.setText(DicomBytes::description, "LO", "%3 %4");
  add("a%3", odd);
  odd = DicomBytes(3.0);
  odd.setText(DicomBytes::series, "UI", "9.9");
  add("b", odd);
  EXPECT_THAT(refusalOfFolder(), HasSubstr("\"%3 %4\" (\"1.2.3\"), 1 files, "));
  add("b", DicomBytes(3.0));
  add("c%4", DicomBytes(9.0));
  EXPECT_EQ(refusalOfFolder(), ": slices are missing: from b to c%4 it is 6 mm, elsewhere 3 mm");
  odd = DicomBytes(6.0);
  odd.setText(DicomBytes::position, "DS", "-9\\-20\\6");
  add("c%4", odd);
  EXPECT_THAT(refusalOfFolder(), StartsWith(": c%4 is shifted by 1 mm against b: "));
}

TEST_F(Dicom, NamesSlicesThatLieTooClose) {
  for (const int z : {0, 1, 4, 7, 10}) add(std::to_string(z).c_str(), DicomBytes(z));
  EXPECT_EQ(refusalOfFolder(), ": slices lie too close: from 0 to 1 it is 1 mm, elsewhere 3 mm");
}

TEST_F(Dicom, NamesASeriesOfVolumes) {
  for (const int time : {0, 1, 2})
    for (const int z : {0, 3}) add(std::to_string(10 * time + z).c_str(), DicomBytes(z));
  EXPECT_EQ(refusalOfFolder(),
            ": holds a series of 3 volumes, as many files in each of 2 places; one volume is needed");
}

TEST_F(Dicom, TakesDistancesThatWereRounded) {
  for (const double z : {0.0, 0.62, 1.25, 1.88, 2.5}) add(std::to_string(z).c_str(), DicomBytes(z));
  EXPECT_DOUBLE_EQ(read()->geometry().voxelSize[2], 0.625);
  for (const double z : {0.0, 0.62, 1.25, 1.88, 2.5}) QFile::remove(folder.path(QString::number(z, 'f', 6)));
  for (const double z : {0.0, 0.05, 0.1, 0.16}) add(std::to_string(z).c_str(), DicomBytes(z));
  EXPECT_THAT(refusalOfFolder(), StartsWith(": slices are missing")) << "a fifth of a small distance is no rounding";
}

TEST_F(Dicom, TakesCosinesThatWereRounded) {
  for (int i = 0; i < 3; ++i) {
    DicomBytes bytes(0, 0);
    bytes.setText(DicomBytes::orientation, "DS", "0.707\\0.707\\0\\0\\0\\-1");
    bytes.setText(DicomBytes::position, "DS", std::to_string(-2.1213 * i) + "\\" + std::to_string(2.1213 * i) + "\\0");
    add(std::to_string(i).c_str(), bytes);
  }
  const HxGeometry3 geometry = read()->geometry();
  EXPECT_NEAR(geometry.direction[0], std::sqrt(0.5), 1e-12);
  EXPECT_NEAR(geometry.direction[3], std::sqrt(0.5), 1e-12);
  EXPECT_NEAR(geometry.voxelSize[2], 3.0, 1e-3);
  DicomBytes skewed;
  skewed.setText(DicomBytes::orientation, "DS", "1\\0\\0\\0.01\\1\\0");
  folder.write(QStringLiteral("0"), skewed.file());
  QFile::remove(folder.path(QStringLiteral("1")));
  QFile::remove(folder.path(QStringLiteral("2")));
  EXPECT_THAT(refusalOfFolder(), HasSubstr("are not perpendicular"));
}

TEST_F(Dicom, TellsThatTheSizeOfPixelsIsUnknown) {
  for (const double z : {0.0, 3.0}) {
    DicomBytes bytes(z);
    bytes.remove(DicomBytes::pixelSize);
    add(std::to_string(z).c_str(), bytes);
  }
  EXPECT_THAT(read()->geometry().voxelSize, ElementsAre(1, 1, 3));
  ASSERT_EQ(messages.consoleEntries.size(), 1U);
  EXPECT_THAT(messages.consoleEntries.front(),
              HasSubstr(": does not tell the size of its pixels, which is taken for 1"));
}

TEST_F(Dicom, ReadsSlicesOfManyPieces) {
  DicomBytes bytes;
  bytes.setNumber(DicomBytes::columns, 2000);
  bytes.setNumber(DicomBytes::rows, 2500);
  std::string pixels;
  for (int i = 0; i < 2000 * 2500; ++i) pixels += DicomBytes::two(static_cast<std::uint16_t>(i % 65521));
  bytes.set(DicomBytes::pixels, "OW", pixels);
  const QString file = folder.write(QStringLiteral("a.dcm"), bytes.file());
  RecordingProgress progress;
  const ProgressScope scope(progress);
  const auto field = readDicomFile(file, {});
  EXPECT_GT(progress.values.size(), 2U);
  const auto* const values = static_cast<const std::uint16_t*>(field->data());
  for (int i = 0; i < 2000 * 2500; ++i) ASSERT_EQ(values[i], i % 65521) << i;
}

TEST_F(Dicom, RefusesSlicesThatMakeNoVolume) {
  EXPECT_EQ(refusalOfFolder(), ": is a folder without DICOM images");
  for (const double z : {0.0, 3.0, 6.0, 9.0}) add(std::to_string(z).c_str(), DicomBytes(z));
  QFile::remove(folder.path(QStringLiteral("6.000000")));
  add("more", DicomBytes(12.0));
  EXPECT_EQ(refusalOfFolder(), ": slices are missing: from 3.000000 to 9.000000 it is 6 mm, elsewhere 3 mm");
  add("more", DicomBytes(9.0));
  EXPECT_EQ(refusalOfFolder(), ": 9.000000 and more lie in the same place");
  DicomBytes odd(6.0);
  odd.setText(DicomBytes::position, "DS", "-9\\-20\\6");
  add("more", odd);
  EXPECT_THAT(refusalOfFolder(), StartsWith(": more is shifted by 1 mm against 3.000000: "));
  odd.setText(DicomBytes::position, "DS", "");
  add("more", odd);
  EXPECT_EQ(refusalOfFolder(), ": more does not tell where it lies");
  odd = DicomBytes(6.0);
  odd.setNumber(DicomBytes::columns, 2);
  add("more", odd);
  EXPECT_EQ(refusalOfFolder(), ": more has another size (2 x 4) than 0.000000");
  odd = DicomBytes(6.0);
  odd.setText(DicomBytes::orientation, "DS", "0\\1\\0\\1\\0\\0");
  add("more", odd);
  EXPECT_EQ(refusalOfFolder(), ": more has another direction than 0.000000");
  odd = DicomBytes(6.0);
  odd.setText(DicomBytes::pixelSize, "DS", "2\\2");
  add("more", odd);
  EXPECT_EQ(refusalOfFolder(), ": more has pixels of another size (2 x 2 mm) than 0.000000");
  folder.write(QStringLiteral("more"), DicomBytes(6.0).file().substr(0, 200));
  EXPECT_THAT(refusalOfFolder(), HasSubstr(" bytes; more: is cut"));
  QFile::remove(folder.path(QStringLiteral("more")));
  folder.write(QStringLiteral("more.dcm"), "no DICOM");
  EXPECT_THAT(refusalOfFolder(), HasSubstr(" bytes; more.dcm: is not a DICOM image"));
}

TEST_F(Dicom, StopsWhenTheUserWants) {
  for (const double z : {0.0, 3.0}) add(std::to_string(z).c_str(), DicomBytes(z));
  for (int after = 0; after < 5; ++after) {
    RecordingProgress progress;
    progress.interruptAfter = after;
    const ProgressScope scope(progress);
    EXPECT_EQ(refusalOfFolder(), ": reading was interrupted");
    EXPECT_EQ(progress.calls.size(), 2U);
  }
}

TEST(DicomBadInput, IsReadOrRefused) {
  DicomBytes bytes;
  bytes.addSequence();
  for (const bool isExplicit : {true, false}) {
    const BadInput input(".dcm");
    if (isExplicit) {
      input.tryUsualFaults(bytes.file(), 1);
      input.tryChangedBytes(bytes.file());
    } else {
      DicomBytes plain;
      plain.setText(DicomBytes::syntax, "UI", "1.2.840.10008.1.2");
      input.tryUsualFaults(plain.file(false), 1);
      input.tryChangedBytes(plain.file(false));
    }
  }
}

TEST(DicomBadInput, NamesElementAndValue) {
  const struct {
    DicomBytes::Tag tag;
    const char* representation;
    std::string value;
    std::string refusal;
  } table[] = {
      {DicomBytes::photometric, "CS", "RGB", "holds RGB colours; plain numbers are needed"},
      {DicomBytes::photometric, "CS", "PALETTE COLOR",
       "element (0028,0004) is \"PALETTE COLOR\": plain numbers (MONOCHROME1 or MONOCHROME2) are needed"},
      {DicomBytes::samples, "US", DicomBytes::two(3), "holds vectors of 3 components; plain numbers are needed"},
      {DicomBytes::frames, "IS", "7 ", "holds 7 frames; files with one slice each are needed"},
      {DicomBytes::rows, "US", DicomBytes::two(0), "is said to have 3 x 0 pixels, which is no size"},
      {DicomBytes::rows, "US", DicomBytes::two(65535),
       "is cut: it holds 24 bytes of pixels, its header asks for 393210"},
      {DicomBytes::rows, "US", "4", "element (0028,0010) is \"4\": a 16-bit number is needed"},
      {DicomBytes::allocated, "US", DicomBytes::two(12), "holds pixels of 12 bits; 8, 16 and 32 are read"},
      {DicomBytes::stored, "US", DicomBytes::two(17),
       "has 17 bits up to bit 15 in pixels of 16 bits, which is not read"},
      {DicomBytes::highBit, "US", DicomBytes::two(14),
       "has 16 bits up to bit 14 in pixels of 16 bits, which is not read"},
      {DicomBytes::pixelSize, "DS", "2\\nan", "element (0028,0030) is \"2\\nan\": 2 numbers are needed"},
      {DicomBytes::pixelSize, "DS", "2\\-1", "the voxel size along axis 0 is -1"},
      {DicomBytes::position, "DS", "1\\2", "element (0020,0032) is \"1\\2\": 3 numbers are needed"},
      {DicomBytes::position, "DS", "1\\2\\1e300", "the origin along axis 2 is 1e+300"},
      {DicomBytes::orientation, "DS", "1\\0\\0\\1\\0\\0", "the length of the direction along axis 2 is 0"},
      {DicomBytes::slope, "DS", "0 ", "element (0028,1053) is \"0\": pixels cannot be scaled with it"},
      {DicomBytes::slope, "DS", "x ", "element (0028,1053) is \"x\": 1 numbers are needed"},
      {DicomBytes::pixels, "OW", "short", "is cut: it holds 5 bytes of pixels, its header asks for 24"},
      {DicomBytes::syntax, "UI", "1.2.840.10008.1.2.4.90",
       "has the transfer syntax \"1.2.840.10008.1.2.4.90\"; only pixels that are not compressed, little endian "
       "(1.2.840.10008.1.2 and 1.2.840.10008.1.2.1), are read"},
  };
  const BadInput input(".dcm");
  for (const auto& bad : table) {
    DicomBytes bytes;
    bytes.set(bad.tag, bad.representation, bad.value);
    EXPECT_EQ(input.outcomeOf(bytes.file()), bad.refusal);
  }
}

TEST(DicomBadInput, NamesWhatWouldChangeNumbersAndPlace) {
  const std::string item = DicomBytes::two(0xFFFE) + DicomBytes::two(0xE000) + DicomBytes::four(0);
  const std::pair<DicomBytes::Tag, const char*> table[] = {
      {0x52009229,
       "holds an enhanced image, with place and scale for each frame (element (5200,9229)), which is not "
       "read"},
      {0x52009230,
       "holds an enhanced image, with place and scale for each frame (element (5200,9230)), which is not "
       "read"},
      {0x00283000, "holds a table of what its pixels mean (element (0028,3000)), which is not read"},
  };
  const BadInput input(".dcm");
  for (const auto& [tag, refusal] : table) {
    DicomBytes bytes;
    bytes.set(tag, "SQ", "");
    EXPECT_EQ(input.outcomeOf(bytes.file()), "") << "an empty one says nothing";
    bytes.set(tag, "SQ", item);
    EXPECT_EQ(input.outcomeOf(bytes.file()), refusal);
  }
  for (const DicomBytes::Tag tag : {0x7FE00008U, 0x7FE00009U}) {
    DicomBytes bytes;
    bytes.remove(DicomBytes::pixels);
    bytes.set(tag, "UN", std::string(96, '\0'));
    EXPECT_THAT(input.outcomeOf(bytes.file()), HasSubstr(tag == 0x7FE00008U ? "32-bit reals" : "64-bit reals"));
  }
}

TEST(DicomBadInput, EndsWithSequencesThatAreNestedTooDeep) {
  std::string deep;
  for (int i = 0; i < 5000; ++i) {
    deep += DicomBytes::two(0xFFFE) + DicomBytes::two(0xE000) + DicomBytes::four(0xFFFFFFFFU) +
            DicomBytes::two(0x0008) + DicomBytes::two(0x1140) + "SQ" + DicomBytes::two(0) +
            DicomBytes::four(0xFFFFFFFFU);
  }
  DicomBytes bytes;
  bytes.addSequence();
  std::string file = bytes.file();
  const std::string start = std::string("SQ") + DicomBytes::two(0) + DicomBytes::four(0xFFFFFFFFU);
  file.insert(file.find(start) + start.size(), deep);
  const BadInput input(".dcm");
  EXPECT_EQ(input.outcomeOf(file), "element (0008,1140) is nested too deep");
}

}  // namespace
