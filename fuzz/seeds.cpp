// Writes the inputs that the fuzzers start from: what our own writer makes of small volumes, and ROI
// set files.
//   fuzz_seeds FOLDER      FOLDER must hold a folder named after each target

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "fuzz/imageSeeds.h"
#include "fuzz/targets/headers.h"
#include "quarn/voxora/files/MemoryFileSystem.h"
#include "quarn/voxora/files/TiledFileReader.h"
#include "quarn/voxora/files/TiledFileWriter.h"

namespace {

using hxvoxora::MemoryFileSystem;
using hxvoxora::StoredTileKind;
using hxvoxora::TiledFileWriter;
using hxvoxora::VolumeHeader;
using Bytes = std::vector<std::byte>;

std::string folder;

void save(const std::string& name, std::span<const std::byte> bytes) {
  std::ofstream file(folder + "/" + name, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!file.flush()) throw std::runtime_error("cannot write " + folder + "/" + name);
}

Bytes toBytes(std::string_view text) {
  const auto bytes = std::as_bytes(std::span(text));
  return {bytes.begin(), bytes.end()};
}

Bytes withOptions(unsigned options, const Bytes& bytes) {
  Bytes result{std::byte(options)};
  result.insert(result.end(), bytes.begin(), bytes.end());
  return result;
}

/// The bits of a tile that is about as full as the border of a region; voxels outside the volume are clear.
Bytes someBits(const VolumeHeader& header, std::uint64_t tile) {
  Bytes bits(header.tileBytes());
  const McVec3i extent = header.tileExtent(tile);
  for (int z = 0; z < extent.z; ++z) {
    for (int y = 0; y < extent.y; ++y) {
      for (int x = 0; x < extent.x; ++x) {
        if (x + y + 2 * z < 16) continue;
        const auto i = static_cast<std::size_t>((z * header.tileDimensions.y + y) * header.tileDimensions.x + x);
        bits[i / 8] |= std::byte(0x80 >> i % 8);
      }
    }
  }
  return bits;
}

void saveHeaders() {
  for (std::size_t i = 0; i < fuzz::headerCount; ++i) {
    const std::string text = fuzz::headerNumber(i).toXml();
    save("header/" + std::to_string(i), toBytes(text));
    std::string edited = text;
    edited.replace(
        edited.find(" <Data"), 0,
        "<!-- other program --><BoundingBox>0 1 0 1 0 1</BoundingBox>\r\n<Tool a='1'><![CDATA[<x>]]>&amp;</Tool>"
        "<TileBorder>2</TileBorder>");
    save("header/edited-" + std::to_string(i), toBytes("\xEF\xBB\xBF" + edited));
  }
}

void saveSet(std::size_t number) {
  const VolumeHeader header = fuzz::headerNumber(number);
  MemoryFileSystem files;
  TiledFileWriter writer(files, "a.ldm", header);
  const std::uint64_t tiles = header.tileCount();
  for (std::uint64_t tile = 0; tile < std::min<std::uint64_t>(tiles, 6); ++tile) {
    if (tile % 3 == 1) writer.setKind(tile, tile % 2 ? StoredTileKind::one : StoredTileKind::zero);
    if (tile % 3 == 0) writer.put(tile, someBits(header, tile));
  }
  writer.commit();
  Bytes index = files.content("a.fcp");
  fuzz::setGeneration(index);
  const std::string name = std::to_string(number);
  for (const unsigned repairs : {8U, 12U}) {
    save("index/" + name + "-" + std::to_string(repairs), withOptions(static_cast<unsigned>(number) | repairs, index));
  }

  const auto reader = hxvoxora::TiledFileReader::open(files, "a.ldm");
  const auto packed = reader->readCompressed(0);
  const auto length = static_cast<unsigned>(packed.bytes.size());
  // The flags of a tile in the data target: in gzip, by bricks, filled up.
  const unsigned flags[] = {16, 2, 1};
  Bytes chunk{std::byte(flags[static_cast<unsigned>(packed.form)]), std::byte(length >> 8), std::byte(length & 0xFF)};
  chunk.insert(chunk.end(), packed.bytes.begin(), packed.bytes.end());
  save("data/" + name + "-stored", withOptions(static_cast<unsigned>(number), chunk));
  save("data/" + name + "-handed-on", withOptions(static_cast<unsigned>(number) | 16, chunk));
  save("data/" + name + "-bits", withOptions(static_cast<unsigned>(number) | 4, someBits(header, 0)));
  save("data/" + name + "-damage", withOptions(static_cast<unsigned>(number) | 8, toBytes({"\0\x12\x01", 3})));
}

std::string maskOf(const std::string& name, const std::string& elements) {
  return "\"" + name + "\" {\n" + elements + "}\n";
}

std::string filename(const std::string& name) {
  return "\"__filename\" text \"" + name + "\"\n";
}

/// Texts of ROI set files, whose masks are those of the target.
void saveSetFiles() {
  const std::string tail = "\"Id\" text \"1\"\n\"__color\" reals 1.0 0.5 0.25\n";
  const std::string a = maskOf("A", filename("A") + tail), b = maskOf("B", filename("B"));
  const std::string rois[] = {"",
                              a,
                              a + b,
                              maskOf("G", a + b + "\"__color\" reals 0.0 1.0 0.0\n\"note\" text \"x\\n\\\"y\"\n"),
                              maskOf("empty", "") + b,
                              a + maskOf("C", filename("other")),
                              a + a,
                              maskOf("M", filename("missing")),
                              maskOf("O", filename("older")),
                              maskOf("P", filename("..")),
                              maskOf("E", filename("A") + "\"__color\" reals 1.0\n\"Id\" integer 7\n")};
  int number = 0;
  for (const std::string& content : rois) {
    const std::string text =
        "# QuarnMesh 1 text quarnmesh\nparameters {\n\"ContentType\" text \"HxRois\"\n"
        "\"masks-directory\" text \"set.ROIs-masks\"\n\"Materials\" {\n\"A\" {\n"
        "\"Color\" reals 1.0 nan -inf\n}\n}\n\"count\" integer -3\n\"__rois\" {\n" +
        content + "}\n}\n";
    save("set/" + std::to_string(number++), toBytes(text));
  }
}

}  // namespace

int main(int count, char** words) {
  if (count != 2) {
    std::fprintf(stderr, "usage: fuzz_seeds FOLDER\n");
    return 2;
  }
  folder = words[1];
  saveHeaders();
  for (std::size_t i = 0; i < fuzz::headerCount; ++i) saveSet(i);
  saveSetFiles();
  fuzz::saveImages(save);
  return 0;
}
