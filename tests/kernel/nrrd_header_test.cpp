#include <cmath>
#include <gtest/gtest.h>

#include "quarn/kernel/io/NrrdHeader.h"
#include "tests/kernel/TemporaryFolder.h"
#include "tests/kernel/expectMcException.h"

using quarn::NrrdHeader;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

const QString file = QStringLiteral("brain.nrrd");

/// A header that is sound, with its end.
const std::string sound =
    "NRRD0004\n"
    "# made by hand\n"
    "type: unsigned short\n"
    "dimension: 4\n"
    "space: left-posterior-superior\n"
    "sizes: 2 5 6 7\n"
    "space directions: none (0.5,0,0) ( 0, -0.5 ,0) (0,0,2e0)\n"
    "kinds: list domain domain Domain\n"
    "endian: little\n"
    "encoding: gzip\n"
    "space origin: (-1.5,2,+3)\n"
    "Segment0_Name:=a\\nb\\\\c\n"
    "Empty:=\n"
    "\n";

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return text.replace(at, from.size(), to);
}

std::string refusalOf(const std::string& text) {
  return textOfException([&] { NrrdHeader::parse(text, file); });
}

}  // namespace

TEST(NrrdHeader, ReadsEveryField) {
  const NrrdHeader header = NrrdHeader::parse(sound + "data", file);
  EXPECT_EQ(header.version, 4);
  EXPECT_EQ(header.type, NrrdHeader::Type::uint16);
  EXPECT_EQ(header.sizes, (std::vector<std::int64_t>{2, 5, 6, 7}));
  EXPECT_EQ(header.space, "left-posterior-superior");
  EXPECT_EQ(header.spaceDimension, 3);
  ASSERT_EQ(header.spaceDirections.size(), 4U);
  EXPECT_FALSE(header.spaceDirections[0]);
  EXPECT_EQ(*header.spaceDirections[2], (NrrdHeader::Vector{0, -0.5, 0}));
  EXPECT_EQ(*header.spaceDirections[3], (NrrdHeader::Vector{0, 0, 2}));
  EXPECT_EQ(header.spaceOrigin, (NrrdHeader::Vector{-1.5, 2, 3}));
  EXPECT_EQ(header.kinds, (std::vector<std::string>{"list", "domain", "domain", "domain"}));
  EXPECT_EQ(header.endian, NrrdHeader::Endian::little);
  EXPECT_EQ(header.encoding, NrrdHeader::Encoding::gzip);
  EXPECT_EQ(header.dataOffset, sound.size());
  EXPECT_EQ(header.elementCount(), 420);
  EXPECT_EQ(header.dataBytes(), 840);
  EXPECT_EQ(header.dataPath(file), file);
}

TEST(NrrdHeader, KeepsPairsInTheirOrderAndResolvesEscapes) {
  const NrrdHeader header =
      NrrdHeader::parse(replaced(sound, "Empty:=", "Empty:=\nb:a:=x: y:=z\nEmpty:=two\\x\n\\n:="), file);
  const std::vector<NrrdHeader::KeyValue> expected = {
      {"Segment0_Name", "a\nb\\c"}, {"Empty", ""}, {"b:a", "x: y:=z"}, {"Empty", "two\\x"}, {"\n", ""}};
  EXPECT_EQ(header.keyValues, expected);
  ASSERT_TRUE(header.find("Empty"));
  EXPECT_EQ(*header.find("Empty"), "two\\x");
  EXPECT_FALSE(header.find("empty"));
}

TEST(NrrdHeader, TakesAllSpellings) {
  const std::string text =
      "NRRD0001\r\nSizes: 3\r\nDIMENSION: 1\r\nType: INT\r\nEncoding: ASCII\r\ncontent:\r\nDataFile: d.txt\r\n"
      "lineskip: 4\r\nByte Skip: 5\r\nspacings: nan\r\n";
  const NrrdHeader header = NrrdHeader::parse(text, QStringLiteral("folder/d.nhdr"));
  EXPECT_EQ(header.type, NrrdHeader::Type::int32);
  EXPECT_EQ(header.encoding, NrrdHeader::Encoding::text);
  EXPECT_EQ(header.lineSkip, 4);
  EXPECT_EQ(header.byteSkip, 5);
  EXPECT_EQ(header.dataOffset, 0U);
  EXPECT_TRUE(std::isnan(header.spacings.at(0)));
  EXPECT_EQ(header.dataPath(QStringLiteral("folder/d.nhdr")), QStringLiteral("folder/d.txt"));
}

