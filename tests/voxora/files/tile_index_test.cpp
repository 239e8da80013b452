#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/voxora/files/volume_files.h"

using hxvoxora::StoredTileKind;
using hxvoxora::StoredTileRun;
using testing::AllOf;
using testing::HasSubstr;
using volumefiles::Bytes;
using volumefiles::poke;
using volumefiles::SampleSet;

namespace {

// Where the fields of an index file are, and those of the sample's stored tiles (numbers 0, 3 and 7).
constexpr std::size_t generationAt = 8, byteOrderAt = 16, compressionAt = 20, dimensionsAt = 24, tileDimensionsAt = 36,
                      tileCountAt = 48, storedCountAt = 56, dataLengthAt = 64, kindsLengthAt = 72, kindsAt = 80;
constexpr std::size_t sampleKindsBytes = 7;
constexpr std::size_t entryAt(std::size_t i) {
  return kindsAt + sampleKindsBytes + 24 * i;
}

/// The message when the sample set is opened after an edit of its index.
std::string refusal(const std::function<void(Bytes&)>& edit, bool sign = true) {
  SampleSet set;
  set.editIndex(edit, sign);
  return set.openMessage();
}

auto inIndex(const std::string& place) {
  return AllOf(HasSubstr("/v/a.fcp: "), HasSubstr(place));
}

}  // namespace

TEST(TileIndex, IsTheFileOfTheFormatPage) {
  SampleSet set;
  const Bytes index = set.files.content(set.indexPath);
  const Bytes data = set.files.content(set.dataPath);
  ASSERT_EQ(index.size(), kindsAt + sampleKindsBytes + 3 * 24 + 8);
  const auto number = [&](std::size_t at, std::size_t size) {
    std::uint64_t value = 0;
    for (std::size_t i = size; i-- > 0;) value = value << 8 | std::to_integer<std::uint64_t>(index[at + i]);
    return value;
  };
  EXPECT_EQ(volumefiles::toText(index).substr(0, 8), std::string("VOXIDX\1\0", 8));
  EXPECT_EQ(number(byteOrderAt, 4), 0x01020304u);
  EXPECT_EQ(number(compressionAt, 4), 1u);
  EXPECT_EQ(number(dimensionsAt, 4), 50u);
  EXPECT_EQ(number(dimensionsAt + 8, 4), 11u);
  EXPECT_EQ(number(tileDimensionsAt, 4), 32u);
  EXPECT_EQ(number(tileCountAt, 8), 8u);
  EXPECT_EQ(number(storedCountAt, 8), 3u);
  EXPECT_EQ(number(dataLengthAt, 8), data.size());
  EXPECT_EQ(number(kindsLengthAt, 8), sampleKindsBytes);
  // stored, one, unwritten, stored, zero, 2 unwritten, stored
  const Bytes kinds{std::byte{7}, std::byte{6}, std::byte{4}, std::byte{7}, std::byte{5}, std::byte{8}, std::byte{7}};
  EXPECT_EQ(Bytes(index.begin() + kindsAt, index.begin() + kindsAt + sampleKindsBytes), kinds);
  EXPECT_EQ(number(entryAt(0), 8), 16u);
  const std::uint64_t length = number(entryAt(0) + 8, 4);
  EXPECT_EQ(number(entryAt(1), 8), 16 + length);
  EXPECT_EQ(number(entryAt(0) + 12, 4), 2u);  // bricks in a gzip member
  EXPECT_EQ(number(entryAt(0) + 16, 8),
            volumefiles::checksumOf(Bytes(data.begin() + 16, data.begin() + 16 + static_cast<std::ptrdiff_t>(length))));
  EXPECT_EQ(number(index.size() - 8, 8), volumefiles::checksumOf(Bytes(index.begin(), index.end() - 8)));
  EXPECT_EQ(volumefiles::toText(data).substr(0, 8), std::string("VOXDAT\1\0", 8));
  EXPECT_TRUE(std::equal(data.begin() + 8, data.begin() + 16, index.begin() + generationAt));
}

TEST(TileIndex, RunsCoverTheGrid) {
  SampleSet set;
  const auto reader = hxvoxora::TiledFileReader::open(set.files, set.path);
  const std::vector<StoredTileRun> expected{{0, 1, StoredTileKind::stored},    {1, 1, StoredTileKind::one},
                                            {2, 1, StoredTileKind::unwritten}, {3, 1, StoredTileKind::stored},
                                            {4, 1, StoredTileKind::zero},      {5, 2, StoredTileKind::unwritten},
                                            {7, 1, StoredTileKind::stored}};
  EXPECT_EQ(reader->runs(), expected);
  EXPECT_EQ(reader->storedCount(), 3u);
}

