#include <gmock/gmock.h>
#include <string>

#include "quarn/formats/LabelNames.h"
#include "tests/formats/testFiles.h"

namespace {

using quarn::formats::LabelColor;
using quarn::formats::LabelNames;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;

LabelNames parse(const std::string& text, const char* source = "table") {
  return LabelNames::parse(text, QLatin1String(source));
}

std::string refusalOf(const std::string& text) {
  return refusal([&text] { parse(text); });
}

/// 768 bytes in which label v is (v, 255 - v, 7).
std::string lookupTable() {
  std::string bytes;
  for (int v = 0; v < 256; ++v) bytes += static_cast<char>(v);
  for (int v = 0; v < 256; ++v) bytes += static_cast<char>(255 - v);
  return bytes + std::string(256, '\7');
}

TEST(LabelColors, OfAColorTable) {
  const LabelNames table = parse(
      "# colours\n# of three labels\n0 Background 0 0 0 0\n1 artery 216 101 79 255\n"
      "  300\tconnective_tissue\t111 184 210  255\r\n");
  EXPECT_THAT(table.byValue(), ElementsAre(Pair(0, "Background"), Pair(1, "artery"), Pair(300, "connective_tissue")));
  EXPECT_THAT(table.colors(), ElementsAre(Pair(0, LabelColor{0, 0, 0}), Pair(1, LabelColor{216, 101, 79}),
                                          Pair(300, LabelColor{111, 184, 210})));
}

TEST(LabelColors, OfLabelDescriptions) {
  const LabelNames table = parse(
      "################\n# labels and their colours\n"
      "    0     0    0    0        0  0  0    \"Clear Label\"\n"
      "    1   255    0    0        1  1  1    \"Left \"arm\" 2\"\n"
      "    2     0  255   10     0.25  1  0    \"\"\n");
  EXPECT_THAT(table.byValue(), ElementsAre(Pair(0, "Clear Label"), Pair(1, "Left \"arm\" 2")));
  EXPECT_THAT(table.colors(), ElementsAre(Pair(0, LabelColor{0, 0, 0}), Pair(1, LabelColor{255, 0, 0}),
                                          Pair(2, LabelColor{0, 255, 10})));
}

TEST(LabelColors, OfALookupTable) {
  for (const char* name : {"a.lut", "a.LUT", "something"}) {
    const LabelNames table = parse(lookupTable(), name);
    EXPECT_THAT(table.byValue(), IsEmpty());
    ASSERT_EQ(table.colors().size(), 256U);
    EXPECT_EQ(*table.color(0), (LabelColor{0, 255, 7}));
    EXPECT_EQ(*table.color(200), (LabelColor{200, 55, 7}));
    EXPECT_EQ(table.color(256), nullptr);
  }
  EXPECT_THAT(refusalOf(lookupTable() + "x"), HasSubstr("table: is no text: it holds a zero byte at offset 0"));
}

/// A text that happens to be as long as a lookup table is read as text.
TEST(LabelColors, ATextOf768BytesIsText) {
  std::string text = "1 A\n";
  text += "#" + std::string(768 - text.size() - 2, '-') + "\n";
  ASSERT_EQ(text.size(), 768U);
  EXPECT_THAT(parse(text).byValue(), ElementsAre(Pair(1, "A")));
}

TEST(LabelColors, AreNotSeenInNames) {
  for (const char* text : {"1 Precentral_L 2001\n", "1\tArea 1 2 3 4\n", "1 G_Frontal_Sup-1 2\n", "1 A 1 2 3\n"})
    EXPECT_THAT(parse(text).colors(), IsEmpty()) << text;
  EXPECT_THAT(parse("1 a 1 2 3 4\n2 b\n3 c\n").colors(), IsEmpty()) << "most lines have none";
}

TEST(LabelColors, PartsOfAColorTableAreChecked) {
  const std::string good = "0 Background 0 0 0 0\n";
  EXPECT_EQ(refusalOf(good + "1 a 256 0 0 255\n"), "table:2: red \"256\" of label value 1 is larger than 255");
  EXPECT_EQ(refusalOf(good + "1 a 0 -1 0 255\n"),
            "table:2: green \"-1\" of label value 1 is no whole number from 0 to 255");
  EXPECT_EQ(refusalOf(good + "1 a 0 0 1.5 255\n"),
            "table:2: blue \"1.5\" of label value 1 is no whole number from 0 to 255");
  EXPECT_EQ(refusalOf(good + "1 a 0 0 0 99999999999999999999\n"),
            "table:2: opacity \"99999999999999999999\" of label value 1 is larger than 255");
  EXPECT_EQ(refusalOf(good + "1 a 0 x 0 255\n"),
            "table:2: green \"x\" of label value 1 is no whole number from 0 to 255");
  EXPECT_EQ(refusalOf(good + "1 left arm 1 2 3 255\n"),
            "table:2: label value 1: a name without blanks and four numbers are expected, got \"left arm 1 2 3 255\"");
  EXPECT_EQ(refusalOf(good + good + "1 a\n"), "table:2: label value 0 was named before, in line 1");
  EXPECT_EQ(refusalOf(good + "1 a 0 0 0 255\n2 b 0 0 0\n"),
            "table:3: label value 2: a name without blanks and four numbers are expected, got \"b 0 0 0\"");
  EXPECT_EQ(refusalOf(good + "x a 0 0 0 255\n"), "table:2: label value \"x\" is no whole number");
}

TEST(LabelColors, PartsOfDescriptionsAreChecked) {
  const std::string good = "0 0 0 0 0 0 0 \"Clear Label\"\n";
  EXPECT_EQ(refusalOf(good + "1 0 300 0 1 1 1 \"a\"\n"), "table:2: green \"300\" of label value 1 is larger than 255");
  EXPECT_EQ(refusalOf(good + "1 0 0 0 1.5 1 1 \"a\"\n"), "table:2: opacity \"1.5\" of label value 1 is not in 0 to 1");
  EXPECT_EQ(refusalOf(good + "1 0 0 0 ,5 1 1 \"a\"\n"), "table:2: opacity \",5\" of label value 1 is no number");
  EXPECT_EQ(refusalOf(good + "1 0 0 0 nan 1 1 \"a\"\n"), "table:2: opacity \"nan\" of label value 1 is not in 0 to 1");
  EXPECT_EQ(refusalOf(good + "1 0 0 0 1 2 1 \"a\"\n"), "table:2: visibility \"2\" of label value 1 is larger than 1");
  EXPECT_EQ(refusalOf(good + "1 0 0 0 1 1 y \"a\"\n"),
            "table:2: mesh visibility \"y\" of label value 1 is no whole number from 0 to 1");
  for (const char* line : {"1 0 0 0 1 1 1 a", "1 0 0 0 1 1 1 \"a", "1 0 0 0 1 1 1 \"", "1 0 0 0"})
    EXPECT_THAT(refusalOf(good + line + "\n"),
                HasSubstr("table:2: label value 1: six numbers and a name in double quotes are expected, got"));
  EXPECT_EQ(refusalOf(good + good), "table:2: label value 0 was named before, in line 1");
}

TEST(LabelColors, ComeFromOneTableNamesFromAnother) {
  const TestFolder folder;
  HxLoadOptions options;
  EXPECT_FALSE(LabelNames::forOptions(options));
  options.labels = folder.write(QStringLiteral("names.ctbl"), "1 one 1 1 1 255\n2 two 2 2 2 255\n");
  EXPECT_THAT(LabelNames::forOptions(options)->colors(),
              ElementsAre(Pair(1, LabelColor{1, 1, 1}), Pair(2, LabelColor{2, 2, 2})));
  options.colors = folder.write(QStringLiteral("colors.ctbl"), "2 zwei 9 9 9 255\n3 drei 8 8 8 255\n");
  EXPECT_THAT(LabelNames::forOptions(options)->byValue(), ElementsAre(Pair(1, "one"), Pair(2, "two")));
  EXPECT_THAT(LabelNames::forOptions(options)->colors(),
              ElementsAre(Pair(2, LabelColor{9, 9, 9}), Pair(3, LabelColor{8, 8, 8})));
  options.labels.clear();
  EXPECT_THAT(LabelNames::forOptions(options)->byValue(), IsEmpty());
  EXPECT_EQ(LabelNames::forOptions(options)->colors().size(), 2U);

  options.colors = folder.write(QStringLiteral("names.txt"), "1 one\n");
  EXPECT_THAT(refusal([&] { LabelNames::forOptions(options); }), HasSubstr("names.txt: gives no colours of labels"));
}

TEST(LabelColors, ReadsTheAtlasTables) {
  const LabelNames aal = LabelNames::read(atlasFile(QStringLiteral("aal.nii.lut")));
  EXPECT_EQ(*aal.color(3), (LabelColor{203, 149, 149}));
  EXPECT_EQ(*aal.color(5), (LabelColor{61, 61, 203}));
  for (const char* name : {"AICHAmc", "JHU-WhiteMatter-labels-1mm", "JHU-WhiteMatter-labels-2mm", "brodmann"}) {
    const LabelNames table = LabelNames::read(atlasFile(QLatin1String(name) + QStringLiteral(".nii.lut")));
    EXPECT_EQ(table.colors().size(), 256U) << name;
  }
}

}  // namespace
