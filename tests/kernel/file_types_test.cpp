#include <QDir>
#include <gmock/gmock.h>

#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "tests/kernel/TemporaryFolder.h"
#include "tests/kernel/expectMcException.h"

using ::testing::HasSubstr;

namespace {

HxFileTypes& types() {
  return HxFileTypes::instance();
}

HxData* newTable() {
  return McType::find("HxTable").createInstance<HxData>();
}

/// A reader that registers a table of a fixed name, while it lives.
class Reader {
public:
  Reader(const QString& label, const QStringList& suffixes, const QString& objectName) : label_(label) {
    types().registerReader(label, suffixes, [objectName](const QString&, const HxLoadOptions&) {
      HxData::registerData(newTable(), objectName);
      return 1;
    });
  }
  ~Reader() { types().unregisterReader(label_); }

private:
  QString label_;
};

class FileTypes : public ::testing::Test {
protected:
  ~FileTypes() override { HxObjectPool::instance().clear(); }

  static std::size_t objectCount() { return HxObjectPool::instance().objects().size(); }

  TemporaryFolder folder;
  HxRecordingSink sink;
};

}  // namespace

TEST_F(FileTypes, LongestSuffixDecides) {
  const Reader plain("Plain", {".gz"}, "plain");
  const Reader image("Image", {".foo", ".foo.gz"}, "image");
  EXPECT_EQ(QStringList("image"), types().load(folder.write("a.foo.gz", "x")));
  EXPECT_EQ(QStringList("plain"), types().load(folder.write("a.gz", "x")));
  EXPECT_EQ(QStringList("image2"), types().load(folder.write("B.FOO", "x")));
}

TEST_F(FileTypes, FilesOfOtherKindsAreNotReplaced) {
  const Reader image("Image", {".foo"}, "image");
  const QString file = folder.write("a.foo", "x");
  const McHandle<HxData> table(newTable());
  EXPECT_EQ(
      textOfException([&] { types().save(table, "CSV", file); }),
      file.toStdString() + ": is there and holds something of another kind; remove it first, or take another name");
  EXPECT_EQ(folder.read("a.foo"), "x");
  types().save(table, "CSV", folder.write("a.csv", "x"));
  EXPECT_NE(folder.read("a.csv"), "x");
}

TEST_F(FileTypes, SuffixHasOneReader) {
  const Reader image("Image", {".foo"}, "image");
  EXPECT_THAT(textOfException([] {
                types().registerReader("Other", {".bar", ".FOO"}, {});
              }),
              HasSubstr("\"Other\": .FOO files have a reader already"));
  EXPECT_FALSE(types().suffixes().contains(".bar"));
  EXPECT_TRUE(types().suffixes().contains(".foo"));
}

TEST_F(FileTypes, FailingReaderLeavesNothingBehind) {
  types().registerReader("Half", {".half"}, [](const QString&, const HxLoadOptions&) {
    HxData::registerData(newTable(), "half");
    HxMessage::printf("slice 7 is missing");
    return 0;
  });
  types().registerReader("Throw", {".throw"}, [](const QString& file, const HxLoadOptions&) -> int {
    HxData::registerData(newTable(), "thrown");
    throw McException(file.toStdString() + ": no image");
  });
  const QString half = folder.write("a.half", "x");
  EXPECT_EQ(half.toStdString() + ": cannot be loaded: slice 7 is missing",
            textOfException([&] { types().load(half); }));
  const QString thrown = folder.write("a.throw", "x");
  EXPECT_EQ(thrown.toStdString() + ": no image", textOfException([&] { types().load(thrown); }));
  EXPECT_EQ(0u, objectCount());
  types().unregisterReader("Half");
  types().unregisterReader("Throw");
}

