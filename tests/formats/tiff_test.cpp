#include <algorithm>
#include <tiffio.h>
#include <vector>

#include "quarn/formats/readTiff.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "tests/formats/badInput.h"
#include "tests/formats/sampleFields.h"
#include "tests/formats/tiffBytes.h"
#include "tests/support/RecordingProgress.h"

namespace {

using quarn::formats::readTiff;
using quarn::formats::readTiffFolder;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

TiffBytes threePages() {
  return TiffBytes({TiffBytes::page(0), TiffBytes::page(20), TiffBytes::page(40)});
}

class Tiff : public ::testing::Test {
protected:
  McHandle<HxUniformScalarField3> read(const TiffBytes& bytes) const {
    return readTiff(folder.write(QStringLiteral("stack.tif"), bytes.file()), {});
  }

  TestFolder folder;
};

TEST_F(Tiff, MakesSlicesOfPages) {
  const auto field = read(threePages());
  EXPECT_EQ(field->latticeDimensions(), McDim3l(3, 4, 3));
  EXPECT_EQ(field->primType(), McPrimType::Uint8);
  EXPECT_EQ(field->value(2, 1, 0), 5);
  EXPECT_EQ(field->value(0, 0, 1), 20);
  EXPECT_EQ(field->value(2, 3, 2), 51);
  EXPECT_EQ(field->geometry(), HxGeometry3());
}

TEST_F(Tiff, TellsThatTheDistanceOfSlicesIsNotKnown) {
  const HxRecordingSink messages;
  read(TiffBytes({TiffBytes::page(0)}));
  EXPECT_THAT(messages.consoleEntries, ::testing::IsEmpty());
  read(threePages());
  ASSERT_EQ(messages.consoleEntries.size(), 1U);
  EXPECT_THAT(messages.consoleEntries.front(),
              HasSubstr("stack.tif: does not tell how far its slices are from each other, which is taken for 1 mm"));
}

TEST_F(Tiff, MakesAStackOfAFolderInTheOrderOfNumbers) {
  const HxRecordingSink messages;
  folder.write(QStringLiteral("s10.tif"), TiffBytes({TiffBytes::page(60)}).file());
  folder.write(QStringLiteral("s9.TIFF"), TiffBytes({TiffBytes::page(20), TiffBytes::page(40)}).file());
  folder.write(QStringLiteral("s08.tif"), TiffBytes({TiffBytes::page(0)}).file());
  folder.write(QStringLiteral("notes.txt"), "no image");
  const auto stack = readTiffFolder(folder.path({}), {});
  ASSERT_TRUE(stack);
  ASSERT_EQ((*stack)->latticeDimensions(), McDim3l(3, 4, 4));
  for (int z = 0; z < 4; ++z) EXPECT_EQ((*stack)->value(2, 1, z), 20 * z + 5) << z;
  EXPECT_THAT(messages.consoleText(), HasSubstr("how far its slices are from each other"));
}

TEST_F(Tiff, RefusesFoldersOfPagesThatDiffer) {
  folder.write(QStringLiteral("a.tif"), TiffBytes({TiffBytes::page(0)}).file());
  TiffBytes wide({TiffBytes::page(0)});
  wide.pages[0].tags[TiffBytes::Width] = 4;
  wide.pages[0].tags[TiffBytes::Height] = 3;
  wide.pages[0].tags[TiffBytes::RowsPerStrip] = 3;
  folder.write(QStringLiteral("b.tif"), wide.file());
  EXPECT_THAT(refusal([&] { static_cast<void>(readTiffFolder(folder.path({}), {})); }),
              HasSubstr("b.tif has another size (4 x 3) than a.tif"));
}

TEST_F(Tiff, LeavesFoldersWithoutStacksToOthers) {
  EXPECT_FALSE(readTiffFolder(folder.path({}), {}));
  folder.write(QStringLiteral("a.tif"), TiffBytes({TiffBytes::page(0)}).file());
  folder.write(QStringLiteral("IM0001"), std::string(128, '\0') + "DICM" + std::string(8, '\1'));
  EXPECT_FALSE(readTiffFolder(folder.path({}), {}));
}

TEST_F(Tiff, TurnsPagesByTheirOrientation) {
  for (const std::uint32_t bits : {8U, 16U}) {
    TiffBytes bytes({TiffBytes::page(0)});
    TiffBytes::Page& page = bytes.pages[0];
    page.tags[TiffBytes::Bits] = bits;
    if (bits == 16) {
      page.voxels.clear();
      for (char i = 0; i < 12; ++i) page.voxels += std::string{i, '\0'};
    }
    const auto corners = [&](std::uint32_t orientation) {
      page.tags[TiffBytes::Orientation] = orientation;
      const auto field = read(bytes);
      return std::vector<double>{field->value(0, 0, 0), field->value(2, 0, 0), field->value(0, 3, 0),
                                 field->value(1, 1, 0)};
    };
    EXPECT_THAT(corners(1), ElementsAre(0, 2, 9, 4));
    EXPECT_THAT(corners(2), ElementsAre(2, 0, 11, 4));
    EXPECT_THAT(corners(3), ElementsAre(11, 9, 2, 7));
    EXPECT_THAT(corners(4), ElementsAre(9, 11, 0, 7));
    page.tags[TiffBytes::Orientation] = 6;
    EXPECT_THAT(refusal([&] { read(bytes); }), HasSubstr("page 1 has orientation 6: its rows are columns"));
  }
}

TEST_F(Tiff, RefusesChannelsAndTimes) {
  TiffBytes bytes = threePages();
  const auto outcome = [&](const std::string& description) {
    bytes.pages[0].description = description;
    try {
      read(bytes);
    } catch (const McException& error) {
      return std::string(error.what());
    }
    return std::string();
  };
  const std::string imageJ = "ImageJ=1.53t\nimages=3\n";
  EXPECT_EQ(outcome(imageJ + "slices=3\nspacing=2.0\n"), "");
  EXPECT_THAT(outcome(imageJ + "channels=3\nhyperstack=true\n"),
              HasSubstr(": holds a series of 3 channels and 1 times; one volume is needed"));
  EXPECT_THAT(outcome(imageJ + "frames=3\n"), HasSubstr(": holds a series of 1 channels and 3 times"));
  EXPECT_THAT(outcome("<?xml?><OME><Pixels SizeC=\"1\" SizeT=\"3\" SizeZ=\"1\"/></OME>"), HasSubstr("3 times"));
  EXPECT_EQ(outcome("<?xml?><OME><Pixels SizeC=\"1\" SizeT=\"1\" SizeZ=\"3\"/></OME>"), "");
  EXPECT_EQ(outcome("somebody's channels=3"), "");
  bytes.pages.resize(1);
  EXPECT_THAT(outcome(imageJ + "slices=3\n"), HasSubstr(": holds 3 images in one page, which is not read"));
}

TEST_F(Tiff, AsksForProgressWithinAPage) {
  constexpr std::uint32_t width = 4096, height = 4096;
  const QString file = folder.path(QStringLiteral("page.tif"));
  const struct {
    bool isTiled;
    std::uint32_t rows;
    int compression;
  } cases[] = {{true, 64, COMPRESSION_LZW},
               {false, 64, COMPRESSION_LZW},
               {false, height, COMPRESSION_LZW},
               {false, height, COMPRESSION_NONE},
               {false, height / 2, COMPRESSION_NONE}};
  for (const auto& [isTiled, rows, compression] : cases) {
    TIFF* const tiff = TIFFOpen(file.toStdString().c_str(), "w");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
    if (isTiled) {
      TIFFSetField(tiff, TIFFTAG_TILEWIDTH, width);
      TIFFSetField(tiff, TIFFTAG_TILELENGTH, rows);
    } else {
      TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rows);
    }
    std::string part(std::size_t{width} * rows, '\1');
    const auto bytes = static_cast<tmsize_t>(part.size());
    for (std::uint32_t i = 0; i < height / rows; ++i)
      isTiled ? TIFFWriteEncodedTile(tiff, i, part.data(), bytes) : TIFFWriteEncodedStrip(tiff, i, part.data(), bytes);
    TIFFClose(tiff);
    RecordingProgress progress;
    const ProgressScope scope(progress);
    EXPECT_EQ(readTiff(file, {})->value(4095, 4095, 0), 1.0);
    EXPECT_GE(progress.values.size(), 4U);
    EXPECT_TRUE(std::ranges::is_sorted(progress.values));
    EXPECT_EQ(progress.values.back(), 1.0F);
  }
}

