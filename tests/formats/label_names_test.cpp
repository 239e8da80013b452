#include <gmock/gmock.h>
#include <string>

#include "quarn/formats/LabelNames.h"
#include "quarn/voxora/files/FaultFileSystem.h"
#include "tests/formats/testFiles.h"

namespace {

using quarn::formats::LabelNames;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;
using ::testing::StartsWith;

LabelNames parse(const std::string& text) {
  return LabelNames::parse(text, QStringLiteral("names.txt"));
}

std::string refusalOf(const std::string& text) {
  return refusal([&text] { parse(text); });
}

TEST(LabelNames, ReadsValueNameAndAtlasNumber) {
  EXPECT_THAT(parse("1 Precentral_L 2001\n2 Precentral_R 2002\n").byValue(),
              ElementsAre(Pair(1, "Precentral_L"), Pair(2, "Precentral_R")));
}

TEST(LabelNames, ReadsValueTabName) {
  EXPECT_THAT(parse("0\tUnclassified\n1\tMiddle cerebellar peduncle\n7\tArea 17\n").byValue(),
              ElementsAre(Pair(0, "Unclassified"), Pair(1, "Middle cerebellar peduncle"), Pair(7, "Area 17")));
}

TEST(LabelNames, ReadsValueNameAndColourNumber) {
  EXPECT_THAT(parse("1 G_Frontal_Sup-1 2\n2 G_Frontal_Sup-2 3\n").byValue(),
              ElementsAre(Pair(1, "G_Frontal_Sup-1"), Pair(2, "G_Frontal_Sup-2")));
}

TEST(LabelNames, KeepsBlanksInsideNames) {
  EXPECT_THAT(parse("3  Left  Thalamus 17\n4 Left Putamen\n5\tA\tB\n").byValue(),
              ElementsAre(Pair(3, "Left  Thalamus"), Pair(4, "Left Putamen"), Pair(5, "A")));
}

TEST(LabelNames, SkipsBlankLinesAndComments) {
  EXPECT_THAT(parse("# a comment\n\n  \t\n  # another\n1 A#1\n\n").byValue(), ElementsAre(Pair(1, "A#1")));
}

TEST(LabelNames, TakesByteOrderMarkAndCarriageReturnsOff) {
  EXPECT_THAT(parse("\xEF\xBB\xBF"
                    "1 A 5\r\n\r\n2\tB\r\n3 C")
                  .byValue(),
              ElementsAre(Pair(1, "A"), Pair(2, "B"), Pair(3, "C")));
}

TEST(LabelNames, KeepsUtf8) {
  EXPECT_THAT(parse("1 Br\xC3\xBC"
                    "cke 4\n")
                  .byValue(),
              ElementsAre(Pair(1,
                               "Br\xC3\xBC"
                               "cke")));
}

TEST(LabelNames, FindsByValue) {
  const LabelNames names = parse("2147483647 last\n0 first\n");
  ASSERT_NE(names.find(2147483647), nullptr);
  EXPECT_EQ(*names.find(2147483647), "last");
  EXPECT_EQ(names.find(1), nullptr);
}

TEST(LabelNames, RefusesValuesThatAreNoLabels) {
  EXPECT_EQ(refusalOf("1 A\nx B\n"), "names.txt:2: label value \"x\" is no whole number");
  EXPECT_EQ(refusalOf("1.5 A\n"), "names.txt:1: label value \"1.5\" is no whole number");
  EXPECT_EQ(refusalOf("0x10 A\n"), "names.txt:1: label value \"0x10\" is no whole number");
  EXPECT_EQ(refusalOf("1e3 A\n"), "names.txt:1: label value \"1e3\" is no whole number");
  EXPECT_EQ(refusalOf("1,000 A\n"), "names.txt:1: label value \"1,000\" is no whole number");
  EXPECT_EQ(refusalOf("12abc A\n"), "names.txt:1: label value \"12abc\" is no whole number");
  EXPECT_EQ(refusalOf("\xD9\xA1 A\n"), "names.txt:1: label value \"\xD9\xA1\" is no whole number");
  EXPECT_EQ(refusalOf("-1 A\n"), "names.txt:1: label value \"-1\" is negative");
  EXPECT_EQ(refusalOf("2147483648 A\n"), "names.txt:1: label value \"2147483648\" is larger than 2147483647");
  EXPECT_EQ(refusalOf("99999999999999999999 A\n"),
            "names.txt:1: label value \"99999999999999999999\" is larger than 2147483647");
  EXPECT_EQ(refusalOf("-99999999999999999999 A\n"), "names.txt:1: label value \"-99999999999999999999\" is negative");
}

TEST(LabelNames, CutsLongValuesInMessages) {
  const std::string text = refusalOf(std::string(5000, 'v') + " A\n");
  EXPECT_THAT(text, AllOf(StartsWith("names.txt:1: label value \"vvv"), HasSubstr(std::string(190, 'v'))));
  EXPECT_LT(text.size(), 300U);
}

TEST(LabelNames, RefusesRepeatedValues) {
  EXPECT_EQ(refusalOf("1 A\n# comment\n2 B\n1 C\n"), "names.txt:4: label value 1 was named before, in line 1");
}

TEST(LabelNames, RefusesLinesWithoutName) {
  EXPECT_EQ(refusalOf("1 A\n2\n"), "names.txt:2: label value 2 has no name");
  EXPECT_EQ(refusalOf("2  \t \n"), "names.txt:1: label value 2 has no name");
  EXPECT_EQ(refusalOf("1 2001\n"), "names.txt:1: label value 1 is followed by the number \"2001\" instead of a name");
}

TEST(LabelNames, RefusesWhatIsNoUtf8Text) {
  EXPECT_THAT(refusalOf(std::string("1 A\0B\n", 6)),
              HasSubstr("names.txt: is no text: it holds a zero byte at offset 3"));
  EXPECT_THAT(refusalOf("1 A\n2 Br\xFC"
                        "cke\n"),
              StartsWith("names.txt:2: is not UTF-8: \"2 Br"));
  EXPECT_THAT(refusalOf(std::string("\xFF\xFE"
                                    "1\0 \0A\0",
                                    8)),
              HasSubstr("names.txt: is UTF-16 text"));
  EXPECT_EQ(refusalOf(""), "names.txt: names no label");
  EXPECT_EQ(refusalOf("# nothing\n"), "names.txt: names no label");
}

TEST(LabelNames, NamesTheFileThatCannotBeRead) {
  const TestFolder folder;
  const QString missing = folder.path(QStringLiteral("missing.txt"));
  EXPECT_EQ(refusal([&] { LabelNames::read(missing); }), missing.toStdString() + ": does not exist");
  const QString itself = folder.path(QStringLiteral("."));
  EXPECT_EQ(refusal([&] { LabelNames::read(itself); }), itself.toStdString() + ": is a folder");
  const QString huge = folder.write(QStringLiteral("huge.txt"), std::string(16 * 1024 * 1024 + 1, '\n'));
  EXPECT_THAT(refusal([&] { LabelNames::read(huge); }), HasSubstr("huge.txt: is larger than 16 MiB"));
}

/// A table of which a part is missing would leave labels without a name.
TEST(LabelNames, TellsOfAFaultOfTheDisk) {
  const TestFolder folder;
  const QString file = folder.write(QStringLiteral("names.txt"), "1 Left\n2 Right\n");
  for (const auto call : {hxvoxora::FileCall::kind, hxvoxora::FileCall::open, hxvoxora::FileCall::read}) {
    hxvoxora::FaultFileSystem disk(hxvoxora::FileSystem::posix());
    const hxvoxora::FileSystemOverride current(disk);
    disk.arm({.only = call, .reason = "Input/output error", .number = EIO});
    EXPECT_THAT(refusal([&] { LabelNames::read(file); }),
                AllOf(HasSubstr(file.toStdString()), HasSubstr("Input/output error")));
  }
}

TEST(LabelNames, ReadsTheAtlasTables) {
  const LabelNames aal = LabelNames::read(atlasFile(QStringLiteral("aal.nii.txt")));
  EXPECT_EQ(aal.byValue().size(), 116U);
  EXPECT_EQ(*aal.find(116), "Vermis_10");
  const LabelNames jhu = LabelNames::read(atlasFile(QStringLiteral("JHU-WhiteMatter-labels-1mm.nii.txt")));
  EXPECT_EQ(jhu.byValue().size(), 49U);
  EXPECT_EQ(*jhu.find(6), "Fornix_(column_and_body_of_fornix)");
  const LabelNames aicha = LabelNames::read(atlasFile(QStringLiteral("AICHAmc.nii.txt")));
  EXPECT_EQ(aicha.byValue().size(), 192U);
  EXPECT_EQ(*aicha.find(192), "N_Thalamus-9");
}

}  // namespace
