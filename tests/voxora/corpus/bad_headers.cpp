#include "tests/voxora/corpus/BadSet.h"

namespace {

using Spoil = std::function<void(BadSet&)>;
using volumefiles::Bytes;
using volumefiles::poke;

constexpr std::size_t mebibyte = std::size_t{1} << 20;

Spoil text(const std::string& header) {
  return [=](BadSet& set) { set.setHeader(header); };
}

Spoil element(const std::string& name, const std::string& value) {
  return [=](BadSet& set) { set.setElement(name, value); };
}

Spoil child(const std::string& xml) {
  return [=](BadSet& set) { set.append(xml); };
}

/// A long child, made when it is wanted: every test program has all cases.
Spoil longChild(const std::function<std::string()>& xml) {
  return [=](BadSet& set) { set.append(xml()); };
}

Spoil replacement(const std::string& from, const std::string& to) {
  return [=](BadSet& set) { set.replaceInHeader(from, to); };
}

/// The header as it is, with the root element changed.
Spoil root(const std::function<std::string(const std::string&)>& change) {
  return [=](BadSet& set) {
    const std::string whole = set.header();
    set.setHeader(change(whole.substr(whole.find("<Volume"))));
  };
}

std::string repeated(std::string_view piece, std::size_t count) {
  std::string result;
  for (std::size_t i = 0; i < count; ++i) result += piece;
  return result;
}

std::string entityLevels() {
  std::string text = "<!DOCTYPE v [<!ENTITY e0 \"x\">";
  for (int level = 1; level <= 10; ++level) {
    const std::string below = "&e" + std::to_string(level - 1) + ";";
    text += "<!ENTITY e" + std::to_string(level) + " \"" + repeated(below, 10) + "\">";
  }
  return text + "]><VolumeInformation>&e10;</VolumeInformation>";
}

std::string wide(const std::string& text) {
  std::string result;
  for (const char c : text) result += {c, '\0'};
  return result;
}

const std::string invalid = "a.ldm: not a valid header: ";
const std::string tooLong = invalid + "longer than 1048576 bytes";
const std::string declaration = invalid + "declarations (\"<!\") are not allowed (byte 0)";

std::string refused(const std::string& name, const std::string& value, const std::string& reason) {
  return "a.ldm: element " + name + " \"" + value + "\": " + reason;
}

void addMarkup(std::vector<BadCase>& cases) {
  cases.insert(
      cases.end(),
      {{"Empty", text(""), invalid + "the file is empty"},
       {"Folder", [](BadSet& set) { set.replaceByFolder("a.ldm"); }, "open a.ldm: not a regular file"},
       {"Pipe", [](BadSet& set) { set.replaceByPipe("a.ldm"); }, "open a.ldm: not a regular file"},
       {"LinkToDevice", [](BadSet& set) { set.replaceByLink("a.ldm", "/dev/zero"); }, "open a.ldm: not a regular file"},
       {"LinkToItself", [](BadSet& set) { set.replaceByLink("a.ldm", "a.ldm"); },
        "open a.ldm: Too many levels of symbolic links"},
       {"Missing", [](BadSet& set) { set.remove("a.ldm"); }, "open a.ldm: No such file or directory"},
       {"OnlyByteOrderMark", text("\xEF\xBB\xBF"), invalid + "no element (byte 0)"},
       {"OnlyBlanks", text(" \t\r\n "), invalid + "no element (byte 5)"},
       {"OtherRoot", text("<Volume><Dimensions>1 1 1</Dimensions></Volume>"),
        "a.ldm: the root element is \"Volume\", not VolumeInformation"},
       {"TwoRoots", root([](const std::string& body) { return body + body; }),
        invalid + "a second root element (byte 333)"},
       {"RootInsideAnother", root([](const std::string& body) { return "<Tool>" + body + "</Tool>"; }),
        "a.ldm: the root element is \"Tool\", not VolumeInformation"},
       {"EntityLevels", text(entityLevels()), declaration},
       {"ExternalEntity",
        [](BadSet& set) {
          set.setHeader("<!DOCTYPE v [<!ENTITY c SYSTEM \"file://" + set.canary() + "\">]><VolumeInformation>&c;" +
                        "</VolumeInformation>");
        },
        declaration},
       {"ExternalEntityWithoutDeclaration", element("DataFile", "&canary;"), invalid + "entity \"canary\" (byte 261)"},
       {"NestedFiveThousandDeep", child(repeated("<a>", 5000) + repeated("</a>", 5000)),
        invalid + "nested deeper than 64 elements (byte 540)"},
       {"MillionChildren", longChild([] { return repeated("<a/>", 1'000'000); }), tooLong},
       {"AsManyChildrenAsFit", longChild([] { return repeated("<a/>", 262'000); }), ""},
       {"HugeText", longChild([] { return "<a>" + std::string(64 * mebibyte, 'x') + "</a>"; }), tooLong},
       {"HugeAttribute", longChild([] { return "<a b=\"" + std::string(64 * mebibyte, 'x') + "\"/>"; }), tooLong},
       {"Utf16Unmarked", [](BadSet& set) { set.setHeader(wide(set.header())); },
        invalid + "control character 0 (byte 1)"},
       {"Utf16Marked", [](BadSet& set) { set.setHeader("\xFF\xFE" + wide(set.header())); },
        invalid + "not UTF-8 (byte 0)"},
       {"OtherEncodingDeclared", replacement("UTF-8", "UTF-16"),
        invalid + "XML declaration: encoding \"UTF-16\" (byte 39)"},
       {"BrokenUtf8", element("DataFile", "a\xC3.dat"), invalid + "not UTF-8 (byte 262)"},
       {"NulInside", element("DataFile", std::string("a\0.dat", 6)), invalid + "control character 0 (byte 262)"}});
}

void addNumbers(std::vector<BadCase>& cases) {
  const std::string range = "not from 1 to 2147483647";
  const std::string tiles = "not powers of two from 8 to 256, the first from 32";
  const std::string plain = " is not a number from 0 on";
  const auto dimensions = [&](const std::string& name, const std::string& value, const std::string& reason) {
    cases.push_back({name, element("Dimensions", value), refused("Dimensions", value, reason)});
  };
  dimensions("DimensionZero", "50 0 11", range);
  dimensions("DimensionNegative", "50 -1 11", "\"-1\"" + plain);
  dimensions("DimensionsAllLargest", "2147483647 2147483647 2147483647", "more than 1099511627776 tiles of 32 8 8");
  dimensions("TwoDimensions", "50 13", "a number is missing");
  dimensions("FourDimensions", "50 13 11 1", "more than 3 number(s)");
  dimensions("DimensionWithExponent", "1e3 13 11", "\"1e3\"" + plain);
  dimensions("DimensionHexadecimal", "0x10 13 11", "\"0x10\"" + plain);
  dimensions("DimensionWithSeparator", "1,000 13 11", "\"1,000\"" + plain);
  dimensions("DimensionWithLetters", "12abc 13 11", "\"12abc\"" + plain);
  dimensions("DimensionInOtherDigits", "\xD9\xA1\xD9\xA8 13 11", "\"\xD9\xA1\xD9\xA8\"" + plain);
  dimensions("DimensionAboveLargest", "2147483648 13 11", "a number is above 2147483647");
  cases.push_back(
      {"HugeVolumeInAKilobyte", element("Dimensions", "65536 65536 65536"), "a.fcp: dimension 50: must be 65536"});
  const auto tile = [&](const std::string& name, const std::string& value, const std::string& reason) {
    cases.push_back({name, element("TileDimensions", value), refused("TileDimensions", value, reason)});
  };
  tile("TileZero", "0 8 8", tiles);
  tile("TileNegative", "-1 8 8", "\"-1\"" + plain);
  tile("TileAboveLargestNumber", "2147483648 8 8", "a number is above 2147483647");
  tile("TileTooLarge", "512 8 8", tiles);
  cases.push_back(
      {"TileLargerThanVolume", element("TileDimensions", "64 16 16"), "a.fcp: tile dimension 32: must be 64"});
}

void addKinds(std::vector<BadCase>& cases) {
  const std::string border = "not from 0 to half the smallest tile dimension";
  const auto add = [&](const std::string& name, const std::string& where, const std::string& value,
                       const std::string& reason) {
    cases.push_back({name, element(where, value), refused(where, value, reason)});
  };
  add("EightBitVoxels", "VoxelType", "uint8", "not bit");
  add("FloatVoxels", "VoxelType", "float", "not bit");
  add("LevelsZero", "Levels", "0", "not from 1 to 2");
  add("LevelsSixtyFour", "Levels", "64", "not from 1 to 2");
  add("LevelsAboveLargestNumber", "Levels", "2147483648", "a number is above 2147483647");
  add("UnknownCompression", "Compression", "lzw", "unknown; known are gzip and none");
  cases.push_back({"LongCompressionName", element("Compression", std::string(900'000, 'x')),
                   refused("Compression", std::string(200, 'x') + "...", "unknown; known are gzip and none")});
  cases.push_back({"CompressionNameOfAMebibyte", element("Compression", std::string(mebibyte, 'x')), tooLong});
  cases.push_back({"OtherCompressionThanTheIndex", element("Compression", "gzip"), "a.fcp: compression 0: must be 1"});
  const auto addBorder = [&](const std::string& name, const std::string& value, const std::string& reason) {
    cases.push_back({name, child("<TileBorder>" + value + "</TileBorder>"), refused("TileBorder", value, reason)});
  };
  addBorder("BorderNegative", "-1", "\"-1\" is not a number from 0 on");
  addBorder("BorderLargerThanTile", "33", border);
  addBorder("BorderOfTheOlderLayout", "1", "a file of the older layout, whose tiles cannot be read");
}

void addNames(std::vector<BadCase>& cases) {
  const std::string plain = "not a plain file name", folder = "a folder, not a file";
  for (const std::string name : {"DataFile", "IndexFile"}) {
    const auto add = [&](const std::string& what, const std::string& value, const std::string& shown,
                         const std::string& reason) {
      cases.push_back({name + what, element(name, value), refused(name, shown, reason)});
    };
    cases.push_back({name + "IsAnAbsolutePath", [=](BadSet& set) { set.setElement(name, set.canary()); },
                     refused(name, "CANARY", plain)});
    add("IsInAnotherFolder", "../other/x.dat", "../other/x.dat", plain);
    add("IsEmpty", "", "", "no file name");
    add("IsDot", ".", ".", folder);
    add("IsDotDot", "..", "..", folder);
    add("IsTheHeader", "a.ldm", "a.ldm", "the header itself");
    add("IsFiveThousandLetters", std::string(5000, 'x'), std::string(200, 'x') + "...", "longer than 255 bytes");
    add("HoldsALineEnd", "a\n.dat", "a .dat", "holds a control character");
    cases.push_back(
        {name + "HoldsFormatLetters", element(name, "%s%n%1.x"), "open %s%n%1.x: No such file or directory"});
    const std::string file = name == "DataFile" ? "a.dat" : "a.fcp";
    cases.push_back({name + "IsALinkToTheCanary", [=](BadSet& set) { set.replaceByLink(file, set.canary()); },
                     "open " + file + ": Too many levels of symbolic links"});
    cases.push_back(
        {name + "IsAPipe", [=](BadSet& set) { set.replaceByPipe(file); }, "open " + file + ": not a regular file"});
    cases.push_back(
        {name + "IsAFolder", [=](BadSet& set) { set.replaceByFolder(file); }, "open " + file + ": not a regular file"});
    cases.push_back({name + "IsALinkToADevice", [=](BadSet& set) { set.replaceByLink(file, "/dev/zero"); },
                     "open " + file + ": Too many levels of symbolic links"});
  }
  const std::string generation = ": generation 1111111111111111 is not 7d0c93a1b2f4e865 as in the header";
  cases.push_back({"DataOfAnotherMask", element("DataFile", "b.dat"), "b.dat" + generation});
  cases.push_back({"IndexOfAnotherMask", element("IndexFile", "b.fcp"), "b.fcp" + generation});
  cases.push_back({"DataAndIndexAreOneFile", element("IndexFile", "a.dat"),
                   refused("IndexFile", "a.dat", "also named as DataFile")});
}

std::vector<BadCase> makeCases() {
  std::vector<BadCase> cases;
  addMarkup(cases);
  addNumbers(cases);
  addKinds(cases);
  addNames(cases);
  return cases;
}

}  // namespace

const std::vector<BadCase>& badHeaders() {
  static const std::vector<BadCase> cases = makeCases();
  return cases;
}