/// So many are gone through once before there is room for them.
TEST_F(Tiff, ReadsManyCompressedVoxels) {
  constexpr std::uint32_t edge = 8192, rows = 64;
  const QString file = folder.path(QStringLiteral("page.tif"));
  for (const bool isTiled : {false, true}) {
    TIFF* const tiff = TIFFOpen(file.toStdString().c_str(), "w");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, edge);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, edge + rows);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    if (isTiled) {
      TIFFSetField(tiff, TIFFTAG_TILEWIDTH, edge);
      TIFFSetField(tiff, TIFFTAG_TILELENGTH, rows);
    } else {
      TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rows);
    }
    for (std::uint32_t i = 0; i <= edge / rows; ++i) {
      std::string part(std::size_t{edge} * rows, static_cast<char>(i));
      const auto bytes = static_cast<tmsize_t>(part.size());
      isTiled ? TIFFWriteEncodedTile(tiff, i, part.data(), bytes) : TIFFWriteEncodedStrip(tiff, i, part.data(), bytes);
    }
    TIFFClose(tiff);
    const auto field = readTiff(file, {});
    for (const std::uint32_t row : {0U, 64U, 8191U, 8255U})
      EXPECT_EQ(field->value(edge - 1, row, 0), row / rows) << row;
  }
}

