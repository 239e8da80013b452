#include <QFileInfo>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "quarn/base/McType.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/packages/HxPackageLoader.h"
#include "tests/kernel/CommaLocale.h"
#include "tests/kernel/TemporaryFolder.h"
#include "tests/kernel/expectMcException.h"

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

HxPackageLoader& loader() {
  return HxPackageLoader::instance();
}

const char* const wellFields =
    R"(, "classes": ["HxWellData"], "fileTypes": [{"label": "Well", "suffix": ".well.qm", "contentType": "HxWellData",
       "read": "readWellData", "save": [{"format": "Well", "class": "HxWellData", "function": "saveWellData"}]}])";

/// Puts planted packages into a folder of their own and tells the loader of it.
class PackageLoader : public ::testing::Test {
protected:
  PackageLoader() { loader().addPath(folder.path()); }
  ~PackageLoader() override {
    HxObjectPool::instance().clear();
    loader().unloadAll();
  }

  /// A package with the library `library` and a manifest with further `fields`.
  void plant(const QByteArray& name, const QString& library, const QByteArray& fields = {},
             const QByteArray& abi = quarn::packageAbi().toUtf8()) {
    const QString built = QStringLiteral(QUARN_BINARY_DIR "/test-packages/lib%1.so").arg(library);
    ASSERT_TRUE(QFile::copy(built, folder.file("lib" + name + ".so"))) << built.toStdString();
    folder.write(name + ".json",
                 R"({"name": ")" + name + R"(", "version": "1.0", "abi": ")" + abi + '"' + fields + '}');
  }

  static std::string errorOf(const QString& name) {
    return textOfException([&] { loader().load(name); });
  }

  TemporaryFolder folder;
  HxRecordingSink sink;
};

}  // namespace

TEST_F(PackageLoader, LoadedPackageOffersItsClassesAndFiles) {
  plant("well", "well", wellFields);
  EXPECT_TRUE(McType::find("HxWellData").isBad());
  loader().load("well");
  EXPECT_TRUE(loader().isLoaded("well"));
  EXPECT_TRUE(McType::find("HxWellData").canCreateInstance());
  EXPECT_TRUE(HxFileTypes::instance().suffixes().contains(".well.qm"));

  QuarnMesh mesh;
  mesh.parameters.set("ContentType", "HxWellData");
  mesh.parameters.set("depth", 12);
  const QString file = folder.file("deep.well.qm");
  ASSERT_EQ(1, mesh.write(file.toUtf8().constData(), QuarnMesh::TEXT, nullptr, true, false));
  ASSERT_EQ(QStringList("deep"), HxFileTypes::instance().load(file));
  auto* const data = dynamic_cast<HxData*>(HxObjectPool::instance().find("deep"));
  ASSERT_NE(nullptr, data);
  HxFileTypes::instance().save(data, "Well", folder.file("copy.well.qm"));
  int depth = 0;
  EXPECT_TRUE(QuarnMesh::read(folder.file("copy.well.qm"))->parameters.findNum("depth", depth));
  EXPECT_EQ(12, depth);
}

TEST_F(PackageLoader, FailingReaderOfAPackageIsALoadError) {
  plant("well", "well", wellFields);
  loader().load("well");
  QuarnMesh mesh;
  mesh.parameters.set("ContentType", "HxWellData");
  mesh.parameters.set("broken", 1);
  const QString file = folder.file("bad.well.qm");
  ASSERT_EQ(1, mesh.write(file.toUtf8().constData(), QuarnMesh::TEXT, nullptr, true, false));
  EXPECT_THAT(textOfException([&] { HxFileTypes::instance().load(file); }), HasSubstr("bad.well.qm: cannot be loaded"));
}

TEST_F(PackageLoader, SecondLoadIsHarmless) {
  plant("well", "well", wellFields);
  loader().load("well");
  loader().load("well");
  EXPECT_EQ(QStringList("well"), loader().loaded());
}

