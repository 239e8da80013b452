#pragma once

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "tests/voxora/components/plainComponents.h"

/// Volumes whose components are hard to follow.

namespace hxvoxora {

inline void PrintTo(const Component& component, std::ostream* out) {
  const SbVec3i32 &first = component.first, &min = component.box.getMin(), &max = component.box.getMax();
  *out << component.voxelCount << " voxels from (" << first[0] << ", " << first[1] << ", " << first[2] << ") in ("
       << min[0] << ", " << min[1] << ", " << min[2] << ") to (" << max[0] << ", " << max[1] << ", " << max[2] << ")";
}

}  // namespace hxvoxora

struct Shape {
  std::string name;
  DenseMask voxels;
  SbVec3i32 tile;
};

/// Every voxel set with a probability.
inline DenseMask noiseOf(RandomSource& random, const SbVec3i32& size, double density) {
  DenseMask voxels(size);
  DenseMask::forEachVoxel(voxels.box(), [&](int x, int y, int z) { voxels.at(x, y, z) = random.chance(density); });
  return voxels;
}

/// The same with its axes in another order.
inline DenseMask turned(const DenseMask& voxels, int first, int second, int third) {
  const SbVec3i32& size = voxels.dimensions();
  DenseMask result({size[first], size[second], size[third]});
  DenseMask::forEachVoxel(voxels.box(), [&](int x, int y, int z) {
    const int at[] = {x, y, z};
    result.at(at[first], at[second], at[third]) = voxels.at(x, y, z);
  });
  return result;
}

/// The same seen from the far corner.
inline DenseMask mirrored(const DenseMask& voxels) {
  const SbVec3i32& size = voxels.dimensions();
  DenseMask result(size);
  DenseMask::forEachVoxel(voxels.box(), [&](int x, int y, int z) {
    result.at(size[0] - 1 - x, size[1] - 1 - y, size[2] - 1 - z) = voxels.at(x, y, z);
  });
  return result;
}

/// Teeth along z that one bar at the far end joins: every one looks like a component of its own until then. Between
/// them stand short pieces that end early.
inline DenseMask comb(const SbVec3i32& size) {
  DenseMask voxels(size);
  const int last = size[2] - 1;
  for (int y = 0; y < size[1]; y += 2) {
    for (int x = 0; x < size[0]; x += 3) {
      voxels.fill({{x, y, 0}, {x, y, last}}, true);
      if (x + 1 < size[0] && y + 1 < size[1]) voxels.fill({{x + 1, y + 1, last / 3}, {x + 1, y + 1, last / 2}}, true);
    }
  }
  voxels.fill({{0, 0, last}, {size[0] - 1, size[1] - 1, last}}, true);
  return voxels;
}

/// Hair pins within each other, each closed at the far end only.
inline DenseMask hairPins(const SbVec3i32& size) {
  DenseMask voxels(size);
  const int last = size[2] - 1;
  for (int i = 0; 4 * i + 2 < size[0] && 2 * i < last; ++i) {
    const int right = size[0] - 1 - 2 * i;
    if (2 * i > right) break;
    voxels.fill({{2 * i, 0, 0}, {2 * i, size[1] - 1, last - 2 * i}}, true);
    voxels.fill({{right, 0, 0}, {right, size[1] - 1, last - 2 * i}}, true);
    voxels.fill({{2 * i, 0, last - 2 * i}, {right, 0, last - 2 * i}}, true);
  }
  return voxels;
}

/// A band one voxel wide that winds inwards in the xz plane.
inline DenseMask spiral(int edge, int height) {
  DenseMask voxels({edge, height, edge});
  int x = 0, z = 0, dx = 1, dz = 0;
  const auto isFree = [&](int atX, int atZ) {
    return atX < 0 || atZ < 0 || atX >= edge || atZ >= edge || !voxels.at(atX, 0, atZ);
  };
  const auto canGo = [&] {
    const int nx = x + dx, nz = z + dz;
    return nx >= 0 && nz >= 0 && nx < edge && nz < edge && isFree(nx, nz) && isFree(nx + dx, nz + dz);
  };
  const auto put = [&] { voxels.fill({{x, 0, z}, {x, height - 1, z}}, true); };
  put();
  while (true) {
    if (!canGo()) {
      const int turnedX = -dz;
      dz = dx;
      dx = turnedX;
      if (!canGo()) return voxels;
    }
    x += dx;
    z += dz;
    put();
  }
}

inline DenseMask checkerboard(const SbVec3i32& size) {
  DenseMask voxels(size);
  DenseMask::forEachVoxel(voxels.box(), [&](int x, int y, int z) { voxels.at(x, y, z) = (x + y + z) % 2 == 0; });
  return voxels;
}