TEST_F(Tiff, RefusesHugeTilesOfSmallFiles) {
  TiffBytes bytes({TiffBytes::page(0)});
  auto& tags = bytes.pages[0].tags;
  tags.erase(TiffBytes::RowsPerStrip);
  tags[TiffBytes::TileOffset] = 8;
  tags[TiffBytes::TileBytes] = 12;
  tags[TiffBytes::TileWidth] = tags[TiffBytes::TileHeight] = 16384;
  EXPECT_THAT(refusal([&] { read(bytes); }), HasSubstr("has tiles of 16384 x 16384, which are not read"));
  tags[TiffBytes::TileWidth] = tags[TiffBytes::TileHeight] = 1024;
  EXPECT_THAT(refusal([&] { read(bytes); }), HasSubstr("page 1 is cut: it has tiles of 1048576 bytes"));
}

TEST_F(Tiff, TakesOnePageForOneSlice) {
  EXPECT_EQ(read(TiffBytes({TiffBytes::page(0)}))->latticeDimensions(), McDim3l(3, 4, 1));
}

TEST_F(Tiff, TakesTheResolutionForVoxelSizes) {
  TiffBytes bytes = threePages();
  bytes.pages[0].tags[TiffBytes::XResolution] = 20;
  bytes.pages[0].tags[TiffBytes::YResolution] = 40;
  bytes.pages[0].tags[TiffBytes::ResolutionUnit] = 3;
  EXPECT_THAT(read(bytes)->geometry().voxelSize, ElementsAre(0.5, 0.25, 0.5));
  bytes.pages[0].tags[TiffBytes::ResolutionUnit] = 2;
  EXPECT_THAT(read(bytes)->geometry().voxelSize, ElementsAre(1.27, 0.635, 1.27));
  bytes.pages[0].tags[TiffBytes::ResolutionUnit] = 1;
  EXPECT_THAT(read(bytes)->geometry().voxelSize, ElementsAre(1, 1, 1));
  bytes.pages[0].tags[TiffBytes::ResolutionUnit] = 2;
  bytes.pages[0].tags[TiffBytes::XResolution] = 0;
  EXPECT_THAT(read(bytes)->geometry().voxelSize, ElementsAre(1, 1, 1));
}

TEST_F(Tiff, PassesOverSmallCopies) {
  TiffBytes bytes = threePages();
  bytes.pages[1].tags[TiffBytes::SubfileType] = 1;
  bytes.pages[1].tags[TiffBytes::Width] = 2;
  EXPECT_EQ(read(bytes)->latticeDimensions(), McDim3l(3, 4, 2));
}

