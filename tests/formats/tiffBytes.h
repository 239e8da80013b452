#pragma once

#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

/// A TIFF file made by hand, tag by tag: little endian, a strip for each page, not compressed.
class TiffBytes {
public:
  enum Tag : std::uint16_t {
    SubfileType = 254,
    Width = 256,
    Height = 257,
    Bits = 258,
    Compression = 259,
    Photometric = 262,
    Description = 270,
    StripOffset = 273,
    Orientation = 274,
    Samples = 277,
    RowsPerStrip = 278,
    StripBytes = 279,
    XResolution = 282,
    YResolution = 283,
    ResolutionUnit = 296,
    TileWidth = 322,
    TileHeight = 323,
    TileOffset = 324,
    TileBytes = 325,
    SampleFormat = 339,
  };

  struct Page {
    std::map<std::uint16_t, std::uint32_t> tags;  ///< all written as 32-bit numbers, resolutions as that over 1
    std::string voxels;
    std::string description = {};  ///< more than three characters, or none
  };

  /// A page of 3 x 4 bytes.
  static Page page(char first) {
    Page result;
    for (char i = 0; i < 12; ++i) result.voxels += static_cast<char>(first + i);
    result.tags = {{Width, 3},       {Height, 4},  {Bits, 8},        {Compression, 1},
                   {Photometric, 1}, {Samples, 1}, {RowsPerStrip, 4}};
    return result;
  }

  explicit TiffBytes(std::vector<Page> all) : pages(std::move(all)) {}

  std::string file() const {
    std::string bytes("II*\0", 4);
    put(bytes, 0);
    std::size_t link = 4;
    for (const Page& page : pages) {
      auto tags = page.tags;
      tags.emplace(StripOffset, static_cast<std::uint32_t>(bytes.size()));
      tags.emplace(StripBytes, static_cast<std::uint32_t>(page.voxels.size()));
      bytes += page.voxels;
      std::map<std::uint16_t, std::uint32_t> fractions;
      for (const auto& [tag, value] : tags) {
        if (tag != XResolution && tag != YResolution) continue;
        fractions[tag] = static_cast<std::uint32_t>(bytes.size());
        put(bytes, value);
        put(bytes, 1);
      }
      if (!page.description.empty()) {
        tags[Description] = static_cast<std::uint32_t>(bytes.size());
        bytes += page.description + '\0';
      }
      const auto start = static_cast<std::uint32_t>(bytes.size());
      std::memcpy(bytes.data() + link, &start, sizeof start);
      putShort(bytes, static_cast<std::uint16_t>(tags.size()));
      for (const auto& [tag, value] : tags) {
        putShort(bytes, tag);
        putShort(bytes, tag == Description ? 2 : fractions.contains(tag) ? 5 : 4);
        put(bytes, tag == Description ? static_cast<std::uint32_t>(page.description.size() + 1) : 1);
        put(bytes, fractions.contains(tag) ? fractions[tag] : value);
      }
      link = bytes.size();
      put(bytes, 0);
    }
    return bytes;
  }

  std::vector<Page> pages;

private:
  static void put(std::string& bytes, std::uint32_t value) {
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
  }
  static void putShort(std::string& bytes, std::uint16_t value) {
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
  }
};
