#include <QDir>
#include <cmath>
#include <fstream>
#include <limits>
#include <sys/stat.h>

#include "quarn/kernel/io/HxFieldFile.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "tests/kernel/CommaLocale.h"
#include "tests/kernel/FieldFileTest.h"
#include "tests/kernel/TemporaryFolder.h"
#include "tests/kernel/TestObjects.h"
#include "tests/voxora/RandomSource.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

namespace {

constexpr McPrimType kAllTypes[] = {McPrimType::Uint8,  McPrimType::Int8,  McPrimType::Uint16, McPrimType::Int16,
                                    McPrimType::Uint32, McPrimType::Int32, McPrimType::Float,  McPrimType::Double};

class FieldFile : public FieldFileTest {};

/// Any bits at all: numbers, infinities, NaN of all kinds.
void fillRandomly(HxUniformScalarField3& field, RandomSource& random) {
  auto* bytes = static_cast<std::uint8_t*>(field.data());
  const std::size_t count =
      static_cast<std::size_t>(field.voxelCount()) * HxUniformScalarField3::primTypeSize(field.primType());
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>(random.word());
}

/// A real of any size that single precision has room for, with any digits.
double anyReal(RandomSource& random) {
  for (;;) {
    const auto real = std::bit_cast<double>(random.word());
    if (std::abs(real) < 1e37) return real;
  }
}

}  // namespace

// --- There and back

TEST_F(FieldFile, KeepsVoxelsOfEveryType) {
  RandomSource random;
  for (const McPrimType type : kAllTypes) {
    SCOPED_TRACE(HxUniformScalarField3::primTypeName(type));
    const Field field(new HxUniformScalarField3(McDim3l(37, 41, 23), type));
    fillRandomly(*field, random);
    save(*field);
    expectSame(*field);
    EXPECT_THAT(disk.list("/d"), SizeIs(2));
  }
}

TEST_F(FieldFile, KeepsLabelsAndMaterials) {
  const auto field = makeLabels();
  save(*field);
  const Field read = this->read();
  EXPECT_TRUE(FieldContent(*field) == FieldContent(*read));
  auto* labels = dynamic_cast<HxUniformLabelField3*>(read.get());
  ASSERT_NE(labels, nullptr);
  ASSERT_EQ(labels->materials()->bundleCount(), 3);
  McColor color;
  ASSERT_TRUE(labels->materials()->getBundle(1)->getMaterialColor(color));
  EXPECT_EQ(color, McColor(1, 0.1f, 0.3f));
  EXPECT_EQ(labels->materials()->getBundle(2)->name(), "Soft_tissue");
  EXPECT_LT(disk.content(path(dataFile())).size(), 20000u) << "labels are packed";
}

TEST_F(FieldFile, KeepsFieldsOfAllSizes) {
  const std::int64_t chunk = 1 << 20;
  for (const McDim3l& dimensions :
       {McDim3l(0, 0, 0), McDim3l(0, 5, 7), McDim3l(1, 1, 1), McDim3l(1, 1, 300), McDim3l(3, 1, 2),
        McDim3l(chunk - 1, 1, 1), McDim3l(chunk, 1, 1), McDim3l(1, chunk + 1, 1), McDim3l(1024, 1024, 33)}) {
    for (const bool isNoise : {false, true}) {
      SCOPED_TRACE(std::to_string(dimensions.nx) + " " + std::to_string(dimensions.ny) + (isNoise ? " noise" : ""));
      const Field field(new HxUniformScalarField3(dimensions, McPrimType::Uint8));
      std::uint32_t state = 1;
      auto* voxels = static_cast<std::uint8_t*>(field->data());
      for (std::int64_t i = 0; isNoise && i < field->voxelCount(); ++i)
        voxels[i] = static_cast<std::uint8_t>((state = state * 1664525u + 1013904223u) >> 24);
      save(*field);
      expectSame(*field);
      EXPECT_THAT(verify(), ElementsAre(StartsWith("+")));
    }
  }
}

TEST_F(FieldFile, KeepsAnyGeometryExactly) {
  RandomSource random;
  for (int round = 0; round < 200; ++round) {
    const Field field(new HxUniformScalarField3(
        McDim3l(random.between(0, 3), random.between(0, 3), random.between(1, 3)), McPrimType::Int16));
    HxGeometry3 geometry;
    for (double& real : geometry.origin) real = anyReal(random);
    for (double& real : geometry.voxelSize) real = std::max(std::abs(anyReal(random)), 5e-324);
    // Not even perpendicular.
    for (double& real : geometry.direction) real = anyReal(random);
    field->setGeometry(geometry);
    save(*field);
    expectSame(*field);
    EXPECT_EQ(read()->geometry(), geometry);
  }
}

