#include <QDir>
#include <chrono>
#include <cmath>
#include <limits>
#include <span>
#include <sys/stat.h>

#include "quarn/voxora/files/FaultFileSystem.h"
#include "quarn/voxora/files/byteCodec.h"
#include "tests/kernel/FieldFileTest.h"
#include "tests/kernel/TemporaryFolder.h"
#include "tests/support/stride.h"

/// Damaged and hostile files of fields: each is refused with its name, and nothing comes of it.

using hxvoxora::FileCall;
using hxvoxora::FileSystemOverride;
using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using ::testing::StartsWith;

namespace {

class BadFieldFile : public FieldFileTest {
protected:
  /// Three chunks: zeros, noise, and a short one that can be packed.
  static Field makeMixed() {
    Field mixed(new HxUniformScalarField3(McDim3l((1 << 21) + 5000, 1, 1), McPrimType::Uint8));
    auto* voxels = static_cast<std::uint8_t*>(mixed->data());
    std::uint32_t state = 7;
    for (std::int64_t i = 1 << 20; i < mixed->voxelCount(); ++i)
      voxels[i] = static_cast<std::uint8_t>((state = state * 1664525u + 1013904223u) >> 24);
    std::fill_n(voxels + (1 << 21) + 100, 4000, std::uint8_t{5});
    return mixed;
  }

  /// Makes the chunk table, and what the parameter file knows of it, fit the bytes of the data file.
  void sealTable(std::uint64_t chunks) {
    const auto bytes = disk.content(path(dataFile()));
    const auto table = std::span(bytes).last(chunks * 16);
    char digits[17];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(hxvoxora::checksumOf(table)));
    edit([&](HxParamBundle&, HxParamBundle& description) {
      description.set("table-checksum", digits);
      description.set("data-bytes", static_cast<std::int64_t>(bytes.size()));
    });
  }

  void patchData(std::size_t offset, std::uint64_t number, std::size_t bytes = 8) {
    auto content = disk.content(path(dataFile()));
    ASSERT_LE(offset + bytes, content.size());
    std::memcpy(content.data() + offset, &number, bytes);
    disk.setContent(path(dataFile()), content);
  }

  using Change = std::function<void(HxParamBundle& root, HxParamBundle& description)>;

  /// Changes the parameter file of a good field and returns what its reader says; so does the check.
  std::string refusalAfter(const Change& change) {
    save(*field);
    edit(change);
    std::string text = refusal();
    EXPECT_THAT(verify(), ElementsAre("-" + text));
    EXPECT_THAT(text, HasSubstr("/d/a.field"));
    return text;
  }

  std::string refusalAfterSetting(const char* element, const auto& value) {
    return refusalAfter([&](HxParamBundle&, HxParamBundle& description) { description.set(element, value); });
  }

  const McHandle<HxUniformLabelField3> field = makeLabels();
};

}  // namespace

// --- The parameter file

TEST_F(BadFieldFile, AParameterFileCutAnywhere) {
  save(*field);
  const std::string whole = text("a.field.qm");
  for (std::size_t length = 0; length < whole.size(); length += testStride()) {
    SCOPED_TRACE(length);
    setText("a.field.qm", whole.substr(0, length));
    // Without its checksum it is whole, as one that was edited by hand.
    const bool isWhole = length + 1 == whole.size() || whole.substr(length).starts_with("# sha256") ||
                         whole.substr(length).starts_with("\n# sha256");
    if (isWhole) {
      expectSame(*field);
    } else {
      EXPECT_THAT(refusal(), HasSubstr("/d/a.field.qm:"));
    }
  }
}

TEST_F(BadFieldFile, AParameterFileWithABitFlippedAnywhere) {
  save(*field);
  const std::string whole = text("a.field.qm");
  for (std::size_t i = 0; i < whole.size(); i += testStride()) {
    std::string damaged = whole;
    damaged[i] = static_cast<char>(damaged[i] ^ 1 << i % 8);
    setText("a.field.qm", damaged);
    EXPECT_THAT(refusal(), HasSubstr("/d/a.field.qm:")) << i;
  }
}

