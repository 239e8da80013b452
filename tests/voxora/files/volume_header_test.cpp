#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "quarn/voxora/files/MemoryFileSystem.h"
#include "quarn/voxora/files/VolumeHeader.h"
#include "tests/voxora/files/volume_files.h"

using hxvoxora::TileCompression;
using hxvoxora::VolumeHeader;
using testing::AllOf;
using testing::HasSubstr;
using volumefiles::messageOf;

namespace {

const std::string path = "/data/a.ldm";

VolumeHeader validHeader() {
  VolumeHeader header = volumefiles::makeHeader({181, 217, 181}, {64, 32, 64});
  header.dataFile = "a.dat";
  header.indexFile = "a.fcp";
  header.generation = 0x7d0c93a1b2f4e865;
  return header;
}

std::string validText() {
  return validHeader().toXml();
}

/// The valid header with one piece of text replaced by another.
std::string changed(const std::string& from, const std::string& to) {
  std::string text = validText();
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return text.replace(at, from.size(), to);
}

/// The valid header with the text of one element replaced.
std::string withValue(const std::string& element, const std::string& value) {
  std::string text = validText();
  const std::size_t begin = text.find("<" + element + ">") + element.size() + 2;
  return text.replace(begin, text.find('<', begin) - begin, value);
}

std::string withChild(const std::string& child) {
  return changed("</Volume", " " + child + "\n</Volume");
}

std::string refusal(const std::string& text) {
  return messageOf([&] { VolumeHeader::parse(text, path); });
}

void expectRefused(const std::string& text, const std::string& place) {
  EXPECT_THAT(refusal(text), AllOf(HasSubstr(path), HasSubstr(place)));
}

std::string nested(int depth) {
  std::string text;
  for (int i = 0; i < depth; ++i) text += "<a>";
  for (int i = 0; i < depth; ++i) text += "</a>";
  return text;
}

}  // namespace

TEST(VolumeHeader, ComesBackAsItWasWritten) {
  const VolumeHeader header = VolumeHeader::parse(validText(), path);
  EXPECT_EQ(header.dimensions, McVec3i(181, 217, 181));
  EXPECT_EQ(header.tileDimensions, McVec3i(64, 32, 64));
  EXPECT_EQ(header.compression, TileCompression::gzip);
  EXPECT_EQ(header.border, 0);
  EXPECT_EQ(header.dataFile, "a.dat");
  EXPECT_EQ(header.indexFile, "a.fcp");
  EXPECT_EQ(header.generation, 0x7d0c93a1b2f4e865);
}

TEST(VolumeHeader, NameOfTheContentIsOptional) {
  VolumeHeader header = validHeader();
  EXPECT_EQ(header.toXml().find("<Name>"), std::string::npos);
  EXPECT_EQ(VolumeHeader::parse(header.toXml(), path).contentName, "");
  header.contentName = "Left_Putamen-2";
  EXPECT_EQ(VolumeHeader::parse(header.toXml(), path).contentName, "Left_Putamen-2");
  for (const std::string other : {"", "two words", "a/b", "caf\xc3\xa9"}) {
    EXPECT_EQ(VolumeHeader::parse(withChild("<Name>" + other + "</Name>"), path).contentName, "") << other;
  }
  EXPECT_EQ(VolumeHeader::parse(withChild("<Name>a</Name><Name>b</Name>"), path).contentName, "");
}