TEST(TileIndex, EmptyOrShortFilesAreRefused) {
  EXPECT_THAT(refusal([](Bytes& index) { index.clear(); }, false), inIndex("shorter"));
  SampleSet whole;
  const std::size_t size = whole.files.content(whole.indexPath).size();
  for (std::size_t cut = 0; cut < size; ++cut) {
    for (const bool sign : {false, true}) {
      if (sign && cut < 8) continue;
      EXPECT_THAT(refusal([&](Bytes& index) { index.resize(cut); }, sign), inIndex("")) << cut;
    }
  }
  EXPECT_THAT(refusal([](Bytes& index) { index.resize(index.size() + 1); }), inIndex("size of the file"));
}

TEST(TileIndex, MissingFileIsRefused) {
  SampleSet set;
  set.files.remove(set.indexPath);
  EXPECT_THAT(set.openMessage(), AllOf(HasSubstr("open /v/a.fcp"), HasSubstr("No such file")));
}

TEST(TileIndex, CountsMustFitTheHeader) {
  EXPECT_THAT(refusal([](Bytes& index) { poke(index, tileCountAt, 0xFFFFFFFF, 8); }), inIndex("tile count 4294967295"));
  EXPECT_THAT(refusal([](Bytes& index) { poke(index, tileCountAt, 7, 8); }), inIndex("tile count 7"));
  EXPECT_THAT(refusal([](Bytes& index) { poke(index, storedCountAt, 4, 8); }), inIndex("size of the file"));
  EXPECT_THAT(refusal([](Bytes& index) { poke(index, storedCountAt, ~0ull, 8); }), inIndex("stored count"));
  EXPECT_THAT(refusal([](Bytes& index) { poke(index, kindsLengthAt, ~0ull, 8); }), inIndex("kinds length"));
  EXPECT_THAT(refusal([](Bytes& index) { poke(index, dimensionsAt, 51, 4); }), inIndex("dimension 51"));
  EXPECT_THAT(refusal([](Bytes& index) { poke(index, tileDimensionsAt + 4, 16, 4); }), inIndex("tile dimension 16"));
  EXPECT_THAT(refusal([](Bytes& index) { poke(index, compressionAt, 0, 4); }), inIndex("compression 0"));
  EXPECT_THAT(refusal([](Bytes& index) { poke(index, dataLengthAt, 5, 8); }), inIndex("data length 5: a.dat has"));
}

TEST(TileIndex, HugeVolumeInAFewBytesIsRefusedAtOnce) {
  SampleSet set;
  set.replaceInHeader("50 13 11", "65536 65536 65536");
  EXPECT_THAT(set.openMessage(), inIndex("dimension 50"));
  set.editIndex([](Bytes& index) {
    for (std::size_t axis = 0; axis < 3; ++axis) poke(index, dimensionsAt + 4 * axis, 65536, 4);
    poke(index, tileCountAt, std::uint64_t{2048} * 8192 * 8192, 8);
  });
  EXPECT_THAT(set.openMessage(), inIndex("kinds of tile 8: missing"));
}

TEST(TileIndex, KindsMustCoverTheGridOnce) {
  const auto setKinds = [](std::initializer_list<int> bytes) {
    return [bytes](Bytes& index) {
      std::size_t at = kindsAt;
      for (const int byte : bytes) index[at++] = std::byte(byte);
    };
  };
  EXPECT_THAT(refusal(setKinds({7, 6, 4, 7, 5, 8, 0})), inIndex("kinds of tile 7: a run without tiles"));
  EXPECT_THAT(refusal(setKinds({7, 6, 4, 7, 5, 8, 11})), inIndex("kinds of tile 7: 2 tiles are too many"));
  EXPECT_THAT(refusal(setKinds({7, 6, 4, 7, 5, 4, 7})), inIndex("kinds of tile 7: missing"));
  EXPECT_THAT(refusal(setKinds({7, 6, 4, 7, 5, 4, 4})), inIndex("same kind"));
  EXPECT_THAT(refusal(setKinds({7, 6, 4, 7, 5, 8, 0x87})), inIndex("does not end"));
  EXPECT_THAT(refusal(setKinds({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF})), inIndex("does not end"));
  EXPECT_THAT(refusal(setKinds({7, 6, 4, 7, 5, 8, 6})), inIndex("stored count 3: must be 2"));
}