/// Writes the slices of a field with the library, in strips of two rows or tiles of 16 x 16.
void writeWithLibrary(const QString& file, const HxUniformScalarField3& field, int format, int compression,
                      const char* mode, bool isTiled) {
  TIFF* const tiff = TIFFOpen(file.toStdString().c_str(), mode);
  ASSERT_NE(tiff, nullptr);
  const auto size = HxUniformScalarField3::primTypeSize(field.primType());
  std::string voxels = bytesOf(field);
  for (std::size_t z = 0; z < 5; ++z) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, 3);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 4);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, static_cast<int>(8 * size));
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, format);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
    char* const page = voxels.data() + z * 12 * size;
    if (isTiled) {
      TIFFSetField(tiff, TIFFTAG_TILEWIDTH, 16);
      TIFFSetField(tiff, TIFFTAG_TILELENGTH, 16);
      std::string tile(256 * size, '\0');
      for (std::size_t y = 0; y < 4; ++y) tile.replace(y * 16 * size, 3 * size, page + y * 3 * size, 3 * size);
      TIFFWriteEncodedTile(tiff, 0, tile.data(), static_cast<tmsize_t>(tile.size()));
    } else {
      TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 2);
      for (std::uint32_t strip = 0; strip < 2; ++strip)
        TIFFWriteEncodedStrip(tiff, strip, page + strip * 6 * size, static_cast<tmsize_t>(6 * size));
    }
    TIFFWriteDirectory(tiff);
  }
  TIFFClose(tiff);
}

TEST_F(Tiff, ReadsEveryTypeCompressionAndByteOrder) {
  const QString file = folder.path(QStringLiteral("written.tiff"));
  for (const auto& field : sampleFields()) {
    const McPrimType type = field->primType();
    const bool isSigned = type == McPrimType::Int8 || type == McPrimType::Int16 || type == McPrimType::Int32;
    const bool isFloat = type == McPrimType::Float || type == McPrimType::Double;
    const int format = isFloat ? SAMPLEFORMAT_IEEEFP : isSigned ? SAMPLEFORMAT_INT : SAMPLEFORMAT_UINT;
    for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_PACKBITS, COMPRESSION_ADOBE_DEFLATE}) {
      for (const char* mode : {"w", "wb", "w8"}) {
        for (const bool isTiled : {false, true}) {
          SCOPED_TRACE(std::to_string(compression) + mode + HxUniformScalarField3::primTypeName(type));
          writeWithLibrary(file, *field, format, compression, mode, isTiled);
          expectSameVoxels(*readTiff(file, {}), *field);
        }
      }
    }
  }
}

TEST_F(Tiff, StopsWhenTheUserWants) {
  const QString file = folder.write(QStringLiteral("stack.tif"), threePages().file());
  for (int after = 0; after < 5; ++after) {
    RecordingProgress progress;
    progress.interruptAfter = after;
    const ProgressScope scope(progress);
    EXPECT_EQ(refusal([&] { readTiff(file, {}); }), file.toStdString() + ": reading was interrupted");
    EXPECT_THAT(progress.calls, ElementsAre("start Reading stack.tif", "stop"));
  }
}

TEST(TiffBadInput, IsReadOrRefused) {
  const BadInput input(".tif");
  input.tryUsualFaults(threePages().file(), 4);
  input.tryChangedBytes(threePages().file());
}

TEST(TiffBadInput, IsReadOrRefusedWhenItIsCompressed) {
  const BadInput input(".tif");
  for (const bool isTiled : {false, true}) {
    for (const int compression : {COMPRESSION_LZW, COMPRESSION_PACKBITS, COMPRESSION_ADOBE_DEFLATE}) {
      writeWithLibrary(input.path(), *sampleField<std::int16_t>(McPrimType::Int16), SAMPLEFORMAT_INT, compression, "w",
                       isTiled);
      QFile file(input.path());
      ASSERT_TRUE(file.open(QIODevice::ReadOnly));
      const std::string good = file.readAll().toStdString();
      file.close();
      input.tryUsualFaults(good);
      input.tryChangedBytes(good, 13);
    }
  }
}

