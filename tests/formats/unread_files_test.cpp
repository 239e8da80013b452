#include <gmock/gmock.h>

#include "quarn/formats/registerFormats.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "tests/formats/testFiles.h"

namespace {

using ::testing::HasSubstr;

TEST(UnreadFiles, MincIsRefusedWithWhatItIsAndWhatToDo) {
  quarn::formats::registerFormats();
  const TestFolder folder;
  const struct {
    std::string bytes, kind;
  } cases[] = {{"CDF\1....", "is a MINC 1 image (NetCDF)"},
               {"\x89HDF\r\n\x1a\n", "is a MINC 2 image (HDF5)"},
               {gzipped("CDF\1...."), "is a MINC 1 image (NetCDF)"},
               {"text", "is called a MINC image, but does not begin as one"},
               {"", "is called a MINC image, but does not begin as one"}};
  for (const auto& [bytes, kind] : cases) {
    const QString file = folder.write(QStringLiteral("brain.mnc"), bytes);
    const std::string text = refusal([&] { HxFileTypes::instance().load(file); });
    EXPECT_THAT(text, HasSubstr("brain.mnc: " + kind));
    EXPECT_THAT(text, HasSubstr("convert it to NIfTI first"));
  }
  EXPECT_FALSE(HxFileTypes::instance().suffixes().contains(".mnc"));
}

}  // namespace
