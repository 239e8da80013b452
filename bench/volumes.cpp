#include "bench/volumes.h"

#include <algorithm>
#include <cmath>
#include <random>

#include "quarn/voxora/bits/BitKernels.h"

namespace bench {

namespace {

/// Numbers that are the same with every standard library.
class Random {
public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}
  std::uint64_t word() { return engine_(); }
  double between(double low, double high) {
    return low + (high - low) * static_cast<double>(engine_() >> 11) * 0x1p-53;
  }

private:
  std::mt19937_64 engine_;
};

struct Ellipsoid {
  double centre[3];
  double halfAxis[3];
};

/// Voxels of a row that lie within `reach` of `centre`, cut at both ends of the row.
void fillRow(PackedVolume& volume, int y, int z, double centre, double reach) {
  const int first = std::max(0, static_cast<int>(std::ceil(centre - reach)));
  const int last = std::min(volume.size[0] - 1, static_cast<int>(std::floor(centre + reach)));
  if (last < first) return;
  const std::uint64_t row =
      (static_cast<std::uint64_t>(z) * static_cast<std::uint64_t>(volume.size[1]) + static_cast<std::uint64_t>(y)) *
      static_cast<std::uint64_t>(volume.size[0]);
  hxvoxora::fillBits(volume.bits.data(), row + static_cast<std::uint64_t>(first),
                     static_cast<std::uint64_t>(last - first + 1), true);
}

void fill(PackedVolume& volume, const Ellipsoid& body) {
  for (int z = 0; z < volume.size[2]; ++z) {
    const double dz = (z - body.centre[2]) / body.halfAxis[2];
    if (dz * dz > 1) continue;
    for (int y = 0; y < volume.size[1]; ++y) {
      const double dy = (y - body.centre[1]) / body.halfAxis[1];
      const double rest = 1 - dy * dy - dz * dz;
      if (rest >= 0) fillRow(volume, y, z, body.centre[0], body.halfAxis[0] * std::sqrt(rest));
    }
  }
}

void drawCentre(Random& random, const SbVec3i32& size, Ellipsoid& body) {
  for (int axis = 0; axis < 3; ++axis) body.centre[axis] = random.between(0, size[axis]);
}

PackedVolume ballsOfRadius(const SbVec3i32& size, std::uint64_t seed, double least, double most) {
  PackedVolume volume(size);
  Random random(seed);
  for (int i = 0; i < 200; ++i) {
    Ellipsoid ball;
    drawCentre(random, size, ball);
    std::fill(std::begin(ball.halfAxis), std::end(ball.halfAxis), random.between(least, most));
    fill(volume, ball);
  }
  return volume;
}

}  // namespace

PackedVolume::PackedVolume(const SbVec3i32& dimensions)
    : size(dimensions),
      bits((static_cast<std::size_t>(dimensions[0]) * static_cast<std::size_t>(dimensions[1]) *
                static_cast<std::size_t>(dimensions[2]) +
            7) /
           8) {}

PackedVolume solidBodies(const SbVec3i32& size, std::uint64_t seed) {
  PackedVolume volume(size);
  Random random(seed);
  for (int i = 0; i < 100; ++i) {
    Ellipsoid body;
    drawCentre(random, size, body);
    for (double& halfAxis : body.halfAxis) halfAxis = random.between(10, 60);
    fill(volume, body);
  }
  return volume;
}

PackedVolume balls(const SbVec3i32& size, std::uint64_t seed) {
  return ballsOfRadius(size, seed, 4, 24);
}

PackedVolume wideBalls(const SbVec3i32& size, std::uint64_t seed) {
  return ballsOfRadius(size, seed, 20, 120);
}

PackedVolume noise(const SbVec3i32& size, std::uint64_t seed) {
  PackedVolume volume(size);
  Random random(seed);
  for (std::uint8_t& byte : volume.bits) byte = static_cast<std::uint8_t>(random.word() >> 56);
  return volume;
}

PackedVolume sparseNoise(const SbVec3i32& size, std::uint64_t seed) {
  PackedVolume volume(size);
  Random random(seed);
  for (std::uint8_t& byte : volume.bits) {
    const std::uint64_t word = random.word();
    for (int bit = 0; bit < 8; ++bit)
      if ((word >> 8 * bit & 0xff) < 51) byte = static_cast<std::uint8_t>(byte | 0x80 >> bit);
  }
  return volume;
}

const std::vector<VolumeKind>& volumeKinds() {
  static const std::vector<VolumeKind> kinds{{"bodies 512^3", {512, 512, 512}, solidBodies},
                                             {"balls 512^3", {512, 512, 512}, balls},
                                             {"noise 512^3", {512, 512, 512}, noise},
                                             {"bodies 181x217x181", {181, 217, 181}, solidBodies}};
  return kinds;
}

const VolumeKind& largeBalls() {
  static const VolumeKind kind{"balls 1024^3", {1024, 1024, 1024}, wideBalls};
  return kind;
}

const VolumeKind& largeNoise() {
  static const VolumeKind kind{"noise 512^3", {512, 512, 512}, noise};
  return kind;
}

}  // namespace bench