TEST_F(BadFieldFile, EveryElementIsNeeded) {
  const auto without = [&](const char* element) {
    return refusalAfter([&](HxParamBundle&, HxParamBundle& description) { ASSERT_TRUE(description.remove(element)); });
  };
  for (const char* element : {"version", "type", "nx", "ny", "nz", "box", "data-file", "data-bytes", "generation",
                              "byte-order", "table-checksum"}) {
    EXPECT_THAT(without(element), AllOf(HasSubstr(std::string("\"field/") + element + "\""), HasSubstr("missing")));
  }
  for (const char* element : {"field", "parameters", "ContentType"}) {
    EXPECT_THAT(refusalAfter([&](HxParamBundle& root, HxParamBundle&) { ASSERT_TRUE(root.remove(element)); }),
                AllOf(HasSubstr(element), HasSubstr("is missing")));
  }
}

TEST_F(BadFieldFile, EveryElementHasItsType) {
  for (const char* element : {"version", "nx", "ny", "nz", "data-bytes"}) {
    const std::string wanted = std::string("\"field/") + element + "\": a whole number from 0 on is expected";
    EXPECT_THAT(refusalAfterSetting(element, "1"), HasSubstr(wanted));
    EXPECT_THAT(refusalAfterSetting(element, 1.0), HasSubstr(wanted));
    EXPECT_THAT(refusalAfterSetting(element, -1), HasSubstr(wanted + ": \"-1\""));
    EXPECT_THAT(refusalAfterSetting(element, std::numeric_limits<std::int64_t>::min()), HasSubstr(wanted));
  }
  for (const char* element : {"type", "data-file", "generation", "byte-order", "table-checksum"}) {
    EXPECT_THAT(refusalAfterSetting(element, 1), HasSubstr(std::string("\"field/") + element + "\": a text"));
  }
  for (const char* element : {"field", "parameters"}) {
    EXPECT_THAT(refusalAfter([&](HxParamBundle& root, HxParamBundle&) { root.set(element, 1); }), HasSubstr(element));
  }
  EXPECT_THAT(refusalAfter([&](HxParamBundle&, HxParamBundle& description) { description.getBundle("nx"); }),
              HasSubstr("\"field/nx\": a whole number"));
}

TEST_F(BadFieldFile, EveryElementMakesSense) {
  EXPECT_THAT(refusalAfterSetting("version", 2), HasSubstr("\"field/version\": only 1 can be read: \"2\""));
  EXPECT_THAT(refusalAfterSetting("type", "float16"), HasSubstr("\"field/type\": this type is not known: \"float16\""));
  EXPECT_THAT(refusalAfterSetting("type", "float"), HasSubstr("\"field/type\": labels are uint8"));
  EXPECT_THAT(refusalAfterSetting("byte-order", "big"), HasSubstr("\"field/byte-order\": only little"));
  for (const char* mark : {"", "0000000000000000", "123", "0123456789abcdeF", "0123456789abcdef0", " 123456789abcdef"})
    EXPECT_THAT(refusalAfterSetting("generation", mark), HasSubstr("\"field/generation\": 16 hexadecimal digits"));
  EXPECT_THAT(refusalAfterSetting("generation", "0123456789abcdef"), HasSubstr("its generation is not"));
  EXPECT_THAT(refusalAfterSetting("table-checksum", "0123456789abcdef"), HasSubstr("checksum of its chunk table"));
  EXPECT_THAT(refusalAfterSetting("box", std::vector<double>(5, 0.0)), HasSubstr("six reals are expected"));
  for (const double real : {0.1, 1e39, -1e300, 5e-324})
    EXPECT_THAT(refusalAfterSetting("box", std::vector<double>{0, 1, 0, 1, 0, real}), HasSubstr("single precision"));
  const auto withContent = [&](const char* content) {
    return refusalAfter([&](HxParamBundle& root, HxParamBundle&) { root.set("ContentType", content); });
  };
  EXPECT_THAT(withContent("HxRois"), HasSubstr("\"ContentType\": \"HxRois\" is not a field"));
}

TEST_F(BadFieldFile, AGeometryThatNoFieldHas) {
  const auto withGeometry = [&](const char* name, std::vector<double> reals) {
    return refusalAfter([&](HxParamBundle& root, HxParamBundle&) {
      HxParamBundle& geometry = *root.getBundle("parameters")->getBundle("Geometry");
      geometry.set("Origin", std::vector<double>{0, 0, 0});
      geometry.set("VoxelSize", std::vector<double>{1, 1, 1});
      geometry.set("Direction", std::vector<double>{1, 0, 0, 0, 1, 0, 0, 0, 1});
      geometry.set(name, std::move(reals));
    });
  };
  EXPECT_THAT(withGeometry("Origin", {0, NAN, 0}), HasSubstr("a.field.qm: Geometry: Origin must be finite, not nan"));
  EXPECT_THAT(withGeometry("VoxelSize", {1, 1, -1}), HasSubstr("VoxelSize must be positive, not -1.0"));
  EXPECT_THAT(withGeometry("Direction", {1, 0, 0, 0, INFINITY, 0, 0, 0, 1}), HasSubstr("Direction must be finite"));
}

