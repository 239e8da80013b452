#include <string_view>

#include "fuzz/targets/properties.h"
#include "fuzz/targets/targets.h"
#include "quarn/voxora/files/MemoryFileSystem.h"

namespace fuzz {

using hxvoxora::VolumeHeader;

namespace {

const std::string path = "/v/a.ldm";

std::string refusalOfFile(std::span<const std::byte> input) {
  hxvoxora::MemoryFileSystem files;
  files.makeDirectory("/v");
  files.setContent(path, {input.begin(), input.end()});
  return refusalOf([&] { VolumeHeader::read(files, path); });
}

/// Levels halve, and their tiles follow each other.
void requireLevels(const VolumeHeader& header) {
  McVec3i size = header.dimensions;
  std::uint64_t next = 0;
  for (int level = 0; level < header.levels; ++level) {
    require(header.levelDimensions(level) == size, "a level is half of the one before");
    require(header.levelFirstTile(level) == next, "levels follow each other");
    require(header.levelOf(next) == level, "a tile belongs to its level");
    next += header.levelTileCount(level);
    for (int axis = 0; axis < 3; ++axis) size[axis] = size[axis] / 2 + size[axis] % 2;
  }
  require(header.tileCount() == next, "all tiles belong to a level");
}

/// What is asked of every header that was read.
void use(const VolumeHeader& header) {
  header.validate(path);
  requireLevels(header);
  for (const std::uint64_t tile : {std::uint64_t{0}, header.tileCount() - 1}) {
    const McVec3i extent = header.tileExtent(tile);
    for (int axis = 0; axis < 3; ++axis) {
      require(extent[axis] >= 1 && extent[axis] <= header.tileDimensions[axis], "a tile holds voxels of the volume");
    }
  }
  for (const char* name : {"BoundingBox", "ApproximatedBoundingBox", "Dimensions", ""}) header.findTag(name);
}

}  // namespace

bool header(std::span<const std::byte> input) {
  const std::string_view text(reinterpret_cast<const char*>(input.data()), input.size());
  VolumeHeader parsed;
  const std::string refusal = refusalOf([&] { parsed = VolumeHeader::parse(text, path); });
  require(refusalOfFile(input) == refusal, "a file is read as its text is");
  if (!refusal.empty()) return false;
  use(parsed);
  const std::string written = parsed.toXml();
  const VolumeHeader again = VolumeHeader::parse(written, path);
  requireSame(parsed, again);
  require(again.toXml() == written, "written twice is the same text");
  return true;
}

}  // namespace fuzz
