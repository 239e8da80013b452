#include "tests/voxora/corpus/BadSet.h"

namespace {

using volumefiles::Bytes;
using volumefiles::poke;

// Where the fields of an index file are, and those of the stored tiles of the sample (numbers 0, 3 and 7).
constexpr std::size_t magicAt = 0, versionAt = 6, generationAt = 8, byteOrderAt = 16, tileCountAt = 48,
                      storedCountAt = 56, kindsLengthAt = 72, dimensionsAt = 24, kindsAt = 80;
constexpr std::size_t entryOf(std::size_t stored) {
  return kindsAt + 7 + 24 * stored;
}
constexpr std::size_t lengthInEntry = 8, formInEntry = 12;

BadCase edited(const std::string& name, const std::function<void(Bytes&)>& edit, const std::string& message) {
  return {name, [=](BadSet& set) { set.editIndex(edit); }, "a.fcp: " + message};
}

BadCase unsignedEdit(const std::string& name, const std::function<void(Bytes&)>& edit, const std::string& message) {
  return {name, [=](BadSet& set) { set.editIndex(edit, false); }, "a.fcp: " + message};
}

BadCase number(const std::string& name, std::size_t at, std::uint64_t value, std::size_t size,
               const std::string& message) {
  return edited(
      name, [=](Bytes& index) { poke(index, at, value, size); }, message);
}

/// The index of a volume of 65536 voxels along each axis, in the bytes of a small one.
void makeHuge(BadSet& set) {
  set.setElement("Dimensions", "65536 65536 65536");
  set.editIndex([](Bytes& index) {
    for (std::size_t axis = 0; axis < 3; ++axis) poke(index, dimensionsAt + 4 * axis, 65536, 4);
    poke(index, tileCountAt, std::uint64_t{2048} * 8192 * 8192, 8);
    poke(index, storedCountAt, 0xFFFFFFFF, 8);
  });
}

void addCounts(std::vector<BadCase>& cases) {
  const std::string size = "size of the file 167: must be ";
  cases.insert(cases.end(),
               {{"Missing", [](BadSet& set) { set.remove("a.fcp"); }, "open a.fcp: No such file or directory"},
                unsignedEdit(
                    "Empty", [](Bytes& index) { index.clear(); }, "shorter than its first 16 bytes"),
                edited(
                    "OneByteShort", [](Bytes& index) { index.pop_back(); }, "size of the file 166: must be 167"),
                edited(
                    "OneByteLong", [](Bytes& index) { index.push_back({}); }, "size of the file 168: must be 167"),
                number("TileCountHuge", tileCountAt, 0xFFFFFFFF, 8, "tile count 4294967295: must be 8"),
                number("TileCountOneMore", tileCountAt, 9, 8, "tile count 9: must be 8"),
                number("StoredCountOneMore", storedCountAt, 4, 8, size + "191"),
                number("StoredCountHuge", storedCountAt, ~0ULL, 8,
                       "stored count 18446744073709551615: more than there are tiles"),
                number("KindsLengthHuge", kindsLengthAt, ~0ULL, 8,
                       "kinds length 18446744073709551615: more than there are tiles"),
                {"StoredCountHugeInAHugeVolume", makeHuge, "a.fcp: " + size + "103079215175"}});
}

void addPlaces(std::vector<BadCase>& cases) {
  // The stored tiles stand at 16, 272 and 528, 256 bytes each; the file ends at 784.
  const auto copyEntry = [](Bytes& index) {
    for (std::size_t i = 1; i < 3; ++i) std::copy_n(&index[entryOf(0)], 24, &index[entryOf(i)]);
  };
  cases.insert(
      cases.end(),
      {number("OffsetAtTheEnd", entryOf(1), 784, 8, "offset of tile 3 784: behind the end of the data file"),
       number("OffsetHuge", entryOf(1), 1ULL << 63, 8,
              "offset of tile 3 9223372036854775808: behind the end of the data file"),
       number("OffsetInTheHead", entryOf(1), 15, 8, "offset of tile 3 15: inside the head of the data file"),
       number("LengthZero", entryOf(1) + lengthInEntry, 0, 4, "length of tile 3 0: empty"),
       number("LengthNegative", entryOf(1) + lengthInEntry, 0xFFFFFFFF, 4,
              "length of tile 3 4294967295: beyond the end of the data file"),
       number("LengthBeyondTheFile", entryOf(2) + lengthInEntry, 257, 4,
              "length of tile 7 257: beyond the end of the data file"),
       edited("AllTilesAtOnePlace", copyEntry, "offset 16: inside another tile"),
       number("TilesOverlap", entryOf(1), 271, 8, "offset 271: inside another tile"),
       number("GapBetweenTiles", entryOf(1), 273, 8, "offset 273: a gap before it"),
       number("LengthOfPartOfATile", entryOf(1) + lengthInEntry, 255, 4,
              "length of tile 3 255: does not fit a tile of 256 bytes"),
       number("UnknownForm", entryOf(1) + formInEntry, 0x80000000, 4, "form of tile 3 2147483648: not known")});
}

void addIdentity(std::vector<BadCase>& cases) {
  cases.insert(cases.end(),
               {number("GenerationOfAnotherSave", generationAt, 0x1111111111111111, 8,
                       "generation 1111111111111111 is not 7d0c93a1b2f4e865 as in the header"),
                number("OtherMagic", magicAt, 'W', 1, "magic: does not begin with VOXIDX"),
                number("NextVersion", versionAt, 2, 2, "version 2 is not known"),
                number("OtherByteOrder", byteOrderAt, 0x04030201, 4, "byte order 67305985: must be 16909060"),
                unsignedEdit(
                    "WrongChecksum", [](Bytes& index) { poke(index, index.size() - 8, 1, 8); },
                    "checksum 1: must be 7791694612511309131")});
}

std::vector<BadCase> makeCases() {
  std::vector<BadCase> cases;
  addCounts(cases);
  addPlaces(cases);
  addIdentity(cases);
  return cases;
}

}  // namespace

const std::vector<BadCase>& badIndexes() {
  static const std::vector<BadCase> cases = makeCases();
  return cases;
}
