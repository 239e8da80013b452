#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/VolumeHeader.h"

/// Makes volumes of the older layout, whose tiles repeat voxels of their neighbours, as the format page describes them
/// and without the library's own code.
class BorderedVolume {
public:
  using Bytes = std::vector<std::byte>;
  using Voxels = std::vector<bool>;  ///< x fastest

  /// An empty volume with tiles of `tile` voxels and a border of `border`.
  BorderedVolume(const McVec3i& dimensions, const McVec3i& tile, int border);

  bool voxel(int x, int y, int z) const { return voxels[place(dimensions, x, y, z)]; }
  void set(int x, int y, int z, bool value = true) { voxels[place(dimensions, x, y, z)] = value; }
  /// A box, both corners included.
  void fill(const McVec3i& low, const McVec3i& high, bool value = true);

  /// The voxels of a level: those of the one before, eight to one.
  static Voxels halved(const Voxels& voxels, const McVec3i& dimensions);
  static McVec3i halved(const McVec3i& dimensions);
  static std::size_t place(const McVec3i& dimensions, int x, int y, int z);

  /// Writes the three files; those of the same names are replaced.
  void write(hxvoxora::FileSystem& files, const std::string& ldmPath) const;

  McVec3i dimensions;
  McVec3i tile;
  int border;
  Voxels voxels;
  int levels = 1;
  bool compressed = true;                                     ///< with gzip where that is shorter
  bool storesEvenly = false;                                  ///< tiles with equal voxels are stored like others
  bool leavesUnwritten = false;                               ///< clear tiles count as never written
  std::vector<std::pair<std::string, std::string>> elements;  ///< further ones of the header
  /// Changes the block of a tile before it is packed.
  std::function<void(std::uint64_t tile, Bytes& block)> damage;
};