TEST(TiffBadInput, NamesThePage) {
  using Tags = std::map<std::uint16_t, std::uint32_t>;
  const struct {
    Tags tags;
    const char* refusal;
  } table[] = {
      {{{TiffBytes::Width, 2}}, "page 2 has a size of 2 x 4, the first 3 x 4"},
      {{{TiffBytes::Height, 0}}, "page 2 cannot be read: Cannot handle zero number of strips"},
      {{{TiffBytes::Bits, 16}}, "page 2 holds numbers of another type than the first"},
      {{{TiffBytes::SampleFormat, 2}}, "page 2 holds numbers of another type than the first"},
      {{{TiffBytes::Bits, 12}}, "page 2 holds numbers of 12 bits (format 1), which are not read"},
      {{{TiffBytes::Bits, 16}, {TiffBytes::SampleFormat, 3}},
       "page 2 holds numbers of 16 bits (format 3), which are not read"},
      {{{TiffBytes::Photometric, 2}, {TiffBytes::Samples, 3}}, "page 2 holds RGB colours; plain numbers are needed"},
      {{{TiffBytes::Photometric, 2}, {TiffBytes::Samples, 4}}, "page 2 holds RGBA colours; plain numbers are needed"},
      {{{TiffBytes::Samples, 2}}, "page 2 holds vectors of 2 components; plain numbers are needed"},
      {{{TiffBytes::Photometric, 0}}, "page 2 holds numbers of which the smallest is white; plain numbers are needed"},
      {{{TiffBytes::Bits, 64}, {TiffBytes::SampleFormat, 6}}, "page 2 holds complex numbers; plain numbers are needed"},
      {{{TiffBytes::Compression, 7}}, "page 2 has compression 7; none, LZW, PackBits and deflate are read"},
  };
  const BadInput input(".tif");
  for (const auto& bad : table) {
    TiffBytes bytes = threePages();
    for (const auto& [tag, value] : bad.tags) bytes.pages[1].tags[tag] = value;
    EXPECT_EQ(input.outcomeOf(bytes.file()), bad.refusal);
  }
}

TEST(TiffBadInput, RefusesHugePagesBeforeReadingThem) {
  const BadInput input(".tif");
  for (const std::uint32_t size : {100000U, 0xFFFFFFFFU}) {
    TiffBytes bytes({TiffBytes::page(0)});
    bytes.pages[0].tags[TiffBytes::Width] = size;
    bytes.pages[0].tags[TiffBytes::Height] = size;
    EXPECT_NE(input.outcomeOf(bytes.file()), "");
    bytes.pages[0].tags[TiffBytes::Compression] = 5;
    EXPECT_NE(input.outcomeOf(bytes.file()), "");
  }
}

/// The page may hold as many voxels as it says, but does not: it is gone through before there is room for them.
TEST(TiffBadInput, RefusesManyCompressedVoxelsThatAreNotThere) {
  const BadInput input(".tif");
  TiffBytes bytes({TiffBytes::page(0)});
  auto& tags = bytes.pages[0].tags;
  bytes.pages[0].voxels.assign(40000, '\0');
  tags[TiffBytes::Width] = 16384;
  tags[TiffBytes::Height] = tags[TiffBytes::RowsPerStrip] = 8192;
  for (const int compression : {COMPRESSION_LZW, COMPRESSION_PACKBITS, COMPRESSION_ADOBE_DEFLATE}) {
    tags[TiffBytes::Compression] = static_cast<std::uint32_t>(compression);
    EXPECT_THAT(input.outcomeOf(bytes.file()), StartsWith("page 1 is cut or damaged")) << compression;
  }
}

TEST(TiffBadInput, EndsWithPagesThatLeadInACircle) {
  const BadInput input(".tif");
  const TiffBytes bytes({TiffBytes::page(0)});
  std::string file = bytes.file();
  std::memcpy(file.data() + file.size() - 4, file.data() + 4, 4);
  EXPECT_THAT(input.outcomeOf(file), StartsWith("page 2 cannot be read"));
}

}  // namespace
