#include <gtest/gtest.h>

#include "hxroi/details/MaskHeader.h"
#include "hxroi/details/boxes.h"
#include "quarn/voxora/files/VolumeHeader.h"

namespace MaskHeader = hxroi::details::MaskHeader;

namespace {

std::string headerText() {
  hxvoxora::VolumeHeader header;
  header.dimensions = {13, 11, 7};
  header.tileDimensions = {64, 64, 64};
  header.dataFile = "user.dat";
  header.indexFile = "user.fcp";
  header.generation = 7;
  return header.toXml();
}

std::string tag(const std::string& text, const char* name) {
  return hxvoxora::VolumeHeader::parse(text, "x.ldm").findTag(name).value_or("(none)");
}

int occurrences(const std::string& text, const std::string& part) {
  int count = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

}  // namespace

TEST(MaskHeaderBoxes, TextIsSixIntegersWithSingleBlanks) {
  EXPECT_EQ(MaskHeader::boxText({1, 2, 3, 4, 5, 6}), "1 2 3 4 5 6");
  EXPECT_EQ(MaskHeader::boxText(hxroi::emptyBox<int>()),
            "2147483647 -2147483648 2147483647 -2147483648 2147483647 -2147483648");
}

TEST(MaskHeaderBoxes, MissingNumbersHaveDefaults) {
  EXPECT_EQ(MaskHeader::parseBox("1 2 3 4 5 6"), McBox3i(1, 2, 3, 4, 5, 6));
  EXPECT_EQ(MaskHeader::parseBox("\n 0 3 0  3 \t"), McBox3i(0, 3, 0, 3, 1, -1));
  EXPECT_EQ(MaskHeader::parseBox("5"), McBox3i(5, -1, 1, -1, 1, -1));
  EXPECT_EQ(MaskHeader::parseBox(""), McBox3i(1, -1, 1, -1, 1, -1));
}

TEST(MaskHeaderBoxes, OtherTextIsNoBox) {
  for (const char* text : {"1 2 3 4 5 6 7", "1e3 2 3 4 5 6", "0x10 2 3 4 5 6", "1,2,3,4,5,6", "12abc", "99999999999",
                           "1.0 2 3 4 5 6", "+1 2 3 4 5 6"}) {
    EXPECT_FALSE(MaskHeader::parseBox(text)) << text;
  }
}

TEST(MaskHeaderBoxes, ElementsAreAddedIndependently) {
  const McBox3i exact(1, 2, 3, 4, 5, 6), approximated(0, 9, 0, 9, 0, 6);
  const auto both = MaskHeader::withBoxes(headerText(), exact, approximated);
  ASSERT_TRUE(both);
  EXPECT_EQ(tag(*both, "BoundingBox"), "1 2 3 4 5 6");
  EXPECT_EQ(tag(*both, "ApproximatedBoundingBox"), "0 9 0 9 0 6");
  const auto one = MaskHeader::withBoxes(*both, std::nullopt, exact);
  ASSERT_TRUE(one);
  EXPECT_EQ(tag(*one, "BoundingBox"), "(none)");
  EXPECT_EQ(tag(*one, "ApproximatedBoundingBox"), "1 2 3 4 5 6");
}

TEST(MaskHeaderBoxes, WritingTwiceLeavesOneElementOfEach) {
  const McBox3i box(1, 2, 3, 4, 5, 6);
  auto text = headerText();
  for (int i = 0; i < 3; ++i) text = MaskHeader::withBoxes(text, box, box).value();
  EXPECT_EQ(occurrences(text, "<BoundingBox>"), 1);
  EXPECT_EQ(occurrences(text, "<ApproximatedBoundingBox>"), 1);
}

TEST(MaskHeaderBoxes, TheRestOfTheHeaderStays) {
  const auto text = MaskHeader::withBoxes(headerText(), McBox3i(1, 2, 3, 4, 5, 6), std::nullopt);
  ASSERT_TRUE(text);
  for (const char* name : {"Dimensions", "TileDimensions", "Compression", "DataFile", "IndexFile", "Generation"}) {
    EXPECT_EQ(tag(*text, name), tag(headerText(), name));
  }
  EXPECT_NE(text->find("\n <Dimensions>"), std::string::npos) << "indentation of one blank";
}

TEST(MaskHeaderBoxes, HeadersThatMayNotBeEditedAreLeftAlone) {
  std::string deep = "<VolumeInformation>";
  for (int i = 0; i < 5000; ++i) deep += "<a>";
  for (int i = 0; i < 5000; ++i) deep += "</a>";
  deep += "</VolumeInformation>";
  const std::string hostile[] = {
      "",
      "no xml",
      "<VolumeInformation>",
      "<Other><VolumeInformation/></Other>",
      "<!DOCTYPE a [<!ENTITY b \"c\">]><VolumeInformation>&b;</VolumeInformation>",
      deep,
      "<VolumeInformation>" + std::string(1 << 20, ' ') + "</VolumeInformation>",
  };
  for (const std::string& text : hostile) {
    EXPECT_FALSE(MaskHeader::withBoxes(text, McBox3i(0, 1, 0, 1, 0, 1), std::nullopt)) << text.substr(0, 80);
    EXPECT_FALSE(MaskHeader::withNames(text, {"a.dat", "a.fcp"})) << text.substr(0, 80);
  }
}

TEST(MaskHeaderNames, FirstOccurrencePerLineIsReplacedWhateverItsCase) {
  const std::string text = "<D>A.DAT a.dat</D>\n<I>a.Fcp</I>\na.dat a.fcp";
  EXPECT_EQ(MaskHeader::withReplacedNames(text, {"a.dat", "a.fcp"}, {"b.dat", "b.fcp"}),
            "<D>b.dat a.dat</D>\n<I>b.fcp</I>\nb.dat b.fcp\n");
}

TEST(MaskHeaderNames, ElementsCanBeSet) {
  const auto text = MaskHeader::withNames(headerText(), {"a&b.dat", "a&b.fcp"});
  ASSERT_TRUE(text);
  EXPECT_EQ(tag(*text, "DataFile"), "a&b.dat");
  EXPECT_EQ(tag(*text, "IndexFile"), "a&b.fcp");
  EXPECT_EQ(occurrences(*text, "<DataFile>"), 1);
}
