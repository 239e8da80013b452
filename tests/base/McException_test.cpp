#include "quarn/base/McException.h"

#include <gtest/gtest.h>
#include <string>
#include <type_traits>

namespace {

TEST(McException, CarriesItsTextInUtf8) {
  const McException failure("Größe 3 × 4");
  EXPECT_STREQ(failure.what(), "Größe 3 × 4");
}

TEST(McException, IsCaughtAsStandardException) {
  try {
    throw McException("broken");
  } catch (const std::exception& caught) {
    EXPECT_STREQ(caught.what(), "broken");
    EXPECT_NE(dynamic_cast<const McException*>(&caught), nullptr);
  }
}

TEST(McException, CopiesAndAssignmentsKeepTheText) {
  static_assert(std::is_nothrow_copy_constructible_v<McException>);
  McException kept("first");
  {
    const McException other("second");
    kept = other;
  }
  EXPECT_STREQ(McException(kept).what(), "second");
}

TEST(McException, ExcerptKeepsUpTo200Characters) {
  const std::string fits(200, 'x');
  EXPECT_EQ(McException::excerpt(fits), fits);
  EXPECT_EQ(McException::excerpt(fits + "y"), fits + "...");
  EXPECT_EQ(McException::excerpt(""), "");
}

TEST(McException, ExcerptCountsCharactersAndKeepsThemWhole) {
  std::string text;
  for (int i = 0; i < 200; ++i) text += "ü";
  EXPECT_EQ(McException::excerpt(text), text);
  EXPECT_EQ(McException::excerpt(text + "ü"), text + "...");
}

TEST(McException, ExcerptHidesControlCharacters) {
  EXPECT_EQ(McException::excerpt(std::string("a\nb\0c\x7F"
                                             "d",
                                             7)),
            "a b c d");
}

TEST(McException, ExcerptBoundsStrayContinuationBytes) {
  EXPECT_LE(McException::excerpt(std::string(100000, '\x80')).size(), 1000U);
}

}  // namespace