inline std::vector<Shape> difficultShapes() {
  const SbVec3i32 small(32, 8, 8), cube(32, 32, 32), flat(64, 8, 16);
  std::vector<Shape> shapes;
  const auto addTurned = [&](const std::string& name, const DenseMask& voxels, const SbVec3i32& tile) {
    constexpr int orders[][3] = {{0, 1, 2}, {2, 0, 1}, {1, 2, 0}};
    for (const auto& order : orders) {
      const DenseMask result = turned(voxels, order[0], order[1], order[2]);
      const std::string text = name + " with first axis " + std::to_string(order[0]);
      shapes.push_back({text, result, tile});
      shapes.push_back({text + ", mirrored", mirrored(result), tile});
    }
  };
  addTurned("comb", comb({70, 20, 75}), small);
  addTurned("comb", comb({70, 20, 75}), {128, 16, 32});
  addTurned("hair pins", hairPins({69, 18, 75}), small);
  addTurned("hair pins", hairPins({99, 9, 150}), cube);
  addTurned("spiral", spiral(75, 10), flat);
  addTurned("spiral", spiral(101, 3), small);
  shapes.push_back({"checkerboard", checkerboard({70, 21, 19}), small});
  shapes.push_back({"checkerboard", checkerboard({33, 34, 35}), cube});
  shapes.push_back({"full", DenseMask({70, 21, 19}, true), small});
  shapes.push_back({"full, whole tiles", DenseMask({64, 64, 64}, true), cube});
  shapes.push_back({"empty", DenseMask({70, 21, 19}), small});
  shapes.push_back({"one voxel", DenseMask({1, 1, 1}, true), small});
  return shapes;
}

inline Ref<SoVolumeMask> maskOf(const DenseMask& voxels, const SbVec3i32& tile) {
  const auto mask = makeMask(voxels.dimensions(), tile);
  replace(*mask, voxels.box(), voxels);
  return mask;
}

/// Noise and blobs of many sizes and densities, in tiles of many sizes.
inline Shape randomShape(RandomSource& random) {
  constexpr int edges[] = {8, 16, 32, 64, 128};
  const auto edge = [&](int least) { return edges[random.between(least, 4)]; };
  const SbVec3i32 tile(edge(2), edge(0), edge(0));
  SbVec3i32 size;
  for (int axis = 0; axis < 3; ++axis) size[axis] = random.chance(0.2) ? 1 : random.between(1, axis == 0 ? 150 : 80);
  if (random.chance(0.3)) return {"blobs", randomContent(random, size), tile};
  const double density = random.between(3, 70) / 100.0;
  return {"noise of density " + std::to_string(density), noiseOf(random, size, density), tile};
}

/// Tiles that are full, clear or noise, with long runs of full ones in many rows, and in many slices.
inline Shape shapeOfTiles(RandomSource& random) {
  const SbVec3i32 tile(32, 8, 8);
  const SbVec3i32 tiles(random.between(1, 7), random.between(1, 9), random.between(2, 11));
  SbVec3i32 size;
  for (int axis = 0; axis < 3; ++axis) size[axis] = std::max(1, tiles[axis] * tile[axis] - random.between(0, 5));
  DenseMask voxels = noiseOf(random, size, 0.3);
  const int count = tiles[0] * tiles[1] * tiles[2];
  const auto fillTiles = [&](int first, int end, bool value) {
    for (int i = first; i < std::min(end, count); ++i) {
      const SbVec3i32 at(i % tiles[0] * 32, i / tiles[0] % tiles[1] * 8, i / tiles[0] / tiles[1] * 8);
      voxels.fill(SbBox3i32(at, {at[0] + 31, at[1] + 7, at[2] + 7}).intersection(voxels.box()), value);
    }
  };
  for (int first = 0; first < count;) {
    const int end = first + random.between(1, random.chance(0.3) ? 200 : 2 + tiles[0]);
    if (random.chance(0.7)) fillTiles(first, end, random.chance(0.7));
    first = end;
  }
  return {"tiles", voxels, tile};
}

inline std::string describe(const Shape& shape, hxvoxora::Neighbours neighbours) {
  const auto text = [](const SbVec3i32& v) {
    return std::to_string(v[0]) + " x " + std::to_string(v[1]) + " x " + std::to_string(v[2]);
  };
  return shape.name + ", " + text(shape.voxels.dimensions()) + " in tiles of " + text(shape.tile) +
         (neighbours == hxvoxora::Neighbours::Faces ? ", 6 neighbours" : ", 26 neighbours");
}