TEST(TileIndex, PlacesOutsideTheDataFileAreRefused) {
  SampleSet whole;
  const std::uint64_t size = whole.files.content(whole.dataPath).size();
  for (const std::uint64_t offset :
       {size, std::uint64_t{1} << 63, ~std::uint64_t{0}, std::uint64_t{15}, std::uint64_t{0}}) {
    EXPECT_THAT(refusal([&](Bytes& index) { poke(index, entryAt(1), offset, 8); }),
                inIndex("offset of tile 3 " + std::to_string(offset)));
  }
  for (const std::uint64_t length : {std::uint64_t{0}, std::uint64_t{0xFFFFFFFF}, size}) {
    EXPECT_THAT(refusal([&](Bytes& index) { poke(index, entryAt(1) + 8, length, 4); }),
                inIndex("length of tile 3 " + std::to_string(length)));
  }
}

TEST(TileIndex, OverlapsAndGapsAreRefused) {
  EXPECT_THAT(refusal([](Bytes& index) {
                for (std::size_t i = 1; i < 3; ++i) std::copy_n(&index[entryAt(0)], 24, &index[entryAt(i)]);
              }),
              inIndex("offset 16: inside another tile"));
  EXPECT_THAT(refusal([](Bytes& index) { poke(index, entryAt(1), 17, 8); }), inIndex("offset 17: inside another tile"));
  EXPECT_THAT(refusal([](Bytes& index) { poke(index, entryAt(0) + 8, 5, 4); }), inIndex("a gap before it"));
  EXPECT_THAT(refusal([](Bytes& index) { poke(index, entryAt(2) + 8, 5, 4); }), inIndex("no tile ends there"));
}

TEST(TileIndex, FormsMustBeKnownAndFitTheLength) {
  for (const std::uint32_t form : {3u, 4u, 0x80000000u, 0xFFFFFFFFu}) {
    EXPECT_THAT(refusal([&](Bytes& index) { poke(index, entryAt(2) + 12, form, 4); }),
                inIndex("form of tile 7 " + std::to_string(form) + ": not known"));
  }
  EXPECT_THAT(refusal([](Bytes& index) { poke(index, entryAt(2) + 12, 0, 4); }), inIndex("length of tile 7"));
  EXPECT_THAT(refusal([](Bytes& index) { poke(index, entryAt(2) + 8, 256, 4); }), inIndex("length of tile 7 256"));

  SampleSet set;
  set.replaceInHeader(">gzip<", ">none<");
  set.editIndex([](Bytes& index) { poke(index, compressionAt, 0, 4); });
  EXPECT_THAT(set.openMessage(), inIndex("form of tile 0 2: compression is none"));
}

TEST(TileIndex, OtherMagicVersionByteOrderOrGenerationIsRefused) {
  EXPECT_THAT(refusal([](Bytes& index) { index[0] = std::byte{'W'}; }), inIndex("magic"));
  EXPECT_THAT(refusal([](Bytes& index) { poke(index, 6, 2, 2); }), inIndex("version 2"));
  EXPECT_THAT(refusal([](Bytes& index) { poke(index, byteOrderAt, 0x04030201, 4); }), inIndex("byte order"));
  EXPECT_THAT(refusal([](Bytes& index) { poke(index, generationAt, 1, 8); }), inIndex("generation 0000000000000001"));
}

TEST(TileIndex, WrongChecksumIsRefused) {
  EXPECT_THAT(refusal([](Bytes& index) { index.back() ^= std::byte{1}; }, false), inIndex("checksum"));
  EXPECT_THAT(refusal([](Bytes& index) { index[entryAt(0) + 16] ^= std::byte{1}; }, false), inIndex("checksum"));
}

TEST(TileIndex, IndexOrDataOfAnotherSetIsRefused) {
  SampleSet set;
  volumefiles::write(set.files, "/v/b.ldm", volumefiles::sampleHeader(), volumefiles::sampleTiles(2));
  for (const std::string suffix : {".fcp", ".dat"}) {
    const Bytes own = set.files.content("/v/a" + suffix);
    set.files.setContent("/v/a" + suffix, set.files.content("/v/b" + suffix));
    EXPECT_THAT(set.openMessage(), AllOf(HasSubstr("/v/a" + suffix + ": generation"), HasSubstr("as in the header")));
    set.files.setContent("/v/a" + suffix, own);
  }
  EXPECT_EQ(set.read(), volumefiles::sampleTiles(1));
}