TEST(NrrdHeader, WritesWhatItReads) {
  NrrdHeader header = NrrdHeader::parse(sound, file);
  header.version = 5;
  header.spaceOrigin = {0.1, -1e-300, 123456789.0123};
  header.byteSkip = 3;
  header.keyValues.emplace_back("quotes \" and \\n", "line\nline\\nline \t \xc3\xa9");
  const std::string text = header.toText(file);
  const NrrdHeader again = NrrdHeader::parse(text, file);
  EXPECT_EQ(again.toText(file), text);
  EXPECT_EQ(again.version, 5);
  EXPECT_EQ(again.spaceOrigin, header.spaceOrigin);
  EXPECT_EQ(again.spaceDirections, header.spaceDirections);
  EXPECT_EQ(again.keyValues, header.keyValues);
  EXPECT_EQ(again.kinds, header.kinds);
  EXPECT_EQ(again.byteSkip, 3);
  EXPECT_EQ(again.dataOffset, text.size());
}

TEST(NrrdHeader, WritesAHeaderOfItsOwn) {
  NrrdHeader header = NrrdHeader::parse(
      "NRRD0005\ntype: uint8\ndimension: 1\nspace dimension: 1\nsizes: 3\n"
      "space origin: (1)\nencoding: raw\ndata file: x.raw\n",
      file);
  EXPECT_EQ(header.spaceDimension, 1);
  const std::string text = header.toText(file);
  EXPECT_THAT(text, HasSubstr("\ndata file: x.raw\n"));
  EXPECT_FALSE(text.ends_with("\n\n"));
  EXPECT_EQ(NrrdHeader::parse(text, file).toText(file), text);
}

TEST(NrrdHeader, WritesNoPairThatWouldComeBackAsSomethingElse) {
  for (const std::string key : {"# comment", "a:=b", "type: int", "no such: field", "a\rb\n: "}) {
    NrrdHeader header = NrrdHeader::parse(sound, file);
    header.keyValues.emplace_back(key, "value");
    EXPECT_THAT(textOfException([&] { header.toText(file); }), StartsWith("brain.nrrd: ")) << key;
  }
  NrrdHeader header = NrrdHeader::parse(sound, file);
  header.keyValues.emplace_back("key", "value\r");
  EXPECT_THAT(textOfException([&] { header.toText(file); }), HasSubstr("key \"key\""));
}

TEST(NrrdHeader, RefusesAFieldThatIsWrong) {
  const struct {
    const char *from, *to, *refusal;
  } cases[] = {
      {"NRRD0004", "NRRD0009", "brain.nrrd: first line: NRRD0001 to NRRD0005 can be read, got \"NRRD0009\""},
      {"NRRD0004", "NRRD00044", "got \"NRRD00044\""},
      {"NRRD0004", "PNG", "brain.nrrd: is not an NRRD file"},
      {"unsigned short", "block", "field \"type\": blocks cannot be read, got \"block\""},
      {"unsigned short", "bit", "field \"type\": is not known, got \"bit\""},
      {"type: unsigned short\n", "", "the field \"type\" is missing"},
      {"dimension: 4", "dimension: 0", "field \"dimension\": a whole number from 1 to 16 is expected, got \"0\""},
      {"dimension: 4", "dimension: 17", "got \"17\""},
      {"dimension: 4", "dimension: 4x", "got \"4x\""},
      {"dimension: 4", "dimension: 3", "field \"sizes\": 3 words are expected, got \"2 5 6 7\""},
      {"sizes: 2 5 6 7\n", "", "the field \"sizes\" is missing"},
      {"2 5 6 7", "2 5 -6 7", "field \"sizes\": whole numbers from 1 on are expected, got \"-6\""},
      {"2 5 6 7", "2 5 0 7", "got \"0\""},
      {"2 5 6 7", "2 5 6 7e3", "got \"7e3\""},
      {"2 5 6 7", "2 5 6 99999999999999999999", "got \"99999999999999999999\""},
      {"2 5 6 7", "2 3037000500 1518500250 1", "field \"sizes\": more bytes than can be counted"},
      {"left-posterior-superior", "up", "field \"space\": is not known, got \"up\""},
      {"space: left-posterior-superior\n", "", "stands there without a space"},
      {"space: ", "space dimension: 3\nspace: ", "field \"space dimension\": stands beside \"space\""},
      {"none (0.5,0,0)", "(0.5,0,0)", "field \"space directions\": 4 vectors are expected"},
      {"(0.5,0,0)", "(0.5,0)", "field \"space directions\": a vector of 3 numbers is expected, got \"(0.5,0)\""},
      {"(0.5,0,0)", "(0.5,0,nan)", "got \"(0.5,0,nan)\""},
      {"(0.5,0,0)", "(0.5,0,0", "field \"space directions\""},
      {"(0.5,0,0)", "()", "got \"()\""},
      {"(-1.5,2,+3)", "(-1.5,2,inf)", "field \"space origin\": a vector of 3 numbers is expected"},
      {"list domain", "domain", "field \"kinds\": 4 words are expected"},
      {"little", "middle", "field \"endian\": is not known, got \"middle\""},
      {"endian: little\n", "", "the field \"endian\" is missing"},
      {"gzip", "zip", "field \"encoding\": is not known, got \"zip\""},
      {"encoding: gzip\n", "", "the field \"encoding\" is missing"},
      {"kinds", "colour", "field \"colour\": is not known, got \"list domain domain Domain\""},
      {"type: ", "type: int8\ntype: ", "field \"type\": stands there twice"},
      {"kinds: ", "byte skip: -1\nkinds: ", "field \"byte skip\": stands beside an encoding that is not raw"},
      {"kinds: ", "line skip: -1\nkinds: ", "field \"line skip\": a whole number from 0"},
      {"kinds: ", "spacings: 1 1 1 inf\nkinds: ", "field \"spacings\": numbers or nan are expected, got \"inf\""},
      {"kinds: ", "data file: LIST\nkinds: ", "field \"data file\": data in several files cannot be read"},
      {"kinds: ", "data file: a%03d.raw 1 9 1\nkinds: ", "got \"a%03d.raw 1 9 1\""},
      {"kinds: ", "data file:\nkinds: ", "field \"data file\": the name of a file is expected"},
      {"kinds: ", "nothing\nkinds: ", "a line that is neither a field nor a key with a value: \"nothing\""},
  };
  for (const auto& c : cases) EXPECT_THAT(refusalOf(replaced(sound, c.from, c.to)), HasSubstr(c.refusal)) << c.to;
}