TEST_F(FieldFile, KeepsAnyBoxExactly) {
  RandomSource random;
  const auto anyFloat = [&] {
    const auto real = std::bit_cast<float>(static_cast<std::uint32_t>(random.word()));
    return std::isfinite(real) ? real : -0.0f;
  };
  for (int round = 0; round < 200; ++round) {
    const Field field(new HxUniformScalarField3(McDim3l(3, 4, 5), McPrimType::Uint8));
    // With a geometry the box is one of its own, which only rounds it.
    if (round % 2) field->setGeometry({{anyFloat(), 1, 2}, {1e-3, 0.1, 1e7}, {0, 1, 0, 1, 0, 0, 0, 0, -1}});
    if (round % 4 < 2) field->setBoundingBox(McBox3f(anyFloat(), anyFloat(), anyFloat(), anyFloat(), anyFloat(), 7));
    if (round == 0) field->setBoundingBox(McBox3f());
    save(*field);
    expectSame(*field);
  }
}

TEST_F(FieldFile, KeepsAnObliqueLattice) {
  const Field field(new HxUniformScalarField3(McDim3l(5, 6, 7), McPrimType::Float));
  const double c = std::cos(0.3), s = std::sin(0.3);
  field->setGeometry({{-90.123, 17.5, 1.0 / 3.0}, {0.9375, 0.9375, 1.1}, {c, -s, 0, s, c, 0, 0, 0, 1}});
  save(*field);
  EXPECT_EQ(read()->voxelToWorld(4, 5, 6), field->voxelToWorld(4, 5, 6));
  EXPECT_EQ(read()->voxelVolume(), field->voxelVolume());
}

TEST_F(FieldFile, KeepsAllParametersInTheirOrder) {
  const auto field = makeLabels();
  field->parameters.set("ContentType", "mine");
  field->parameters.set("field", 7);
  HxParamBundle* bundle = &field->parameters;
  for (int depth = 0; depth < 62; ++depth) bundle = bundle->getBundle("parameters");
  bundle->set("reals", std::vector<double>{-0.0, 5e-324, 1.7976931348623157e308, INFINITY});
  bundle->set("whole", std::numeric_limits<std::int64_t>::min());
  bundle->set("real", 3.0);
  bundle->set("text", std::string("\0\xFF\r\n\"", 5));
  save(*field);
  expectSame(*field);
}

TEST_F(FieldFile, DoesNotDependOnTheLanguage) {
  const CommaLocale locale;
  const Field field = makeNoise();
  field->setGeometry({{0.5, 1.25, -3.75}, {0.1, 0.2, 0.3}, {1, 0, 0, 0, 1, 0, 0, 0, 1}});
  save(*field);
  expectSame(*field);
  EXPECT_THAT(text("a.field.qm"), HasSubstr("\"Origin\" reals 0.5 1.25 -3.75\n"));
}

TEST_F(FieldFile, CountsAsSavedAndLoaded) {
  const auto field = makeLabels();
  field->touch(8);
  ASSERT_TRUE(field->isModified());
  save(*field);
  EXPECT_FALSE(field->isModified());
  EXPECT_EQ(field->getLoadCmd(), qpath());
  const Field read = this->read();
  EXPECT_FALSE(read->isModified());
  EXPECT_EQ(read->getLoadCmd(), qpath());
  EXPECT_EQ(read->refCount(), 1) << "it is the caller's";
}

// --- Other names

TEST_F(FieldFile, SavesUnderNamesOfAllKinds) {
  const auto field = makeLabels();
  for (const char* name : {"b.qm", "c.field.QM", "d", ".qm", "no {brace} [exec x] $a \"q\" %n %1.field.qm",
                           "\xC3\xA4\xE2\x82\xAC.field.qm"}) {
    SCOPED_TRACE(name);
    save(*field, name);
    expectSame(*field, name);
    save(*field, name);
    expectSame(*field, name);
  }
  EXPECT_THAT(disk.list("/d"), SizeIs(12));
  const std::string longest(230, 'x');
  save(*field, longest);
  expectSame(*field, longest);
  EXPECT_THAT(textOfException([&] { save(*field, longest + "x"); }), HasSubstr("its name has more than 230 bytes"));
  EXPECT_THAT(textOfException([&] { save(*field, ""); }), HasSubstr("is not the name of a file"));
}

