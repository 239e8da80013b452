#include <algorithm>
#include <zlib.h>

#include "quarn/voxora/files/TiledFileWriter.h"
#include "tests/voxora/corpus/BadSet.h"

namespace {

using hxvoxora::TileForm;
using volumefiles::Bytes;
using volumefiles::poke;

constexpr McVec3i size{64, 64, 64};
constexpr std::size_t tileBytes = 64 * 64 * 64 / 8;
constexpr std::size_t codeBytes = 512 / 4, brickBytes = 64;
constexpr std::byte eachMixed{0xAA};  // the codes of four bricks
constexpr std::size_t trailerBytes = 8;

/// A raw deflate stream for a part of what a gzip member holds; parts can stand behind each other.
Bytes deflated(const Bytes& content, int flush) {
  z_stream stream{};
  ::deflateInit2(&stream, 9, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
  Bytes packed(::deflateBound(&stream, content.size()) + 64);
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(content.data()));
  stream.avail_in = static_cast<uInt>(content.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  ::deflate(&stream, flush);
  packed.resize(stream.total_out);
  ::deflateEnd(&stream);
  return packed;
}

/// A gzip member that holds `content` as many times as told; it packs it only once.
Bytes gzipped(const Bytes& content, std::size_t times = 1) {
  Bytes member{std::byte{0x1F}, std::byte{0x8B}, std::byte{8}};
  member.resize(10);
  const Bytes part = deflated(content, Z_FULL_FLUSH);
  const auto one = ::crc32(0, reinterpret_cast<const Bytef*>(content.data()), static_cast<uInt>(content.size()));
  uLong all = 0;
  for (std::size_t i = 0; i < times; ++i) {
    member.insert(member.end(), part.begin(), part.end());
    all = ::crc32_combine(all, one, static_cast<z_off_t>(content.size()));
  }
  const Bytes end = deflated({}, Z_FINISH);
  member.insert(member.end(), end.begin(), end.end());
  member.resize(member.size() + trailerBytes);
  poke(member, member.size() - 8, all, 4);
  poke(member, member.size() - 4, times * content.size(), 4);
  return member;
}

/// A packed tile with a few mixed bricks.
Bytes bricks() {
  Bytes packed(codeBytes);
  packed[0] = eachMixed;
  packed.resize(codeBytes + 4 * brickBytes, std::byte{0x5A});
  return packed;
}

Bytes changed(Bytes bytes, const std::function<void(Bytes&)>& change) {
  change(bytes);
  return bytes;
}

BadCase tile(const std::string& name, const Bytes& bytes, TileForm form, const std::string& reason) {
  return {name, [=](BadSet& set) { set.storeTile(size, size, bytes, form); },
          reason.empty() ? "" : "a.dat: tile 0: " + reason, true};
}

BadCase file(const std::string& name, const std::function<void(Bytes&)>& change, const std::string& message) {
  return {name, [=](BadSet& set) { set.editData(change); }, message};
}

void addFiles(std::vector<BadCase>& cases) {
  const std::string length = "a.fcp: data length 784: a.dat has ";
  cases.insert(
      cases.end(),
      {{"Missing", [](BadSet& set) { set.remove("a.dat"); }, "open a.dat: No such file or directory"},
       file(
           "Empty", [](Bytes& data) { data.clear(); }, "a.dat: shorter than its first 16 bytes"),
       {"CutInsideATile", [](BadSet& set) { set.resize("a.dat", 700); }, length + "700 bytes"},
       {"SparseTailOfAGibibyte", [](BadSet& set) { set.resize("a.dat", 1 << 30); }, length + "1073741824 bytes"},
       file(
           "OtherMagic", [](Bytes& data) { data[0] = std::byte{'W'}; }, "a.dat: magic: does not begin with VOXDAT"),
       file(
           "NextVersion", [](Bytes& data) { poke(data, 6, 2, 2); }, "a.dat: version 2 is not known"),
       file(
           "GenerationOfAnotherSave", [](Bytes& data) { poke(data, 8, 0x1111111111111111, 8); },
           "a.dat: generation 1111111111111111 is not 7d0c93a1b2f4e865 as in the header")});
  const std::pair<int, std::size_t> places[] = {{0, 16}, {3, 272}, {7, 783}};
  for (const auto& [number, at] : places) {
    BadCase flipped = file(
        "FlippedBitInTile" + std::to_string(number), [=](Bytes& data) { data[at] ^= std::byte{1}; },
        "a.dat: tile " + std::to_string(number) + ": the checksum is wrong");
    flipped.onlyTilesAreBad = true;
    cases.push_back(flipped);
  }
}

void addGzip(std::vector<BadCase>& cases) {
  const Bytes sound = gzipped(bricks());
  const TileForm form = TileForm::gzipBricks;
  const std::string invalid = "not a valid gzip member";
  const std::string instead = " bytes instead of 384 for 4 mixed bricks";
  cases.insert(
      cases.end(),
      {tile("GzipIsSound", sound, form, ""),
       {"GzipBombOfAGibibyte",
        [](BadSet& set) {
          set.storeTile({256, 256, 256}, {256, 256, 256}, gzipped(Bytes(1 << 20), 1024), TileForm::gzipBricks);
        },
        "a.dat: tile 0: holds more than 2105344 bytes", true},
       tile("GzipOneByteLess", gzipped(changed(bricks(), [](Bytes& b) { b.pop_back(); })), form, "holds 383" + instead),
       tile("GzipOneByteMore", gzipped(changed(bricks(), [](Bytes& b) { b.push_back({}); })), form,
            "holds 385" + instead),
       tile("GzipWithWrongSum", changed(sound, [](Bytes& b) { b[b.size() - 8] ^= std::byte{1}; }), form, invalid),
       tile("GzipWithWrongSize", changed(sound, [](Bytes& b) { b[b.size() - 4] ^= std::byte{1}; }), form, invalid),
       tile("GzipWithoutTrailer", changed(sound, [](Bytes& b) { b.resize(b.size() - trailerBytes); }), form, invalid),
       tile("GzipTwice", changed(sound, [&](Bytes& b) { b.insert(b.end(), sound.begin(), sound.end()); }), form,
            std::to_string(sound.size()) + " bytes follow the gzip member"),
       tile("GzipOverRawBits", Bytes(1000, std::byte{0x5A}), form, invalid)});
}

void addBricks(std::vector<BadCase>& cases) {
  const TileForm form = TileForm::bricks;
  const auto fill = [](std::byte value) {
    return changed(bricks(), [=](Bytes& b) { std::fill_n(b.begin() + codeBytes + brickBytes, brickBytes, value); });
  };
  const std::string equal = "brick 1 is called mixed, but all of its voxels are equal";
  cases.insert(
      cases.end(),
      {tile("BricksAreSound", bricks(), form, ""),
       tile("BrickCodesCut", Bytes(codeBytes - 1), form, "holds 127 bytes, less than the 128 of the brick codes"),
       tile("BrickCodeUnknown", changed(bricks(), [](Bytes& b) { b[1] = std::byte{0x0C}; }), form,
            "brick 5: code 3 is not known"),
       tile("BricksOneByteLess", changed(bricks(), [](Bytes& b) { b.pop_back(); }), form,
            "holds 383 bytes instead of 384 for 4 mixed bricks"),
       tile("BricksOneMoreThanCodes", changed(bricks(), [](Bytes& b) { b.resize(b.size() + brickBytes); }), form,
            "holds 448 bytes instead of 384 for 4 mixed bricks"),
       tile("MixedBrickIsClear", fill(std::byte{0}), form, equal),
       tile("MixedBrickIsSet", fill(std::byte{0xFF}), form, equal)});
}

void addPadding(std::vector<BadCase>& cases) {
  const auto outside = [](const std::string& name, McVec3i volume, std::size_t byte, std::byte bit) {
    Bytes bits(tileBytes);
    bits[byte] = bit;
    return BadCase{name, [=](BadSet& set) { set.storeTile(volume, size, bits, TileForm::raw); },
                   "a.dat: tile 0: bits outside the level are set", true};
  };
  cases.insert(cases.end(), {outside("VoxelBehindARow", {60, 64, 64}, 7, std::byte{0x08}),
                             outside("RowBehindASlice", {64, 63, 64}, 63 * 8, std::byte{0x80}),
                             outside("SliceBehindTheVolume", {64, 64, 63}, 63 * 64 * 8, std::byte{0x80})});
}

std::vector<BadCase> makeCases() {
  std::vector<BadCase> cases;
  addFiles(cases);
  addGzip(cases);
  addBricks(cases);
  addPadding(cases);
  return cases;
}

}  // namespace

const std::vector<BadCase>& badData() {
  static const std::vector<BadCase> cases = makeCases();
  return cases;
}