TEST(NrrdHeader, RefusesAHeaderCutAtAnyByte) {
  for (std::size_t length = 0; length + 1 < sound.size(); ++length)
    EXPECT_THAT(refusalOf(sound.substr(0, length)), StartsWith("brain.nrrd: ")) << length;
}

TEST(NrrdHeader, RefusesAHeaderWithoutEndWithinItsBounds) {
  const std::string tooLong = replaced(sound, "Empty:=", "Empty:=" + std::string(NrrdHeader::maxBytes, 'x'));
  EXPECT_EQ(refusalOf(tooLong), "brain.nrrd: its header has no end within 1048576 bytes");
  const std::size_t room = NrrdHeader::maxBytes - sound.size();
  EXPECT_NO_THROW(NrrdHeader::parse(replaced(sound, "Empty:=", "Empty:=" + std::string(room, 'x')), file));
  EXPECT_NE(refusalOf(replaced(sound, "Empty:=", "Empty:=" + std::string(room + 1, 'x'))), "");
}

TEST(NrrdHeader, CutsLongValuesInItsMessages) {
  EXPECT_LT(refusalOf(replaced(sound, "gzip", std::string(100000, 'z'))).size(), 300U);
}

TEST(NrrdHeader, LeadsToNoFileOfAnotherFolder) {
  NrrdHeader header = NrrdHeader::parse(sound, file);
  for (const char* name : {"../x.raw", "/x.raw", "a/b", ".", "..", "a\\b", "./", "./..", "././x.raw"}) {
    header.dataFile = name;
    EXPECT_THAT(textOfException([&] { header.dataPath(file); }), HasSubstr("field \"data file\"")) << name;
  }
}

TEST(NrrdHeader, LeadsToItsOwnFolder) {
  NrrdHeader header = NrrdHeader::parse(sound, file);
  header.dataFile = "./x.raw";
  EXPECT_EQ(header.dataPath(QStringLiteral("folder/d.nhdr")), QStringLiteral("folder/x.raw"));
}

TEST(NrrdHeader, KeepsOtherFieldsAsTheyStand) {
  const std::string text = "NRRD0004\ntype: uchar\ndimension: 3\nsizes: 1 1 1\nencoding: raw\n";
  EXPECT_TRUE(NrrdHeader::parse(text + "\n", file).others.empty());
  const NrrdHeader header = NrrdHeader::parse(text + "axis mins: 1 nan 3\nunits: \"mm\" \"\" \"um\"\n\n", file);
  const std::map<std::string, std::string> expected = {{"axis mins", "1 nan 3"}, {"units", "\"mm\" \"\" \"um\""}};
  EXPECT_EQ(header.others, expected);
}

TEST(NrrdHeader, IsReadFromAFile) {
  const TemporaryFolder folder;
  const QString path = folder.write(QStringLiteral("a.nrrd"), QByteArray::fromStdString(sound + std::string(99, '\0')));
  EXPECT_EQ(NrrdHeader::read(path).dataOffset, sound.size());
  EXPECT_THAT(textOfException([&] { NrrdHeader::read(folder.file(QStringLiteral("b.nrrd"))); }), HasSubstr("b.nrrd"));
}