TEST_F(FieldFile, CanBeMovedWithItsData) {
  const auto field = makeLabels();
  save(*field);
  disk.makeDirectory("/e");
  disk.rename(path(dataFile()), "/e/" + dataFile());
  disk.rename(path(), "/e/other.field.qm");
  const hxvoxora::FileSystemOverride current(disk);
  EXPECT_TRUE(FieldContent(*field) == FieldContent(*HxFieldFile::read("/e/other.field.qm")));
}

TEST_F(FieldFile, LeavesTheDataOfACopyOfTheParameterFile) {
  const auto first = makeLabels(1), second = makeLabels(2);
  save(*first);
  setText("backup.field.qm", text("a.field.qm"));
  save(*second);
  expectSame(*first, "backup.field.qm");
  expectSame(*second);
  EXPECT_THAT(verify(), ElementsAre(StartsWith("+"),
                                    HasSubstr("data files that it does not use: " + dataFile("backup.field.qm"))));
}

TEST_F(FieldFile, RemovesNothingThatOnlyTheParameterFileCallsItsOwn) {
  const auto field = makeLabels();
  setText("thesis.txt", "years of work");
  setText("a.field-0123456789abcdef.dat", "not a data file at all");
  for (const char* name : {"thesis.txt", "a.field-0123456789abcdef.dat"}) {
    for (const char* element : {"data-file", "replaces"}) {
      save(*field);
      edit([&](HxParamBundle&, HxParamBundle& description) { description.set(element, name); });
      save(*field);
      EXPECT_EQ(disk.kind(path(name)), hxvoxora::FileKind::regular) << name << " " << element;
    }
  }
  EXPECT_EQ(text("thesis.txt"), "years of work");
}

TEST_F(FieldFile, RefusesWhatWouldNotReadBack) {
  const auto field = makeLabels();
  save(*field);
  const auto before = disk.list("/d");
  HxParamBundle* bundle = &field->parameters;
  for (int depth = 0; depth < 63; ++depth) bundle = bundle->getBundle("deep");
  EXPECT_THAT(textOfException([&] { save(*field); }), HasSubstr("nested too deeply"));
  field->parameters.remove("deep");
  field->parameters.getBundle("Geometry")->set("Origin", std::vector<double>{0, 0, NAN});
  field->parameters.getBundle("Geometry")->set("VoxelSize", std::vector<double>{1, 1, 1});
  field->parameters.getBundle("Geometry")->set("Direction", std::vector<double>(9, 1.0));
  EXPECT_THAT(textOfException([&] { save(*field); }), HasSubstr("a.field.qm: Geometry: Origin must be finite"));
  field->parameters.remove("Geometry");
  field->resize(McDim3l(2, 2, 2), McPrimType::Float);
  EXPECT_THAT(textOfException([&] { save(*field); }), HasSubstr("cannot hold labels of type float"));
  EXPECT_EQ(disk.list("/d"), before);
  EXPECT_TRUE(FieldContent(*makeLabels()) == FieldContent(*read()));
}

// --- By way of the workbench

TEST_F(FieldFile, IsSavedLoadedAndCheckedByCommands) {
  const TemporaryFolder folder;
  const QString file = folder.file("brain.field.qm");
  const auto field = makeLabels();
  HxObjectPool::instance().add(field, "brain");
  const QString quoted = "{" + file + "}";
  EXPECT_EQ(evaluate("brain formats"), "Field");
  EXPECT_EQ(evaluate("brain save " + quoted), "");
  EXPECT_EQ(evaluate("brain save field " + quoted), "");
  EXPECT_THAT(evaluate("brain save {" + folder.file("brain.field") + "}"), HasSubstr("must end in .field.qm"));
  EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files).size(), 2);
  EXPECT_EQ(evaluate("load " + quoted + " -as again"), "again");
  EXPECT_THAT(evaluate("load " + quoted + " -labels " + quoted), HasSubstr("are for images"));
  auto* again = dynamic_cast<HxUniformLabelField3*>(HxObjectPool::instance().find("again"));
  ASSERT_NE(again, nullptr);
  EXPECT_TRUE(FieldContent(*field) == FieldContent(*again));
  EXPECT_FALSE(again->isModified());
  QStringList findings;
  const auto note = [&](const QString& finding, bool) { findings << finding; };
  EXPECT_EQ(HxFileTypes::instance().verify(file, note), 0);
  EXPECT_THAT(findings.join("\n").toStdString(), HasSubstr("60 x 80 x 100 voxels of type uint8, 1 chunks"));
  EXPECT_TRUE(HxFileTypes::instance().suffixes().contains(".field.qm"));
}