TEST_F(FileTypes, ParameterFilesGoByTheirContentType) {
  std::string readFile;
  types().registerQuarnMeshReader("HxThing", ".thing.qm", [&](QuarnMesh* mesh, const char* filename) {
    readFile = filename;
    HxData* const data = newTable();
    data->parameters = mesh->parameters;
    HxData::registerData(data, "thing");
    return 1;
  });
  QuarnMesh mesh;
  mesh.parameters.set("ContentType", "HxThing");
  const QByteArray file = folder.file("a.thing.qm").toUtf8();
  ASSERT_EQ(1, mesh.write(file.constData(), QuarnMesh::TEXT, nullptr, true, false));
  EXPECT_EQ(QStringList("thing"), types().load(file));
  EXPECT_EQ(file.toStdString(), readFile);
  HxLoadOptions options;
  options.name = "mine";
  EXPECT_EQ(QStringList("mine"), types().load(file, options));
  options.kind = "label";
  EXPECT_THAT(textOfException([&] { types().load(file, options); }),
              HasSubstr("a.thing.qm: -labels, -colors, -kind and -values"));
  EXPECT_THROW(types().registerQuarnMeshReader("HxThing", ".x", {}), McException);
  types().unregisterQuarnMeshReader("HxThing");
  EXPECT_THAT(textOfException([&] { types().load(file); }),
              HasSubstr("a.thing.qm: \"ContentType\": nothing loaded here can read \"HxThing\""));
}

TEST_F(FileTypes, ParameterFilesAreCheckedByTheirContentType) {
  const auto verifier = [](QuarnMesh* mesh, const char* filename, const HxVerificationReport& report) {
    report(QString::fromUtf8(filename), true);
    if (mesh->parameters.findBase("bad")) report("the value is bad", false);
  };
  types().registerQuarnMeshReader("HxThing", ".thing.qm", {}, verifier);
  types().registerQuarnMeshReader("HxOther", ".other.qm", {});
  QStringList findings;
  const auto verify = [&](const QString& file) {
    findings.clear();
    return types().verify(file, [&](const QString& text, bool isSound) { findings << (isSound ? "+" : "-") + text; });
  };
  const auto write = [&](const char* contentType, const char* name) {
    QuarnMesh mesh;
    mesh.parameters.set("ContentType", contentType);
    if (QByteArray(name).startsWith("bad")) mesh.parameters.set("bad", 1);
    const QString file = folder.file(name);
    EXPECT_EQ(1, mesh.write(file.toUtf8().constData(), QuarnMesh::TEXT, nullptr, true, false));
    return file;
  };
  const QString good = write("HxThing", "good.qm"), bad = write("HxThing", "bad.qm");
  EXPECT_EQ(0, verify(good));
  EXPECT_EQ(QStringList("+" + good), findings);
  EXPECT_EQ(1, verify(bad));
  EXPECT_EQ(QStringList({"+" + bad, "-the value is bad"}), findings);
  EXPECT_EQ(1, verify(write("HxOther", "other.qm")));
  EXPECT_THAT(findings.join("").toStdString(), HasSubstr("other.qm: files of this content cannot be checked"));
  EXPECT_EQ(1, verify(folder.file("missing.qm")));
  EXPECT_THAT(findings.join("").toStdString(), HasSubstr("missing.qm"));
  EXPECT_EQ(1, verify(folder.write("text.qm", "nothing")));
  EXPECT_THAT(findings.join("").toStdString(), HasSubstr("text.qm:1: this is not"));
  EXPECT_EQ(1, verify(folder.write("image.nii", "x")));
  EXPECT_THAT(findings.join("").toStdString(), HasSubstr("image.nii: only parameter files can be checked"));
  types().unregisterQuarnMeshReader("HxThing");
  types().unregisterQuarnMeshReader("HxOther");
}

TEST_F(FileTypes, ParameterFileWithoutContentTypeIsRefused) {
  QuarnMesh mesh;
  mesh.parameters.set("ContentType", 5);
  const QByteArray file = folder.file("a.qm").toUtf8();
  ASSERT_EQ(1, mesh.write(file.constData(), QuarnMesh::TEXT, nullptr, true, false));
  EXPECT_THAT(textOfException([&] { types().load(file); }), HasSubstr("a.qm: the text \"ContentType\" is missing"));
  EXPECT_THAT(textOfException([&] { types().load(folder.write("b.qm", "nothing")); }),
              HasSubstr("b.qm:1: this is not"));
}