TEST_F(PackageLoader, UnloadedPackageCanBeLoadedAgain) {
  plant("well", "well", wellFields);
  for (int round = 0; round < 3; ++round) {
    loader().load("well");
    EXPECT_FALSE(McType::find("HxWellData").isBad());
    loader().unload("well");
    EXPECT_FALSE(loader().isLoaded("well"));
    EXPECT_TRUE(McType::find("HxWellData").isBad());
    EXPECT_FALSE(HxFileTypes::instance().suffixes().contains(".well.qm"));
  }
}

TEST_F(PackageLoader, RequiredPackagesComeFirstAndGoLast) {
  plant("upon", "upon", R"(, "requires": ["well"])");
  plant("well", "well", wellFields);
  loader().load("upon");
  EXPECT_EQ(QStringList({"well", "upon"}), loader().loaded());
  EXPECT_EQ("package well: it is required by upon", textOfException([] { loader().unload("well"); }));
  loader().unloadAll();
  EXPECT_EQ(QStringList(), loader().loaded());
}

TEST_F(PackageLoader, PackageInUseStaysLoaded) {
  plant("well", "well", wellFields);
  loader().load("well");
  HxObjectPool::instance().add(HxObject::create("HxWellData"), "mine");
  EXPECT_EQ("package well: it is in use by object \"mine\"", textOfException([] { loader().unload("well"); }));
  EXPECT_FALSE(McType::find("HxWellData").isBad());
  HxObjectPool::instance().clear();
  loader().unload("well");
}

TEST_F(PackageLoader, WrongAbiIsRefusedBeforeOpening) {
  plant("failing", "failing", "", "quarn-0-other-qt5");
  EXPECT_THAT(errorOf("failing"), AllOf(HasSubstr("package failing: it was built for \"quarn-0-other-qt5\""),
                                        HasSubstr(quarn::packageAbi().toStdString())));
  EXPECT_TRUE(McType::find("HxFailingData").isBad());
}

TEST_F(PackageLoader, FailingInitialisationIsUndone) {
  plant("failing", "failing", R"(, "classes": ["HxFailingData"])");
  EXPECT_EQ("package failing: there is no licence for the moon", errorOf("failing"));
  EXPECT_TRUE(McType::find("HxFailingData").isBad());
  EXPECT_FALSE(loader().isLoaded("failing"));
}

TEST_F(PackageLoader, MissingEntryPointIsNamed) {
  plant("bare", "bare");
  EXPECT_THAT(errorOf("bare"),
              AllOf(HasSubstr("package bare: "), HasSubstr("libbare.so: has no function quarnpackage_bare_init")));
}

TEST_F(PackageLoader, MissingSymbolOfAFileTypeUndoesTheLoading) {
  plant("well", "well",
        R"(, "classes": ["HxWellData"], "fileTypes": [{"label": "W", "suffix": ".well.qm", "contentType": "HxWellData",
           "read": "readWellData", "save": [{"format": "W", "class": "HxWellData", "function": "noSuchFunction"}]}])");
  EXPECT_THAT(errorOf("well"), HasSubstr("libwell.so: has no function noSuchFunction"));
  EXPECT_TRUE(McType::find("HxWellData").isBad());
  EXPECT_FALSE(HxFileTypes::instance().suffixes().contains(".well.qm"));
}

TEST_F(PackageLoader, ClassesOfTheManifestMustComeWithTheLibrary) {
  plant("upon", "upon", R"(, "classes": ["HxNoSuchClass"])");
  EXPECT_THAT(errorOf("upon"), HasSubstr("class HxNoSuchClass of the manifest is not registered"));
  EXPECT_FALSE(loader().isLoaded("upon"));
}

