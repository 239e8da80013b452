#include <gmock/gmock.h>

#include "quarn/kernel/packages/HxPackageManifest.h"
#include "tests/kernel/TemporaryFolder.h"
#include "tests/kernel/expectMcException.h"

using ::testing::AllOf;
using ::testing::HasSubstr;

namespace {

HxPackageManifest parse(const QByteArray& json) {
  return HxPackageManifest::parse(json, "/p/roi.json");
}

std::string errorOf(const QByteArray& json) {
  return textOfException([&] { parse(json); });
}

}  // namespace

TEST(PackageManifest, ReadsEveryField) {
  const HxPackageManifest manifest = parse(R"({
    "name": "roi", "version": "1.2", "abi": "x", "requires": ["other"], "classes": ["HxA", "HxB"],
    "interfaceFactories": [{"class": "HxA", "factory": "HxAFactory"}],
    "fileTypes": [{"label": "A file", "suffix": ".A.qm", "contentType": "HxA", "read": "readA",
                   "save": [{"format": "Plain", "class": "HxA", "function": "saveA"}]}],
    "comment": "unknown fields are for later versions"})");
  EXPECT_EQ("roi", manifest.name);
  EXPECT_EQ("1.2", manifest.version);
  EXPECT_EQ("x", manifest.abi);
  EXPECT_EQ(QStringList("other"), manifest.requiredPackages);
  EXPECT_EQ(QStringList({"HxA", "HxB"}), manifest.classes);
  ASSERT_EQ(1u, manifest.interfaceFactories.size());
  EXPECT_EQ("HxA", manifest.interfaceFactories[0].className);
  EXPECT_EQ("HxAFactory", manifest.interfaceFactories[0].factory);
  ASSERT_EQ(1u, manifest.fileTypes.size());
  EXPECT_EQ("readA", manifest.fileTypes[0].read);
  ASSERT_EQ(1u, manifest.fileTypes[0].save.size());
  EXPECT_EQ("saveA", manifest.fileTypes[0].save[0].function);
  EXPECT_EQ("/p/libroi.so", manifest.binary);
}

TEST(PackageManifest, NamesEveryProblem) {
  EXPECT_THAT(errorOf(R"({"version": 7, "classes": ["HxA", "not a name", 3], "requires": "other"})"),
              AllOf(HasSubstr("/p/roi.json: \"name\": a text is expected, it is missing"),
                    HasSubstr("\"version\": a text is expected, got 7"),
                    HasSubstr("\"abi\": a text is expected, it is missing"),
                    HasSubstr("\"classes\": a name of letters, digits and _ is expected, got \"not a name\""),
                    HasSubstr("\"classes\": a text is expected, got 3"),
                    HasSubstr("\"requires\": a list is expected, got \"other\"")));
}

TEST(PackageManifest, NamesProblemsInsideLists) {
  const QByteArray head = R"({"name": "roi", "version": "1", "abi": "x", )";
  EXPECT_THAT(errorOf(head + R"("fileTypes": [{"label": "L", "suffix": "qm", "contentType": "HxA",
                                 "save": [{"format": "F", "class": "HxA", "function": "a;b"}]}]})"),
              AllOf(HasSubstr("\"fileTypes[0].suffix\": a file name ending with its dot is expected, got \"qm\""),
                    HasSubstr("\"fileTypes[0].read\": contentType and read belong together, it is missing"),
                    HasSubstr("\"fileTypes[0].save[0].function\"")));
  EXPECT_THAT(errorOf(head + R"("interfaceFactories": [5, {"class": "HxA"}]})"),
              AllOf(HasSubstr("\"interfaceFactories[0].\": an object is expected, got 5"),
                    HasSubstr("\"interfaceFactories[1].factory\": a text is expected, it is missing")));
}

TEST(PackageManifest, NameIsThatOfTheFile) {
  EXPECT_THAT(errorOf(R"({"name": "other", "version": "1", "abi": "x"})"),
              HasSubstr("\"name\": the name of the file without .json is expected, got \"other\""));
}

TEST(PackageManifest, BadJsonHasItsLine) {
  EXPECT_THAT(errorOf("{\n\"name\": \"roi\",\n}"), HasSubstr("/p/roi.json:3: "));
  EXPECT_THAT(errorOf("[]"), HasSubstr("/p/roi.json: an object is expected"));
  EXPECT_THAT(errorOf(""), HasSubstr("/p/roi.json:1: "));
}

TEST(PackageManifest, LongValuesAreCut) {
  EXPECT_LT(errorOf(R"({"name": ")" + QByteArray(100000, 'x') + R"(", "version": "1", "abi": "x"})").size(), 500u);
}