TEST_F(FieldFile, GivesNobodyMoreRightsThanBefore) {
  const TemporaryFolder folder;
  const QString file = folder.file("brain.field.qm");
  const auto field = makeLabels();
  HxFieldFile::save(*field, file);
  const mode_t former = ::umask(0022);
  const std::pair<mode_t, mode_t> modes[] = {{0600, 0600}, {0640, 0640}, {0660, 0640}, {0644, 0644}, {0666, 0644}};
  for (const auto& [before, after] : modes) {
    ASSERT_EQ(::chmod(file.toUtf8().constData(), before), 0);
    HxFieldFile::save(*field, file);
    const QStringList names = QDir(folder.path()).entryList(QDir::Files);
    ASSERT_EQ(names.size(), 2);
    for (const QString& name : names) {
      struct stat status {};
      ASSERT_EQ(::stat(folder.file(name).toUtf8().constData(), &status), 0);
      EXPECT_EQ(status.st_mode & 0777U, after) << name.toStdString() << " was " << before;
    }
  }
  EXPECT_EQ(::umask(former), 0022U);
}

TEST_F(FieldFile, ReplacesNothingButRegularFiles) {
  const TemporaryFolder folder;
  const auto field = makeLabels();
  const QString link = folder.file("link.field.qm"), target = folder.write("target.qm", "canary");
  ASSERT_TRUE(QFile::link(target, link));
  EXPECT_THAT(textOfException([&] { HxFieldFile::save(*field, link); }), HasSubstr("exists and is not a regular file"));
  EXPECT_EQ(folder.read("target.qm"), "canary");
  ASSERT_TRUE(QDir(folder.path()).mkdir("dir.field.qm"));
  EXPECT_THAT(textOfException([&] { HxFieldFile::save(*field, folder.file("dir.field.qm")); }),
              HasSubstr("exists and is not a regular file"));
  EXPECT_THAT(textOfException([&] { HxFieldFile::save(*field, folder.file("missing/a.field.qm")); }),
              HasSubstr("its folder is not one in which files can be made"));
}

// --- Large fields

// The sanitizers take memory of their own.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
namespace {

/// A line of the status of this process, in bytes.
std::uint64_t statusBytes(const std::string& line) {
  std::ifstream status("/proc/self/status");
  std::string word;
  while (status >> word) {
    std::uint64_t kilobytes = 0;
    if (word == line + ":" && status >> kilobytes) return kilobytes << 10;
  }
  ADD_FAILURE() << "there is no " << line;
  return 0;
}

/// What `action` takes at its worst, beyond what is in use before.
template <class Action>
std::uint64_t peakOf(Action action) {
  std::ofstream("/proc/self/clear_refs") << "5";
  const std::uint64_t before = statusBytes("VmRSS");
  action();
  return statusBytes("VmHWM") - before;
}

}  // namespace

TEST_F(FieldFile, NeedsLittleMemoryBesideTheVoxels) {
  constexpr std::uint64_t voxelBytes = 300'000'000, most = 100'000'000;
  const TemporaryFolder folder;
  const QString file = folder.file("large.field.qm");
  const Field field(new HxUniformScalarField3(McDim3l(500, 500, 600), McPrimType::Int16));
  auto* voxels = static_cast<std::int16_t*>(field->data());
  std::uint32_t state = 1;
  for (std::int64_t i = 0; i < field->voxelCount(); ++i) {
    state = state * 1664525u + 1013904223u;
    voxels[i] = static_cast<std::int16_t>(i / 40000 + (state >> 27));
  }
  const std::uint64_t saving = peakOf([&] { HxFieldFile::save(*field, file); });
  EXPECT_LT(saving, most);
  Field read;
  const std::uint64_t reading = peakOf([&] { read = HxFieldFile::read(file); });
  EXPECT_LT(reading, voxelBytes + most);
  EXPECT_EQ(std::memcmp(read->data(), voxels, voxelBytes), 0);
  RecordProperty("saving", std::to_string(saving));
  RecordProperty("reading", std::to_string(reading));
  read = nullptr;
  const auto mesh = QuarnMesh::read(file);
  EXPECT_LT(peakOf([&] { HxFieldFile::verify(*mesh, file, [](const QString&, bool sound) { EXPECT_TRUE(sound); }); }),
            most);
}
#endif