TEST(VolumeHeader, IsTheTextOfTheFormatPage) {
  VolumeHeader header = validHeader();
  header.tileDimensions = {64, 64, 64};
  header.dataFile = "putamen.dat";
  header.indexFile = "putamen.fcp";
  EXPECT_EQ(header.toXml(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<VolumeInformation>\n"
            " <FormatVersion>1</FormatVersion>\n"
            " <Dimensions>181 217 181</Dimensions>\n"
            " <TileDimensions>64 64 64</TileDimensions>\n"
            " <VoxelType>bit</VoxelType>\n"
            " <Levels>1</Levels>\n"
            " <Compression>gzip</Compression>\n"
            " <DataFile>putamen.dat</DataFile>\n"
            " <IndexFile>putamen.fcp</IndexFile>\n"
            " <Generation>7d0c93a1b2f4e865</Generation>\n"
            "</VolumeInformation>\n");
}

TEST(VolumeHeader, NamesEachFileOnceOnItsOwnLine) {
  for (const std::string name : {"a.dat", "a.fcp"}) {
    const std::string text = validText();
    const std::size_t at = text.find(name);
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(text.find(name, at + 1), std::string::npos);
  }
  EXPECT_EQ(validText().find("TileBorder"), std::string::npos);
}

TEST(VolumeHeader, KeepsNamesThatXmlMustEscape) {
  VolumeHeader header = validHeader();
  header.dataFile = "a&b<c>\"d'.dat";
  EXPECT_EQ(VolumeHeader::parse(header.toXml(), path).dataFile, header.dataFile);
}

TEST(VolumeHeader, ReadsTheRewritingOfOtherPrograms) {
  const std::string declared = "<?xml version='1.0' encoding='utf-8' standalone=\"no\"?>";
  const std::string body = validText().substr(validText().find("<Volume"));
  std::string dense, windows;
  for (const char c : body) {
    if (c != '\n') dense += c;
    windows += c == '\n' ? std::string("\r\n") : std::string(1, c);
  }
  for (const std::string& text : {body, declared + body, "\xEF\xBB\xBF" + body, dense, windows, body + "<!-- end -->",
                                  changed("181 217 181", "\n  181\t217\n 181 ")}) {
    EXPECT_EQ(VolumeHeader::parse(text, path).dimensions, McVec3i(181, 217, 181)) << text;
  }
}

TEST(VolumeHeader, OrderAndUnknownElementsDoNotMatter) {
  const std::string text =
      "<VolumeInformation><Generation>0000000000000001</Generation><Tool><Name version=\"3 &lt; 4\"/></Tool>"
      "<IndexFile>i</IndexFile><DataFile>d</DataFile><Compression>none</Compression><Levels>1</Levels>"
      "<VoxelType>bit</VoxelType><TileDimensions>32 8 8</TileDimensions><Dimensions>1 2 2147483647</Dimensions>"
      "<FormatVersion>1</FormatVersion></VolumeInformation>";
  const VolumeHeader header = VolumeHeader::parse(text, path);
  EXPECT_EQ(header.dimensions, McVec3i(1, 2, 2147483647));
  EXPECT_EQ(header.compression, TileCompression::none);
  EXPECT_EQ(header.generation, 1u);
}

TEST(VolumeHeader, CutAtAnyByteIsRefused) {
  const std::string text = validText();
  // Only the last line end may be missing.
  for (std::size_t size = 0; size < text.size() - 1; ++size) {
    EXPECT_THAT(refusal(text.substr(0, size)), HasSubstr(path)) << size;
  }
  EXPECT_NO_THROW(VolumeHeader::parse(text.substr(0, text.size() - 1), path));
}

TEST(VolumeHeader, EmptyTextsAreRefused) {
  expectRefused("", "the file is empty");
  for (const std::string text : {"\xEF\xBB\xBF", " \r\n\t", "<!-- nothing -->", "\xEF\xBB\xBF\n"}) {
    expectRefused(text, "no element");
  }
}

TEST(VolumeHeader, RootMustBeVolumeInformation) {
  const std::string body = validText().substr(validText().find("<Volume"));
  expectRefused("<Other>" + body + "</Other>", "\"Other\"");
  expectRefused(body + body, "a second root element");
  expectRefused("<volumeinformation/>", "\"volumeinformation\"");
  expectRefused("text" + body, "text outside the root element");
  expectRefused(body + "<![CDATA[text]]>", "text outside the root element");
  expectRefused(changed(" <Levels>", "stray <Levels>"), "VolumeInformation");
}

TEST(VolumeHeader, DeclarationsAndEntitiesAreRefused) {
  std::string bomb = "<!DOCTYPE v [<!ENTITY e0 \"x\">";
  for (int i = 1; i <= 10; ++i) {
    bomb += "<!ENTITY e" + std::to_string(i) + " \"&e" + std::to_string(i - 1) + ";&e" + std::to_string(i - 1) + ";\">";
  }
  expectRefused(bomb + "]>" + validText(), "declarations (\"<!\")");
  expectRefused("<!DOCTYPE v [<!ENTITY c SYSTEM \"file:///canary\">]><VolumeInformation>&c;</VolumeInformation>",
                "declarations (\"<!\")");
  expectRefused(withValue("DataFile", "&canary;.dat"), "entity \"canary\"");
  expectRefused(withValue("DataFile", "a&amp"), "an entity is not closed");
  expectRefused(withValue("DataFile", "a&#0;.dat"), "character reference \"#0\"");
  expectRefused(withValue("DataFile", "a&#x110000;.dat"), "character reference");
}

TEST(VolumeHeader, DepthIsLimited) {
  EXPECT_NO_THROW(VolumeHeader::parse(withChild(nested(63)), path));
  expectRefused(withChild(nested(64)), "nested deeper than 64 elements");
  expectRefused(nested(5000), "nested deeper than 64 elements");
}

TEST(VolumeHeader, LengthIsLimited) {
  std::string children;
  for (int i = 0; i < 1'000'000; ++i) children += "<a/>";
  expectRefused(withChild(children), "longer than 1048576 bytes");
  expectRefused(withChild("<a>" + std::string(64 << 20, 'x') + "</a>"), "longer than 1048576 bytes");
  expectRefused(withChild("<a b=\"" + std::string(64 << 20, 'x') + "\"/>"), "longer than 1048576 bytes");
  EXPECT_NO_THROW(VolumeHeader::parse(withChild("<a>" + std::string(900'000, 'x') + "</a>"), path));
}

TEST(VolumeHeader, LongFilesAreNotReadWhole) {
  hxvoxora::MemoryFileSystem files;
  files.setContent("a.ldm", volumefiles::toBytes(validText() + std::string(64 << 20, ' ')));
  EXPECT_THAT(messageOf([&] { VolumeHeader::read(files, "a.ldm"); }), HasSubstr("longer than 1048576 bytes"));
}

TEST(VolumeHeader, OtherEncodingsAreRefused) {
  std::string wide;
  for (const char c : validText()) wide += {c, '\0'};
  expectRefused(wide, "control character 0");
  expectRefused("\xFF\xFE" + wide, "not UTF-8");
  expectRefused(changed("UTF-8", "ISO-8859-1"), "encoding \"ISO-8859-1\"");
  expectRefused(changed("1.0", "1.1"), "version \"1.1\"");
  expectRefused(changed("<VolumeInformation>", "<VolumeInformation><?xml version=\"1.0\"?>"), "at the beginning");
  for (const std::string bad : {"\x80", "\xC0\xAF", "\xED\xA0\x80", "\xF5\x80\x80\x80", "\xE2\x82", "\xFF"}) {
    expectRefused(withValue("DataFile", bad + ".dat"), "not UTF-8");
  }
  expectRefused(withValue("DataFile", std::string("a\0.dat", 6)), "control character 0");
  expectRefused(withValue("DataFile", "a\x01.dat"), "control character 1");
}

TEST(VolumeHeader, InstructionsAreRefused) {
  const std::string body = validText().substr(validText().find("<Volume"));
  expectRefused("<?note?>" + body, "not the XML declaration");
  expectRefused("<?xml-stylesheet a=\"b\"?>" + body, "not the XML declaration");
  expectRefused(validText() + "<?note?>", "only allowed at the beginning");
}

TEST(VolumeHeader, MarkupErrorsAreRefused) {
  for (const std::string child : {"<a>", "</a>", "<a></b>", "<a b=c/>", "<a", "<a <b/>", "<!-- open", "<![CDATA[ open",
                                  "<?open", "<>", "<a b=\"1/>"}) {
    expectRefused(withChild(child), "not a valid header");
  }
}

TEST(VolumeHeader, MissingAndRepeatedElementsAreRefused) {
  for (const std::string name : {"FormatVersion", "Dimensions", "TileDimensions", "VoxelType", "Levels", "Compression",
                                 "DataFile", "IndexFile", "Generation"}) {
    std::string text = validText();
    const std::size_t begin = text.find(" <" + name + ">");
    const std::size_t end = text.find('\n', begin) + 1;
    const std::string line = text.substr(begin, end - begin);
    expectRefused(std::string(text).erase(begin, end - begin), "element " + name + " is missing");
    expectRefused(std::string(text).insert(begin, line), "element " + name);
  }
}

TEST(VolumeHeader, NumbersMustBeWholeAndPlain) {
  for (const std::string value :
       {"1e3 217 181", "0x10 217 181", "1,000 217 181", "12abc 217 181", "181.0 217 181", "-1 217 181", "+1 217 181",
        "\xD9\xA1\xD9\xA8 217 181", "181 217", "181 217 181 1", "", " ", "181 217 2147483648",
        "181 217 99999999999999999999", "nan 217 181", "0 217 181", "181 0 181", "181 217 0"}) {
    EXPECT_THAT(refusal(withValue("Dimensions", value)), AllOf(HasSubstr(path), HasSubstr("element Dimensions \"")))
        << value;
  }
}

TEST(VolumeHeader, TileDimensionsAreLimited) {
  for (const std::string value : {"0 32 32", "-1 32 32", "2147483648 32 32", "16 16 16", "64 64 512", "64 64 4",
                                  "48 32 32", "64 64", "512 512 512"}) {
    EXPECT_THAT(refusal(withValue("TileDimensions", value)), HasSubstr("element TileDimensions \"" + value)) << value;
  }
  // Larger than the volume is sound: a small volume has one tile.
  const VolumeHeader header = VolumeHeader::parse(withValue("TileDimensions", "256 256 256"), path);
  EXPECT_EQ(header.tileCount(), 1u);
}

TEST(VolumeHeader, TileCountIsLimitedWithoutOverflow) {
  expectRefused(withValue("Dimensions", "2147483647 2147483647 2147483647"),
                "element Dimensions \"2147483647 2147483647 2147483647\": more than 1099511627776 tiles");
  VolumeHeader header = volumefiles::makeHeader({65536, 65536, 65536}, {32, 8, 8});
  EXPECT_EQ(header.tileCount(), std::uint64_t{2048} * 8192 * 8192);
  header = validHeader();
  header.dimensions = {1 << 20, 1 << 20, 1 << 20};  // 2^14 x 2^15 x 2^14
  EXPECT_THAT(messageOf([&] { header.validate(path); }), HasSubstr("element Dimensions \"1048576 1048576 1048576\""));
  header.dimensions = {1 << 19, 1 << 18, 1 << 20};  // 2^13 x 2^13 x 2^14
  EXPECT_NO_THROW(header.validate(path));
}

TEST(VolumeHeader, OtherKindsOfVolumesAreRefused) {
  for (const std::string value : {"uint8", "float", "", "Bit"})
    expectRefused(withValue("VoxelType", value), "VoxelType");
  for (const std::string value : {"0", "-1", "5", "64", "2147483648", "", "x"})
    expectRefused(withValue("Levels", value), "element Levels \"" + value + "\"");
  for (const std::string value : {"0", "2", "1.0"}) expectRefused(withValue("FormatVersion", value), "FormatVersion");
  for (const std::string value : {"lzw", "GZIP", ""}) expectRefused(withValue("Compression", value), "Compression");
  for (const std::string value : {"0000000000000000", "7D0C93A1B2F4E865", "1", "7d0c93a1b2f4e86500"}) {
    expectRefused(withValue("Generation", value), "Generation");
  }
}

TEST(VolumeHeader, MessagesShowLongValuesCut) {
  const std::string message = refusal(withValue("Compression", std::string(900'000, 'x')));
  EXPECT_THAT(message, AllOf(HasSubstr(path), HasSubstr("element Compression \"xxxx")));
  EXPECT_LT(message.size(), 400u);
}

TEST(VolumeHeader, BorderIsReadAndLimited) {
  EXPECT_EQ(VolumeHeader::parse(withChild("<TileBorder>0</TileBorder>"), path).border, 0);
  EXPECT_EQ(VolumeHeader::parse(withChild("<TileBorder>16</TileBorder>"), path).border, 16);
  for (const std::string value : {"-1", "17", "64", "2147483648", "", "x"}) {
    expectRefused(withChild("<TileBorder>" + value + "</TileBorder>"), "element TileBorder");
  }
}

TEST(VolumeHeader, FileNamesAreOnePlainComponent) {
  for (const std::string element : {"DataFile", "IndexFile"}) {
    for (const std::string value : {"/etc/canary", "../other/x.dat", "sub/x.dat", "sub\\x.dat", "", ".", "..", "a.ldm",
                                    "a\n.dat", "a\x7F.dat", "..\\x"}) {
      expectRefused(withValue(element, value), "element " + element);
    }
    expectRefused(withValue(element, std::string(5000, 'x')), "longer than 255 bytes");
    EXPECT_NO_THROW(VolumeHeader::parse(withValue(element, std::string(255, 'x')), path));
  }
  expectRefused(withValue("IndexFile", "a.dat"), "also named as DataFile");
}

TEST(VolumeHeader, FormatLettersInNamesAreJustText) {
  EXPECT_EQ(VolumeHeader::parse(withValue("DataFile", "%s%n%1.dat"), path).dataFile, "%s%n%1.dat");
  expectRefused(withValue("DataFile", "%s%n%1/x"), "\"%s%n%1/x\"");
}

TEST(VolumeHeader, TagsComeBackUnchanged) {
  for (const std::string box : {"0 9 0 9 0 9", "2147483647 -2147483648 2147483647 -2147483648 2147483647 -2147483648",
                                "1 2 3 4 5", "  9 0\n 5 5 ", "-5 400 0 1 0 1", ""}) {
    const VolumeHeader header = VolumeHeader::parse(withChild("<BoundingBox>" + box + "</BoundingBox>"), path);
    EXPECT_EQ(header.findTag("BoundingBox"), box);
  }
  EXPECT_EQ(VolumeHeader::parse(validText(), path).findTag("BoundingBox"), std::nullopt);
  EXPECT_EQ(VolumeHeader::parse(validText(), path).findTag("Dimensions"), "181 217 181");
  EXPECT_EQ(VolumeHeader::parse(withChild("<BoundingBox/>"), path).findTag("BoundingBox"), "");
  EXPECT_EQ(VolumeHeader::parse(withChild("<A><BoundingBox>1</BoundingBox></A>"), path).findTag("BoundingBox"),
            std::nullopt);
  EXPECT_EQ(VolumeHeader::parse(withChild("<T>a&amp;b<!-- c --><![CDATA[<d>]]></T>"), path).findTag("T"), "a&b<d>");
}

TEST(VolumeHeader, ContradictingTagsCountAsMissing) {
  const std::string first = "<BoundingBox>0 1 0 1 0 1</BoundingBox>";
  EXPECT_EQ(VolumeHeader::parse(withChild(first + first), path).findTag("BoundingBox"), "0 1 0 1 0 1");
  const std::string second = "<BoundingBox>0 2 0 1 0 1</BoundingBox>";
  EXPECT_EQ(VolumeHeader::parse(withChild(first + second), path).findTag("BoundingBox"), std::nullopt);
}

TEST(VolumeHeader, TileGridFollowsFromDimensions) {
  const VolumeHeader header = volumefiles::makeHeader({257, 65, 33}, {64, 32, 8});
  EXPECT_EQ(header.tilesPerAxis(), McVec3i(5, 3, 5));
  EXPECT_EQ(header.tileCount(), 75u);
  EXPECT_EQ(header.tileBytes(), 64u * 32 * 8 / 8);
  EXPECT_EQ(header.tileExtent(0), McVec3i(64, 32, 8));
  EXPECT_EQ(header.tileExtent(4), McVec3i(1, 32, 8));
  EXPECT_EQ(header.tileExtent(14), McVec3i(1, 1, 8));
  EXPECT_EQ(header.tileExtent(74), McVec3i(1, 1, 1));
}

TEST(VolumeHeader, LevelsAreKeptAndLimited) {
  VolumeHeader header = validHeader();
  for (int levels = 1; levels <= 4; ++levels) {
    header.levels = levels;
    EXPECT_EQ(VolumeHeader::parse(header.toXml(), path).levels, levels);
  }
  for (const int levels : {0, -1, 5}) {
    header.levels = levels;
    EXPECT_THAT(messageOf([&] { header.validate(path); }),
                HasSubstr("element Levels \"" + std::to_string(levels) + "\": not from 1 to 4"));
  }
}

TEST(VolumeHeader, LastLevelIsTheFirstToFitIntoOneTile) {
  EXPECT_EQ(VolumeHeader::maxLevels({1, 1, 1}, {32, 8, 8}), 1);
  EXPECT_EQ(VolumeHeader::maxLevels({32, 8, 8}, {32, 8, 8}), 1);
  EXPECT_EQ(VolumeHeader::maxLevels({32, 8, 9}, {32, 8, 8}), 2);
  EXPECT_EQ(VolumeHeader::maxLevels({181, 217, 181}, {64, 64, 64}), 3);
  EXPECT_EQ(VolumeHeader::maxLevels({1, 2147483647, 1}, {32, 8, 8}), 29);
  VolumeHeader header = volumefiles::makeHeader({2147483647, 5, 1}, {256, 8, 8});
  header.levels = VolumeHeader::maxLevels(header.dimensions, header.tileDimensions);
  EXPECT_EQ(header.levels, 24);
  EXPECT_EQ(header.levelDimensions(22), McVec3i(512, 1, 1));
  EXPECT_EQ(header.levelDimensions(23), McVec3i(256, 1, 1));
  EXPECT_EQ(header.tileCount(), (std::uint64_t{1} << 24) - 1);
}

TEST(VolumeHeader, TilesAreNumberedThroughAllLevels) {
  VolumeHeader header = volumefiles::makeHeader({257, 65, 33}, {64, 32, 8});
  header.levels = 4;  // 5 x 3 x 5, 3 x 2 x 3, 2 x 1 x 2 and 1 x 1 x 1 tiles
  EXPECT_EQ(header.levelDimensions(0), header.dimensions);
  EXPECT_EQ(header.levelDimensions(1), McVec3i(129, 33, 17));
  EXPECT_EQ(header.levelDimensions(2), McVec3i(65, 17, 9));
  EXPECT_EQ(header.levelDimensions(3), McVec3i(33, 9, 5));
  EXPECT_EQ(header.tilesPerAxis(1), McVec3i(3, 2, 3));
  EXPECT_EQ(header.tileCount(), 75u + 18 + 4 + 1);
  const std::uint64_t firstTiles[] = {0, 75, 93, 97};
  for (int level = 0; level < 4; ++level) {
    EXPECT_EQ(header.levelFirstTile(level), firstTiles[level]);
    EXPECT_EQ(header.levelOf(firstTiles[level]), level);
    EXPECT_EQ(header.levelOf(firstTiles[level] + header.levelTileCount(level) - 1), level);
  }
  EXPECT_EQ(header.tileExtent(75), McVec3i(64, 32, 8));
  EXPECT_EQ(header.tileExtent(92), McVec3i(1, 1, 1));
  EXPECT_EQ(header.tileExtent(94), McVec3i(1, 17, 8));
  EXPECT_EQ(header.tileExtent(97), McVec3i(33, 9, 5));
}

TEST(VolumeHeader, StoredTilesIncludeTheirBorders) {
  VolumeHeader header = volumefiles::makeHeader({100, 50, 20}, {32, 8, 8});
  EXPECT_EQ(header.storedTileDimensions(), header.tileDimensions);
  EXPECT_EQ(header.storedTileBytes(), header.tileBytes());
  header.border = 1;
  EXPECT_EQ(header.storedTileDimensions(), McVec3i(34, 10, 10));
  EXPECT_EQ(header.storedTileBytes(), 425u);
  EXPECT_EQ(header.tileBytes(), 256u);
  header.border = 3;
  EXPECT_EQ(header.storedTileBytes(), 931u);
  header.border = 1;
  header.tileDimensions = {64, 8, 8};
  EXPECT_EQ(header.storedTileBytes(), 825u);
}

TEST(VolumeHeader, FurtherElementsStandBehindThoseOfTheFormat) {
  VolumeHeader header = volumefiles::makeHeader({100, 50, 20}, {32, 8, 8});
  header.dataFile = "a.dat";
  header.indexFile = "a.fcp";
  header.generation = 1;
  const std::string text = header.toXml({{"Mine", "1 < 2"}, {"Empty", ""}});
  EXPECT_THAT(text, HasSubstr("</Generation>\n <Mine>1 &lt; 2</Mine>\n <Empty></Empty>\n</VolumeInformation>\n"));
  EXPECT_EQ(VolumeHeader::parse(text, "/v/a.ldm").findTag("Mine"), "1 < 2");
}