TEST_F(PackageLoader, UnknownInterfaceFactoryUndoesTheLoading) {
  plant("well", "well",
        R"(, "classes": ["HxWellData"], "interfaceFactories": [{"class": "HxTable", "factory": "HxNoSuchFactory"}])");
  EXPECT_THAT(errorOf("well"), HasSubstr("HxNoSuchFactory"));
  EXPECT_TRUE(McType::find("HxWellData").isBad());
}

TEST_F(PackageLoader, WhatWasLoadedForAFailingPackageGoesAgain) {
  plant("well", "well", wellFields);
  plant("failing", "failing", R"(, "requires": ["well"])");
  errorOf("failing");
  EXPECT_EQ(QStringList(), loader().loaded());
}

TEST_F(PackageLoader, CirclesAreRefused) {
  plant("well", "well", R"(, "requires": ["upon"])");
  plant("upon", "upon", R"(, "requires": ["well"])");
  EXPECT_THAT(errorOf("well"), HasSubstr("it requires itself: well -> upon -> well"));
  EXPECT_EQ(QStringList(), loader().loaded());
}

TEST_F(PackageLoader, MissingLibraryAndGarbageAreRefused) {
  plant("well", "well");
  ASSERT_TRUE(QFile::remove(folder.file("libwell.so")));
  EXPECT_THAT(errorOf("well"), HasSubstr("libwell.so: cannot be opened"));
  folder.write("libwell.so", "this is no library");
  EXPECT_THAT(errorOf("well"), HasSubstr("libwell.so: cannot be opened"));
}

TEST_F(PackageLoader, UnknownNamesAreRefused) {
  EXPECT_THAT(errorOf("nothing"), AllOf(HasSubstr("package nothing: it is in none of the package folders"),
                                        HasSubstr(folder.path().toStdString())));
  for (const char* name : {"", "../well", "/tmp/well", "a b", "we.ll"})
    EXPECT_THAT(errorOf(name), HasSubstr("this is not a name of a package")) << name;
  EXPECT_THROW(loader().unload("nothing"), McException);
}

TEST_F(PackageLoader, FoldersMustBeAbsoluteAndSafe) {
  const auto refusal = [](const QString& path) { return textOfException([&] { loader().addPath(path); }); };
  EXPECT_THAT(refusal("packages"), HasSubstr("package folder packages: an absolute path is expected"));
  EXPECT_THAT(refusal("."), HasSubstr("an absolute path is expected"));
  EXPECT_THAT(refusal(folder.file("missing")), HasSubstr("is not a folder"));
  EXPECT_THAT(refusal(folder.write("file", "")), HasSubstr("is not a folder"));
  const TemporaryFolder open;
  ASSERT_EQ(0, chmod(open.path().toUtf8().constData(), 0777));
  EXPECT_THAT(refusal(open.path()), HasSubstr("can be written by everybody"));
}

TEST_F(PackageLoader, LibraryThatEverybodyCanWriteIsNotOpened) {
  plant("well", "well", wellFields);
  ASSERT_EQ(0, chmod(folder.file("libwell.so").toUtf8().constData(), 0777));
  EXPECT_THAT(errorOf("well"), HasSubstr("can be written by everybody"));
}

TEST_F(PackageLoader, AvailablePackagesAreThoseWithAManifest) {
  plant("well", "well", wellFields);
  plant("failing", "failing");
  folder.write("not a name.json", "{}");
  EXPECT_TRUE(loader().available().contains("well"));
  EXPECT_FALSE(loader().available().contains("not a name"));
  const QStringList problems = loader().loadAll();
  ASSERT_EQ(1, problems.size());
  EXPECT_THAT(problems[0].toStdString(), HasSubstr("package failing: "));
  EXPECT_EQ(QStringList("well"), loader().loaded());
}

TEST_F(PackageLoader, LoadsInACommaLocale) {
  const CommaLocale locale;
  plant("well", "well", wellFields);
  loader().load("well");
  EXPECT_TRUE(loader().isLoaded("well"));
}
