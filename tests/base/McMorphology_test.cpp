#include "quarn/base/McMorphology.h"

#include <array>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "quarn/base/McException.h"
#include "tests/base/RandomBits.h"

namespace {

constexpr std::array<std::array<int, 3>, 6> kSteps{
    {{-1, 0, 0}, {1, 0, 0}, {0, -1, 0}, {0, 1, 0}, {0, 0, -1}, {0, 0, 1}}};

std::uint64_t voxels(const McDim3l& n) {
  return static_cast<std::uint64_t>(n.voxelCount());
}

std::uint64_t indexOf(const McDim3l& n, std::int64_t x, std::int64_t y, std::int64_t z) {
  return static_cast<std::uint64_t>((z * n.ny + y) * n.nx + x);
}

/// One iteration, voxel by voxel; `outside` is what lies beyond the border along each axis.
McBitfield step(const McBitfield& in, const McDim3l& n, bool spread, std::array<bool, 3> outside,
                const McBitfield* mask) {
  McBitfield out = in;
  for (std::int64_t z = 0; z < n.nz; ++z) {
    for (std::int64_t y = 0; y < n.ny; ++y) {
      for (std::int64_t x = 0; x < n.nx; ++x) {
        const std::uint64_t i = indexOf(n, x, y, z);
        if (mask && !mask->get(i)) continue;
        for (std::size_t s = 0; s < kSteps.size(); ++s) {
          const std::int64_t a = x + kSteps[s][0];
          const std::int64_t b = y + kSteps[s][1];
          const std::int64_t c = z + kSteps[s][2];
          const bool isIn = a >= 0 && a < n.nx && b >= 0 && b < n.ny && c >= 0 && c < n.nz;
          if ((isIn ? in.get(indexOf(n, a, b, c)) : outside[s / 2]) == spread) out.fill(i, 1, spread);
        }
      }
    }
  }
  return out;
}

McBitfield dilated(McBitfield bits, const McDim3l& n, std::uint64_t iterations) {
  for (; iterations > 0; --iterations) bits = step(bits, n, true, {false, false, false}, nullptr);
  return bits;
}

McBitfield eroded(McBitfield bits, const McDim3l& n, std::uint64_t iterations, std::array<bool, 3> border,
                  const McBitfield* mask) {
  for (; iterations > 0; --iterations) bits = step(bits, n, false, {!border[0], !border[1], !border[2]}, mask);
  return bits;
}

constexpr std::array<McDim3l, 6> kVolumes{{{1, 1, 1}, {7, 1, 1}, {1, 9, 1}, {1, 1, 8}, {67, 5, 3}, {13, 11, 7}}};

TEST(McMorphology, OneVoxelGrowsByItsFaceNeighbours) {
  const McDim3l n(5, 5, 5);
  McBitfield in(125);
  in.set(indexOf(n, 2, 2, 2));
  McBitfield out;
  McMorphology::dilation3D(in, out, n, 1);
  McBitfield expected = in;
  for (const auto& s : kSteps) expected.set(indexOf(n, 2 + s[0], 2 + s[1], 2 + s[2]));
  EXPECT_EQ(out, expected);
  McMorphology::erosion3D(out, out, n, 1, true, true, true);
  EXPECT_EQ(out, in);
}

TEST(McMorphology, GrowthEndsAtTheBorderAndDoesNotWrap) {
  const McDim3l n(3, 3, 3);
  McBitfield in(27);
  in.set(indexOf(n, 2, 0, 1));
  McBitfield out;
  McMorphology::dilation3D(in, out, n, 1);
  McBitfield expected(27);
  for (const auto& [x, y, z] : {std::array{2, 0, 1}, {1, 0, 1}, {2, 1, 1}, {2, 0, 0}, {2, 0, 2}}) {
    expected.set(indexOf(n, x, y, z));
  }
  EXPECT_EQ(out, expected);
}

TEST(McMorphology, DilationEqualsThatOfSingleVoxels) {
  auto random = seededRandom();
  for (const McDim3l& n : kVolumes) {
    for (const std::uint64_t iterations : {0U, 1U, 2U, 3U, 7U}) {
      const McBitfield in = randomBits(voxels(n), 0.05, random);
      McBitfield out(3);
      McMorphology::dilation3D(in, out, n, iterations);
      ASSERT_EQ(out, dilated(in, n, iterations)) << n.nx << ", " << iterations;
    }
  }
}

TEST(McMorphology, ErosionEqualsThatOfSingleVoxelsForAllBordersAndMasks) {
  auto random = seededRandom();
  for (const McDim3l& n : kVolumes) {
    for (const std::uint64_t iterations : {0U, 1U, 2U, 5U}) {
      for (unsigned int flags = 0; flags < 16; ++flags) {
        const std::array<bool, 3> border{(flags & 1U) != 0, (flags & 2U) != 0, (flags & 4U) != 0};
        const McBitfield in = randomBits(voxels(n), 0.95, random);
        const McBitfield mask = randomBits(voxels(n), 0.7, random);
        const McBitfield* used = (flags & 8U) != 0 ? &mask : nullptr;
        McBitfield out;
        McMorphology::erosion3D(in, out, n, iterations, border[0], border[1], border[2], used);
        ASSERT_EQ(out, eroded(in, n, iterations, border, used)) << n.nx << ", " << iterations << ", " << flags;
      }
    }
  }
}

TEST(McMorphology, FullVolumeShrinksOnlyFromBordersThatCount) {
  const McDim3l n(6, 6, 6);
  McBitfield full(216);
  full.fill(0, 216, true);
  McBitfield out;
  McMorphology::erosion3D(full, out, n, 4, false, false, false);
  EXPECT_EQ(out, full);
  McMorphology::erosion3D(full, out, n, 3, true, true, true);
  EXPECT_EQ(out, McBitfield(216));
}

TEST(McMorphology, ResultMayTakeThePlaceOfTheSource) {
  auto random = seededRandom();
  const McDim3l n(13, 11, 7);
  McBitfield bits = randomBits(voxels(n), 0.1, random);
  const McBitfield expected = dilated(bits, n, 2);
  McMorphology::dilation3D(bits, bits, n, 2);
  EXPECT_EQ(bits, expected);
}

TEST(McMorphology, EndsWhenNothingChangesAnyMore) {
  const McDim3l n(13, 11, 7);
  McBitfield bits(voxels(n));
  bits.set(0);
  McBitfield full(voxels(n));
  full.fill(0, voxels(n), true);
  McBitfield out;
  McMorphology::dilation3D(bits, out, n, ~std::uint64_t{0});
  EXPECT_EQ(out, full);
  McMorphology::erosion3D(bits, out, n, ~std::uint64_t{0}, false, false, false);
  EXPECT_EQ(out, McBitfield(voxels(n)));
}

TEST(McMorphology, FieldsOfAnotherSizeAreRefused) {
  const McDim3l n(4, 4, 4);
  const McBitfield good(64);
  const McBitfield bad(63);
  McBitfield out(2);
  EXPECT_THROW(McMorphology::dilation3D(bad, out, n, 1), McException);
  EXPECT_THROW(McMorphology::erosion3D(bad, out, n, 1, true, true, true), McException);
  EXPECT_THROW(McMorphology::erosion3D(good, out, n, 1, true, true, true, &bad), McException);
  EXPECT_EQ(out.size(), 2U);
}

TEST(McMorphology, VolumeWithoutVoxelsStaysSo) {
  McBitfield out(2);
  McMorphology::dilation3D(McBitfield(), out, McDim3l(0, 4, 4), 2);
  EXPECT_EQ(out.size(), 0U);
}

}  // namespace
