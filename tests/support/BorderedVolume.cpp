#include "tests/support/BorderedVolume.h"

#define XXH_INLINE_ALL
#include <algorithm>
#include <optional>
#include <span>
#include <string_view>
#include <xxhash.h>
#include <zlib.h>

namespace {

using Bytes = BorderedVolume::Bytes;

constexpr std::uint64_t generation = 0x1234567890abcdef;
enum Kind : std::uint64_t { unwritten = 0, zero = 1, one = 2, stored = 3 };
enum Form : std::uint32_t { raw = 0, gzip = 2 };

struct Entry {
  std::uint64_t offset;
  std::uint32_t length;
  std::uint32_t form;
  std::uint64_t checksum;
};

template <typename Number>
void append(Bytes& bytes, Number value) {
  for (std::size_t i = 0; i < sizeof value; ++i) bytes.push_back(static_cast<std::byte>(value >> 8 * i & 0xFF));
}

void append(Bytes& bytes, std::string_view text) {
  for (const char c : text) bytes.push_back(static_cast<std::byte>(c));
}

void append(Bytes& bytes, const McVec3i& v) {
  for (int axis = 0; axis < 3; ++axis) append(bytes, static_cast<std::uint32_t>(v[axis]));
}

std::uint64_t checksumOf(const Bytes& bytes) {
  return XXH3_64bits(bytes.data(), bytes.size());
}

Bytes gzipped(const Bytes& bytes) {
  z_stream stream{};
  deflateInit2(&stream, 6, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
  Bytes packed(deflateBound(&stream, static_cast<uLong>(bytes.size())));
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(bytes.data()));
  stream.avail_in = static_cast<uInt>(bytes.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  deflate(&stream, Z_FINISH);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

void replaceFile(hxvoxora::FileSystem& files, const std::string& path, const Bytes& bytes) {
  files.remove(path);
  const auto file = files.createExclusively(path, hxvoxora::FileSystem::Access::byMask);
  file->append(bytes);
  file->close();
}

/// Builds data file and index of a volume.
class Writer {
public:
  explicit Writer(const BorderedVolume& volume) : volume_(volume) {
    append(data, std::string_view("VOXDAT\1\0", 8));
    append(data, generation);
    McVec3i size = volume.dimensions;
    BorderedVolume::Voxels voxels = volume.voxels;
    for (int level = 0; level < volume.levels; ++level) {
      if (level > 0) {
        voxels = BorderedVolume::halved(voxels, size);
        size = BorderedVolume::halved(size);
      }
      addLevel(voxels, size);
    }
  }

  Bytes index() const {
    Bytes runs;
    for (std::size_t i = 0; i < kinds_.size();) {
      std::size_t end = i;
      while (end < kinds_.size() && kinds_[end] == kinds_[i]) ++end;
      std::uint64_t number = (end - i) * 4 + kinds_[i];
      for (; number >= 0x80; number >>= 7) runs.push_back(static_cast<std::byte>((number & 0x7F) | 0x80));
      runs.push_back(static_cast<std::byte>(number));
      i = end;
    }
    Bytes bytes;
    append(bytes, std::string_view("VOXIDX\1\0", 8));
    append(bytes, generation);
    append(bytes, std::uint32_t{0x01020304});
    append(bytes, std::uint32_t{volume_.compressed ? 1U : 0U});
    append(bytes, volume_.dimensions);
    append(bytes, volume_.tile);
    for (const std::uint64_t number : {std::uint64_t{kinds_.size()}, std::uint64_t{entries_.size()},
                                       std::uint64_t{data.size()}, std::uint64_t{runs.size()}})
      append(bytes, number);
    bytes.insert(bytes.end(), runs.begin(), runs.end());
    for (const Entry& entry : entries_) {
      append(bytes, entry.offset);
      append(bytes, entry.length);
      append(bytes, entry.form);
      append(bytes, entry.checksum);
    }
    append(bytes, checksumOf(bytes));
    return bytes;
  }

  Bytes data;

private:
  void addLevel(const BorderedVolume::Voxels& voxels, const McVec3i& size) {
    McVec3i tiles;
    for (int axis = 0; axis < 3; ++axis) tiles[axis] = (size[axis] + volume_.tile[axis] - 1) / volume_.tile[axis];
    for (int k = 0; k < tiles.z; ++k)
      for (int j = 0; j < tiles.y; ++j)
        for (int i = 0; i < tiles.x; ++i) {
          const McVec3i low{i * volume_.tile.x, j * volume_.tile.y, k * volume_.tile.z};
          addTile(voxels, size, low);
        }
  }

  void addTile(const BorderedVolume::Voxels& voxels, const McVec3i& size, const McVec3i& low) {
    const auto value = evenValue(voxels, size, low);
    if (value && !volume_.storesEvenly) {
      kinds_.push_back(*value ? one : volume_.leavesUnwritten ? unwritten : zero);
    } else {
      Bytes block = blockOf(voxels, size, low);
      if (volume_.damage) volume_.damage(kinds_.size(), block);
      kinds_.push_back(stored);
      store(block);
    }
  }

  void store(const Bytes& block) {
    const Bytes packed = volume_.compressed ? gzipped(block) : block;
    const bool isShorter = packed.size() < block.size();
    const Bytes& bytes = isShorter ? packed : block;
    entries_.push_back(
        {data.size(), static_cast<std::uint32_t>(bytes.size()), isShorter ? gzip : raw, checksumOf(bytes)});
    data.insert(data.end(), bytes.begin(), bytes.end());
  }

  std::optional<bool> evenValue(const BorderedVolume::Voxels& voxels, const McVec3i& size, const McVec3i& low) const {
    const bool first = voxels[BorderedVolume::place(size, low.x, low.y, low.z)];
    for (int z = low.z; z < std::min(low.z + volume_.tile.z, size.z); ++z)
      for (int y = low.y; y < std::min(low.y + volume_.tile.y, size.y); ++y)
        for (int x = low.x; x < std::min(low.x + volume_.tile.x, size.x); ++x)
          if (voxels[BorderedVolume::place(size, x, y, z)] != first) return std::nullopt;
    return first;
  }

  Bytes blockOf(const BorderedVolume::Voxels& voxels, const McVec3i& size, const McVec3i& low) const {
    const int b = volume_.border;
    const auto inside = [](int at, int end) { return at >= 0 && at < end; };
    std::vector<bool> bits;
    for (int z = low.z - b; z < low.z + volume_.tile.z + b; ++z)
      for (int y = low.y - b; y < low.y + volume_.tile.y + b; ++y)
        for (int x = low.x - b; x < low.x + volume_.tile.x + b; ++x)
          bits.push_back(inside(x, size.x) && inside(y, size.y) && inside(z, size.z) &&
                         voxels[BorderedVolume::place(size, x, y, z)]);
    Bytes block((bits.size() + 7) / 8);
    for (std::size_t i = 0; i < bits.size(); ++i)
      if (bits[i]) block[i / 8] |= std::byte(0x80 >> i % 8);
    return block;
  }

  const BorderedVolume& volume_;
  std::vector<Kind> kinds_;
  std::vector<Entry> entries_;
};

std::string stemOf(const std::string& path) {
  const std::size_t name = path.rfind('/') + 1;
  return path.substr(name, path.rfind('.') - name);
}

}  // namespace

BorderedVolume::BorderedVolume(const McVec3i& size, const McVec3i& tileSize, int borderVoxels)
    : dimensions(size),
      tile(tileSize),
      border(borderVoxels),
      voxels(static_cast<std::size_t>(size.x) * static_cast<std::size_t>(size.y) * static_cast<std::size_t>(size.z)) {}

void BorderedVolume::fill(const McVec3i& low, const McVec3i& high, bool value) {
  for (int z = low.z; z <= high.z; ++z)
    for (int y = low.y; y <= high.y; ++y)
      for (int x = low.x; x <= high.x; ++x) set(x, y, z, value);
}

std::size_t BorderedVolume::place(const McVec3i& size, int x, int y, int z) {
  return (static_cast<std::size_t>(z) * static_cast<std::size_t>(size.y) + static_cast<std::size_t>(y)) *
             static_cast<std::size_t>(size.x) +
         static_cast<std::size_t>(x);
}

McVec3i BorderedVolume::halved(const McVec3i& size) {
  return {(size.x + 1) / 2, (size.y + 1) / 2, (size.z + 1) / 2};
}

BorderedVolume::Voxels BorderedVolume::halved(const Voxels& fine, const McVec3i& size) {
  const McVec3i half = halved(size);
  Voxels coarse(static_cast<std::size_t>(half.x) * static_cast<std::size_t>(half.y) * static_cast<std::size_t>(half.z));
  for (int z = 0; z < size.z; ++z)
    for (int y = 0; y < size.y; ++y)
      for (int x = 0; x < size.x; ++x)
        if (fine[place(size, x, y, z)]) coarse[place(half, x / 2, y / 2, z / 2)] = true;
  return coarse;
}

void BorderedVolume::write(hxvoxora::FileSystem& files, const std::string& ldmPath) const {
  hxvoxora::VolumeHeader header;
  header.dimensions = dimensions;
  header.tileDimensions = tile;
  header.border = border;
  header.levels = levels;
  header.compression = compressed ? hxvoxora::TileCompression::gzip : hxvoxora::TileCompression::none;
  header.dataFile = stemOf(ldmPath) + ".dat";
  header.indexFile = stemOf(ldmPath) + ".fcp";
  header.generation = generation;
  const std::string text = header.toXml(elements);
  const std::string folder = ldmPath.substr(0, ldmPath.rfind('/') + 1);
  const Writer writer(*this);
  replaceFile(files, folder + header.dataFile, writer.data);
  replaceFile(files, folder + header.indexFile, writer.index());
  const auto bytes = std::as_bytes(std::span(text));
  replaceFile(files, ldmPath, {bytes.begin(), bytes.end()});
}