TEST_F(BadFieldFile, ValuesAreCutInMessages) {
  const std::string text = refusalAfterSetting("type", std::string(100'000, 'x'));
  EXPECT_LT(text.size(), 400u);
}

// --- Names of other files

TEST_F(BadFieldFile, NamesThatLeadElsewhere) {
  disk.makeDirectory("/canary");
  const std::vector<std::byte> canary(100, std::byte{7});
  disk.setContent("/canary/c.dat", canary);
  hxvoxora::FaultFileSystem files(disk);
  for (const std::string& name :
       {std::string("../canary/c.dat"), std::string("/canary/c.dat"), std::string("sub/c.dat"),
        std::string("..\\c.dat"), std::string(""), std::string("."), std::string(".."), std::string(5000, 'x'),
        std::string("c.dat\0.dat", 10), std::string("c\n.dat")}) {
    SCOPED_TRACE(name.substr(0, 50));
    for (const char* element : {"data-file", "replaces"}) {
      save(*field);
      edit([&](HxParamBundle&, HxParamBundle& description) { description.set(element, name); });
      files.arm({.call = 1'000'000});
      const FileSystemOverride current(files);
      EXPECT_THAT(textOfException([&] { HxFieldFile::read(qpath()); }),
                  HasSubstr(std::string("\"field/") + element + "\": this is not a plain file name"));
      // A save over it leaves that file alone, too.
      HxFieldFile::save(*field, qpath());
      for (const auto& call : files.log()) EXPECT_EQ(call.path.find("canary"), std::string::npos) << call.path;
    }
  }
  EXPECT_EQ(disk.content("/canary/c.dat"), canary);
}

TEST_F(BadFieldFile, NamesOfWhatIsNoDataFile) {
  const TemporaryFolder folder;
  const QString file = folder.file("a.field.qm");
  HxFieldFile::save(*field, file);
  const auto mesh = QuarnMesh::read(file);
  HxParamBundle& description = *mesh->parameters.getBundle("field");
  QString data;
  ASSERT_TRUE(description.findString("data-file", data));
  const auto refusalOf = [&](const QString& name) {
    description.set("data-file", name);
    EXPECT_EQ(1, mesh->write(file.toUtf8().constData(), QuarnMesh::TEXT, nullptr, true, false));
    return textOfException([&] { HxFieldFile::read(file); });
  };
  ASSERT_TRUE(QFile::link(folder.file(data), folder.file("link.dat")));
  ASSERT_TRUE(QDir(folder.path()).mkdir("folder.dat"));
  ASSERT_EQ(::mkfifo(folder.file("pipe.dat").toUtf8().constData(), 0600), 0);
  EXPECT_THAT(refusalOf("link.dat"), HasSubstr("link.dat"));
  EXPECT_THAT(refusalOf("folder.dat"), HasSubstr("folder.dat"));
  EXPECT_THAT(refusalOf("pipe.dat"), HasSubstr("pipe.dat"));
  EXPECT_THAT(refusalOf("missing.dat"), HasSubstr("missing.dat"));
  EXPECT_THAT(refusalOf("a.field.qm"), HasSubstr("bytes, not the"));
}

// --- Sizes

TEST_F(BadFieldFile, HugeFieldsAreRefusedBeforeMemoryIsAskedFor) {
  const std::int64_t most = std::numeric_limits<std::int64_t>::max();
  const auto withSize = [&](std::int64_t nx, std::int64_t ny, std::int64_t nz) {
    return refusalAfter([&](HxParamBundle&, HxParamBundle& description) {
      description.set("nx", nx);
      description.set("ny", ny);
      description.set("nz", nz);
    });
  };
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_THAT(withSize(1 << 30, 1 << 30, 1), HasSubstr("have no room for a table of 1099511627776 chunks"));
  EXPECT_THAT(withSize(1 << 16, 1 << 16, 1 << 16), HasSubstr("have no room for a table"));
  EXPECT_THAT(withSize(most, 1, 1), HasSubstr("have no room for a table"));
  EXPECT_THAT(withSize(most, most, most), HasSubstr("A volume cannot have"));
  EXPECT_THAT(withSize(most, 2, 1), HasSubstr("A volume cannot have"));
  EXPECT_THAT(withSize(0, most, most), HasSubstr("checksum of its chunk table"));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
  // Numbers that can be counted as voxels and not as bytes.
  const Field wide(new HxUniformScalarField3(McDim3l(1, 1, 1), McPrimType::Double));
  save(*wide);
  edit([&](HxParamBundle&, HxParamBundle& description) { description.set("nx", most); });
  EXPECT_THAT(refusal(), HasSubstr("voxels are too many"));
}

TEST_F(BadFieldFile, ChunksThatCannotHoldWhatTheyClaim) {
  const Field mixed = makeMixed();
  const auto sealedWith = [&](std::size_t entry, std::uint64_t storedBytes) {
    save(*mixed);
    patchData(disk.content(path(dataFile())).size() - 48 + 16 * entry, storedBytes);
    sealTable(3);
    return refusal();
  };
  const std::uint64_t huge = ~std::uint64_t{0};
  EXPECT_THAT(sealedWith(0, 0), HasSubstr("chunk 1 of 3: 0 stored bytes cannot be right"));
  EXPECT_THAT(sealedWith(0, 1016), HasSubstr("chunk 1 of 3: 1016 stored bytes cannot be right"));
  EXPECT_THAT(sealedWith(0, 1017), HasSubstr("of its bytes belong to no chunk"));
  EXPECT_THAT(sealedWith(1, (1 << 20) + 1), HasSubstr("chunk 2 of 3: 1048577 stored bytes cannot be right"));
  EXPECT_THAT(sealedWith(1, huge), HasSubstr("chunk 2 of 3: 18446744073709551615 stored bytes cannot be right"));
  EXPECT_THAT(sealedWith(2, 5000), HasSubstr("chunk 3 of 3: 5000 stored bytes cannot be right"));
  // A field of 300 chunks in a file that has the table and nothing else.
  save(*mixed);
  auto bytes = disk.content(path(dataFile()));
  bytes.resize(16);
  for (int i = 0; i < 300; ++i)
    for (const std::uint64_t number : {std::uint64_t{1017}, std::uint64_t{0}})
      for (int byte = 0; byte < 8; ++byte) bytes.push_back(static_cast<std::byte>(number >> (8 * byte)));
  disk.setContent(path(dataFile()), bytes);
  edit([](HxParamBundle&, HxParamBundle& description) { description.set("nx", std::int64_t{300} << 20); });
  sealTable(300);
  EXPECT_THAT(refusal(), HasSubstr("chunk 1 of 300: 1017 stored bytes cannot be right"));
}

// --- The data file

TEST_F(BadFieldFile, ADataFileCutOrLengthened) {
  save(*field);
  const auto whole = disk.content(path(dataFile()));
  for (std::size_t length = 0; length < whole.size(); length += 97 * testStride()) {
    disk.setContent(path(dataFile()), {whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)});
    EXPECT_THAT(refusal(), AllOf(HasSubstr(dataFile()), HasSubstr("bytes, not the")));
    // Also when the parameter file knows of it.
    edit([&](HxParamBundle&, HxParamBundle& description) {
      description.set("data-bytes", static_cast<std::int64_t>(length));
    });
    EXPECT_THAT(refusal(), HasSubstr(dataFile()));
    edit([&](HxParamBundle&, HxParamBundle& description) {
      description.set("data-bytes", static_cast<std::int64_t>(whole.size()));
    });
  }
  auto longer = whole;
  longer.push_back(std::byte{0});
  disk.setContent(path(dataFile()), longer);
  EXPECT_THAT(refusal(), HasSubstr("bytes, not the"));
}

TEST_F(BadFieldFile, ABitFlippedAnywhereInTheData) {
  // Small enough for every byte of it.
  const Field small(new HxUniformScalarField3(McDim3l(20, 20, 20), McPrimType::Int16));
  for (std::int64_t i = 0; i < 4000; ++i)
    small->setValue(i % 20, i / 20 % 20, i / 400, static_cast<double>(i * i % 7000));
  save(*small);
  const auto whole = disk.content(path(dataFile()));
  for (std::size_t i = 0; i < whole.size(); i += testStride()) {
    auto damaged = whole;
    damaged[i] ^= static_cast<std::byte>(1 << i % 8);
    disk.setContent(path(dataFile()), damaged);
    EXPECT_THAT(refusal(), HasSubstr(dataFile())) << i;
    EXPECT_THAT(verify(), ElementsAre(StartsWith("-"))) << i;
  }
}

TEST_F(BadFieldFile, DamagedChunksAreNamed) {
  const Field mixed = makeMixed();
  save(*mixed);
  const std::string data = dataFile();
  const auto whole = disk.content(path(data));
  const std::size_t table = whole.size() - 48;
  std::uint64_t first = 0;
  std::memcpy(&first, &whole[table], 8);
  ASSERT_LT(first, 3000u);
  patchData(16 + first + 500'000, 12345);
  EXPECT_THAT(refusal(), HasSubstr(data + ": chunk 2 of 3: the checksum is wrong"));
  patchData(20, 12345);
  EXPECT_THAT(refusal(), HasSubstr(data + ": chunk 1 of 3: the checksum is wrong"));
  EXPECT_THAT(verify(), ElementsAre(AllOf(StartsWith("-"), HasSubstr("chunk 1 of 3")), HasSubstr("chunk 2 of 3")));
}

TEST_F(BadFieldFile, ChunksThatUnpackToSomethingElse) {
  save(*field);
  const auto whole = disk.content(path(dataFile()));
  const std::size_t table = whole.size() - 16;
  // The checksum fits whatever is there.
  const auto refusalOf = [&](std::vector<std::byte> stored) {
    auto bytes = whole;
    bytes.resize(16);
    bytes.insert(bytes.end(), stored.begin(), stored.end());
    for (const std::uint64_t number : {std::uint64_t{stored.size()}, hxvoxora::checksumOf(stored)})
      for (int byte = 0; byte < 8; ++byte) bytes.push_back(static_cast<std::byte>(number >> (8 * byte)));
    disk.setContent(path(dataFile()), bytes);
    sealTable(1);
    return refusal();
  };
  const std::vector<std::byte> good(whole.begin() + 16, whole.begin() + static_cast<std::ptrdiff_t>(table));
  const auto packed = [](std::size_t size) {
    std::vector<std::byte> raw(size, std::byte{3}), out(size);
    out.resize(hxvoxora::packBytes(raw, out));
    return out;
  };
  const std::size_t voxels = static_cast<std::size_t>(field->voxelCount());
  EXPECT_THAT(refusalOf(packed(voxels - 1)), HasSubstr("chunk 1 of 1: holds 479999 bytes instead of 480000"));
  EXPECT_THAT(refusalOf(packed(voxels + 1)), HasSubstr("chunk 1 of 1: holds more than 480000 bytes"));
  auto trailing = good;
  trailing.push_back(std::byte{0});
  EXPECT_THAT(refusalOf(trailing), HasSubstr("chunk 1 of 1: 1 bytes follow the gzip member"));
  EXPECT_THAT(refusalOf(std::vector<std::byte>(1000, std::byte{9})), HasSubstr("not a valid gzip member"));
  auto cut = good;
  cut.pop_back();
  EXPECT_THAT(refusalOf(cut), HasSubstr("chunk 1 of 1: "));
}

TEST_F(BadFieldFile, TheCheckTellsOfManyDamagedChunksInFew) {
  const Field noise = makeNoise(1, 30);
  save(*noise);
  auto bytes = disk.content(path(dataFile()));
  for (std::size_t i = 16 + 1000; i < bytes.size() - 16 * 30; i += 1 << 20) bytes[i] ^= std::byte{1};
  disk.setContent(path(dataFile()), bytes);
  const auto findings = verify();
  ASSERT_THAT(findings, SizeIs(21));
  EXPECT_THAT(findings, Each(StartsWith("-")));
  EXPECT_THAT(findings.back(), HasSubstr("10 more chunks are damaged"));
}

TEST_F(BadFieldFile, FilesOfOtherSavesAreNotMixed) {
  save(*makeLabels(1), "a.field.qm");
  save(*makeLabels(2), "b.field.qm");
  const auto other = disk.content(path(dataFile("b.field.qm")));
  disk.setContent(path(dataFile("a.field.qm")), other);
  EXPECT_THAT(refusal(), AnyOf(HasSubstr("its generation is not"), HasSubstr("bytes, not the")));
}

TEST_F(BadFieldFile, AFieldWithoutVoxelsMayHaveAnySizes) {
  const Field flat(new HxUniformScalarField3(McDim3l(0, std::int64_t{1} << 62, 3), McPrimType::Double));
  save(*flat);
  expectSame(*flat);
}
