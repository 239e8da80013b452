#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "quarn/voxora/files/fileNames.h"

namespace hxvoxora {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

TEST(FileNames, PathsComeApart) {
  EXPECT_EQ(folderPrefix("a/b/c.ldm"), "a/b/");
  EXPECT_EQ(folderPrefix("c.ldm"), "");
  EXPECT_EQ(folderPrefix("/c.ldm"), "/");
  EXPECT_EQ(folderOf("a/b/c.ldm"), "a/b");
  EXPECT_EQ(folderOf("c.ldm"), "");
  EXPECT_EQ(folderOf("/c.ldm"), "/");
  EXPECT_EQ(bareName("a/b/c.ldm"), "c.ldm");
  EXPECT_EQ(bareName("c.ldm"), "c.ldm");
  EXPECT_EQ(bareName("a/"), "");
}

TEST(FileNames, OneComponentOfAnyEncodingIsPlain) {
  for (const char* name : {"a", "a b.dat", "...", "gr\xC3\xB6\xC3\x9F.dat", "gr\xF6.dat"})
    EXPECT_TRUE(isPlainName(name));
  EXPECT_TRUE(isPlainName(std::string(maxNameBytes, 'a')));
  for (const char* name : {"", ".", "..", "a/b", "/a", "a\\b", "a\nb", "a\x7F"})
    EXPECT_FALSE(isPlainName(name)) << name;
  EXPECT_FALSE(isPlainName(std::string(maxNameBytes + 1, 'a')));
  EXPECT_FALSE(isPlainName(std::string_view("a\0b", 3)));
}

TEST(FileNames, WhatMayNotBeWrittenInAFileIsTold) {
  EXPECT_THAT(nameObjection("gr\xC3\xB6\xC3\x9F.dat"), IsEmpty());
  EXPECT_EQ(nameObjection("gr\xF6.dat"), "not UTF-8");
  EXPECT_EQ(nameObjection(""), "no file name");
  EXPECT_EQ(nameObjection(".."), "a folder, not a file");
  EXPECT_EQ(nameObjection("a/b"), "not a plain file name");
  EXPECT_EQ(nameObjection("a\tb"), "holds a control character");
  EXPECT_THAT(nameObjection(std::string(300, 'a')), HasSubstr("longer than 255 bytes"));
}

TEST(FileNames, GenerationsAreSixteenDigits) {
  EXPECT_EQ(generationText(0x0123456789ABCDEF), "0123456789abcdef");
  EXPECT_EQ(generationText(0), "0000000000000000");
  for (const std::uint64_t generation : {std::uint64_t{1}, std::uint64_t{0x8000000000000000}, ~std::uint64_t{0}}) {
    EXPECT_EQ(parseGeneration(generationText(generation)), generation);
  }
  for (const char* text : {"", "0000000000000000", "123456789abcdef", "00123456789abcdef", "0123456789ABCDEF",
                           "0123456789abcdeg", " 123456789abcdef"}) {
    EXPECT_FALSE(parseGeneration(text)) << text;
  }
}

}  // namespace
}  // namespace hxvoxora
