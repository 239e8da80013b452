#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "quarn/voxora/files/MemoryFileSystem.h"
#include "quarn/voxora/files/TiledFileReader.h"
#include "quarn/voxora/files/TiledFileWriter.h"

/// Small volumes on disk or in memory for the tests of the file layer, and tools to damage them.
namespace volumefiles {

using Bytes = std::vector<std::byte>;

/// What a test expects of each tile of a volume.
struct Tile {
  hxvoxora::StoredTileKind kind = hxvoxora::StoredTileKind::unwritten;
  Bytes bits;
  bool operator==(const Tile&) const = default;
};
using Tiles = std::map<std::uint64_t, Tile>;

hxvoxora::VolumeHeader makeHeader(McVec3i dimensions, McVec3i tileDimensions,
                                  hxvoxora::TileCompression compression = hxvoxora::TileCompression::gzip);

/// Bits that look like a piece of a mask, different for each `seed`; 0 outside the volume.
Bytes maskBits(const hxvoxora::VolumeHeader& header, std::uint64_t tile, unsigned seed);

/// The volume that most tests use: 2 x 2 x 2 tiles of 32 x 8 x 8 voxels, cut at the upper borders; unwritten, clear,
/// set and stored tiles. `seed` makes different contents.
hxvoxora::VolumeHeader sampleHeader();
Tiles sampleTiles(unsigned seed);

void write(hxvoxora::FileSystem& fileSystem, const std::string& path, const hxvoxora::VolumeHeader& header,
           const Tiles& tiles);

/// Opens a set and reads every tile that is not unwritten.
Tiles read(hxvoxora::FileSystem& fileSystem, const std::string& path);

Bytes toBytes(std::string_view text);
std::string toText(const Bytes& bytes);

/// The text of the McException that `action` throws; a test failure when it throws none.
std::string messageOf(const std::function<void()>& action);

/// Puts the right checksum at the end of a tile index.
void sign(Bytes& index);
std::uint64_t checksumOf(const Bytes& bytes);

/// Writes a number of `size` bytes, least significant first.
void poke(Bytes& bytes, std::size_t offset, std::uint64_t value, std::size_t size);

/// The sample set as "/v/a.ldm" in a memory of its own.
class SampleSet {
public:
  explicit SampleSet(unsigned seed = 1);

  void replaceInHeader(const std::string& from, const std::string& to);
  void editIndex(const std::function<void(Bytes&)>& edit, bool signAnew = true);
  Tiles read() { return volumefiles::read(files, path); }
  std::string openMessage();

  hxvoxora::MemoryFileSystem files;
  const std::string path = "/v/a.ldm";
  const std::string dataPath = "/v/a.dat";
  const std::string indexPath = "/v/a.fcp";
};

}  // namespace volumefiles