TEST_F(FileTypes, SaversAreThoseOfTheClassAndItsParents) {
  std::string saved;
  types().registerSaver("HxData", "Anything", ".any", [&](HxData*, const char* file) {
    saved = file;
    return 1;
  });
  types().registerSaver("HxColormap", "Colors", ".col", [](HxData*, const char*) { return 1; });
  const McHandle<HxData> table = newTable();
  QStringList formats;
  for (const HxSaverEntry& entry : types().saversFor(*table)) formats.append(entry.format);
  EXPECT_EQ(QStringList({"CSV", "Anything"}), formats);
  types().save(table, "", "x.any");
  EXPECT_EQ("x.any", saved);
  types().save(table, "anything", "x.y");
  EXPECT_EQ("x.y", saved);
  EXPECT_THAT(textOfException([&] { types().save(table, "Colors", "x.col"); }),
              HasSubstr("there is no format \"Colors\"; formats: CSV, Anything"));
  EXPECT_THAT(textOfException([&] { types().save(table, "", "x.unknown"); }),
              HasSubstr("no format fits the file name"));
  EXPECT_THROW(types().registerSaver("HxData", "Anything", ".b", {}), McException);
  types().unregisterSaver("HxData", "Anything");
  types().unregisterSaver("HxColormap", "Colors");
}

TEST_F(FileTypes, NameOfAParameterFileMeansTheOnlySaverOfThese) {
  std::string saved;
  const auto save = [&](HxData*, const char* file) {
    saved = file;
    return 1;
  };
  types().registerSaver("HxData", "Parameters", ".thing.qm", save);
  types().registerSaver("HxData", "Image", ".img", save);
  const McHandle<HxData> table = newTable();
  types().save(table, "", "x.qm");
  EXPECT_EQ("x.qm", saved);
  types().registerSaver("HxData", "More", ".more.qm", save);
  EXPECT_THAT(textOfException([&] { types().save(table, "", "x.qm"); }), HasSubstr("no format fits the file name"));
  for (const char* format : {"Parameters", "Image", "More"}) types().unregisterSaver("HxData", format);
}

TEST_F(FileTypes, FoldersHaveOneReader) {
  const QString path = folder.file("series.foo");
  ASSERT_TRUE(QDir().mkdir(path));
  EXPECT_THAT(textOfException([&] { types().load(path); }), HasSubstr("series.foo: is a directory"));
  const Reader image("Image", {".foo"}, "image");
  QString loaded;
  const auto read = [&](const QString& file, const HxLoadOptions& options) {
    loaded = file;
    HxData::registerData(newTable(), options.name.isEmpty() ? QStringLiteral("series") : options.name);
    return 1;
  };
  types().registerFolderReader("Series", read);
  EXPECT_EQ(QStringList("series"), types().load(path)) << "a folder is no file, whatever its name ends in";
  EXPECT_EQ(path, loaded);
  EXPECT_THROW(types().registerFolderReader("Others", read), McException);
  types().unregisterReader("Series");
  EXPECT_THAT(textOfException([&] { types().load(path); }), HasSubstr("series.foo: is a directory"));
}

TEST_F(FileTypes, FailingSaverIsReported) {
  types().registerSaver("HxTable", "Bad", ".bad", [](HxData*, const char*) {
    HxMessage::printf("the disk is full");
    return 0;
  });
  const McHandle<HxData> table = newTable();
  table->setLabel("statistics");
  EXPECT_EQ("statistics: cannot be saved as a.bad: the disk is full",
            textOfException([&] { types().save(table, "Bad", "a.bad"); }));
  types().unregisterSaver("HxTable", "Bad");
}
