#include <gtest/gtest.h>
#include <oneapi/tbb/global_control.h>
#include <stdexcept>
#include <thread>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/MemoryFileSystem.h"
#include "tests/voxora/bits/EachInstructionSet.h"
#include "tests/voxora/files/volume_files.h"
#include "tests/voxora/nodes/maskSupport.h"
#include "tests/voxora/tiles/budgetScopes.h"

namespace {

using hxvoxora::TileSnapshot;
using hxvoxora::TruthTable;
using Kind = hxvoxora::TileSnapshot::Kind;

enum class Operation { Dilate, Erode };
constexpr Operation operations[] = {Operation::Dilate, Operation::Erode};

bool apply(SoVolumeMask& mask, Operation operation, std::uint64_t n, const hxvoxora::WorkCallback& progress = {}) {
  return operation == Operation::Dilate ? mask.dilate(n, progress) : mask.erode(n, progress);
}

/// One iteration, voxel by voxel. What lies outside is clear.
DenseMask stepped(const DenseMask& mask, Operation operation) {
  const SbVec3i32& size = mask.dimensions();
  const auto at = [&](int x, int y, int z) {
    return x >= 0 && y >= 0 && z >= 0 && x < size[0] && y < size[1] && z < size[2] && mask.at(x, y, z);
  };
  DenseMask result(size);
  DenseMask::forEachVoxel(mask.box(), [&](int x, int y, int z) {
    const int set = at(x, y, z) + at(x - 1, y, z) + at(x + 1, y, z) + at(x, y - 1, z) + at(x, y + 1, z) +
                    at(x, y, z - 1) + at(x, y, z + 1);
    result.at(x, y, z) = operation == Operation::Dilate ? set > 0 : set == 7;
  });
  return result;
}

DenseMask iterated(DenseMask mask, Operation operation, std::uint64_t n) {
  for (; n > 0; --n) mask = stepped(mask, operation);
  return mask;
}

/// Single voxels that differ from the rest, boxes and noise.
DenseMask randomMask(RandomSource& random, const SbVec3i32& size) {
  if (random.chance(0.5)) return randomContent(random, size);
  DenseMask content(size, random.chance(0.5));
  for (int i = random.between(0, 30); i > 0; --i) {
    const int x = random.between(0, size[0] - 1), y = random.between(0, size[1] - 1),
              z = random.between(0, size[2] - 1);
    content.at(x, y, z) ^= 1;
  }
  return content;
}

SbVec3i32 randomTile(RandomSource& random) {
  return {32 << random.between(0, 3), 8 << random.between(0, 3), 8 << random.between(0, 3)};
}

/// No tile is Mixed whose voxels are equal, and what lies beyond the end of the volume is clear.
void expectTidy(const TileSnapshot& content) {
  for (std::int64_t tile = 0; tile < content.tileCount(); ++tile) {
    if (content.kind(tile) != Kind::Mixed) continue;
    const auto payload = content.payload(tile);
    const hxvoxora::BitLayout layout = content.grid().tileLayout(tile);
    ASSERT_FALSE(hxvoxora::uniformValue(payload->bits(), layout, content.tileBox(tile))) << "tile " << tile;
    ASSERT_EQ(hxvoxora::countBits(payload->bits(), 0, 8 * payload->byteSize()),
              hxvoxora::countRows(payload->bits(), layout, content.tileBox(tile)))
        << "tile " << tile;
  }
}

class SoVolumeMaskMorphology : public EachInstructionSet {};

TEST_P(SoVolumeMaskMorphology, EqualsSingleStepsOnPlainVoxels) {
  RandomSource random;
  for (int round = 0; round < 60; ++round) {
    const SbVec3i32 size(random.between(1, 160), random.between(1, 50), random.between(1, 50));
    const SbVec3i32 tile = randomTile(random);
    const Operation operation = operations[random.between(0, 1)];
    const auto n = random.between<std::uint64_t>(0, 20);
    const DenseMask content = randomMask(random, size);
    const auto mask = makeMask(size, tile);
    replace(*mask, content.box(), content);
    inTransaction(*mask, [&] { EXPECT_TRUE(apply(*mask, operation, n)); });
    ASSERT_EQ(fetched(*mask, content.box()), iterated(content, operation, n).packed(content.box()))
        << "size " << size[0] << ' ' << size[1] << ' ' << size[2] << ", tile " << tile[0] << ' ' << tile[1] << ' '
        << tile[2] << ", n " << n << ", round " << round;
    ASSERT_NO_FATAL_FAILURE(expectTidy(mask->snapshot()));
  }
}

TEST_P(SoVolumeMaskMorphology, OneVoxelGrowsToAnOctahedronAndBack) {
  for (const SbVec3i32& tile : {SbVec3i32(32, 8, 8), SbVec3i32(64, 64, 64), SbVec3i32(128, 16, 32)}) {
    const auto mask = makeMask({130, 70, 66}, tile);
    fill(*mask, {{63, 31, 32}, {63, 31, 32}}, true);
    for (const std::uint64_t n : {1, 2, 5, 8, 9, 17}) {
      const std::uint64_t volume = (2 * n + 1) * (2 * n * n + 2 * n + 3) / 3;
      inTransaction(*mask, [&] { mask->dilate(n); });
      EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), volume) << n;
      inTransaction(*mask, [&] { mask->erode(n); });
      EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), 1U) << n;
    }
  }
}

/// The last tiles are shorter than a sweep reaches, so that what is outside is near the tiles before them, too.
TEST_P(SoVolumeMaskMorphology, FullVolumesShrinkFromAllSides) {
  for (int rest = 1; rest <= 8; ++rest) {
    const SbVec3i32 size(96 + rest, 32 + rest, 24 + rest);
    for (int n = 1; n <= 11; ++n) {
      const auto mask = makeMask(size);
      fill(*mask, wholeBox(*mask), true);
      inTransaction(*mask, [&] { mask->erode(static_cast<std::uint64_t>(n)); });
      const SbBox3i32 left({n, n, n}, {size[0] - 1 - n, size[1] - 1 - n, size[2] - 1 - n});
      ASSERT_EQ(mask->computeBoundingBox(wholeBox(*mask)), left) << rest << ' ' << n;
      ASSERT_EQ(mask->countSetVoxels(wholeBox(*mask)),
                static_cast<std::uint64_t>(left.size(0) * left.size(1) * left.size(2)))
          << rest << ' ' << n;
    }
  }
}

WITH_EACH_INSTRUCTION_SET(SoVolumeMaskMorphology);

TEST(SoVolumeMaskMorphologyTiles, ThatNothingReachesStayUnwritten) {
  const auto mask = makeMask({256, 32, 32}, {32, 8, 8});
  fill(*mask, {{100, 0, 0}, {140, 31, 31}}, true);
  inTransaction(*mask, [&] { mask->dilate(3); });
  const TileSnapshot grown = mask->snapshot();
  for (const std::int64_t x : {0, 1, 2, 5, 6, 7}) {
    EXPECT_TRUE(grown.kind(x) == Kind::Zero) << x;
    EXPECT_FALSE(grown.isWritten(x)) << x;
  }
  EXPECT_TRUE(grown.kind(3) == Kind::Mixed);
  EXPECT_TRUE(grown.kind(4) == Kind::Mixed);
}

TEST(SoVolumeMaskMorphologyTiles, ThatFillUpOrEmptyBecomeConstant) {
  const auto mask = makeMask({256, 32, 32}, {32, 8, 8});
  fill(*mask, {{98, 0, 0}, {158, 31, 31}}, true);
  inTransaction(*mask, [&] { mask->dilate(2); });
  EXPECT_TRUE(mask->snapshot().kind(3) == Kind::One);
  EXPECT_TRUE(mask->snapshot().kind(4) == Kind::One);
  EXPECT_TRUE(mask->snapshot().kind(5) == Kind::Mixed);
  inTransaction(*mask, [&] { mask->erode(1); });
  EXPECT_TRUE(mask->snapshot().kind(5) == Kind::Zero);
  EXPECT_EQ(mask->computeBoundingBox(wholeBox(*mask)), SbBox3i32({97, 1, 1}, {159, 30, 30}));
}

TEST(SoVolumeMaskMorphologyTiles, OfAnyDefaultValue) {
  for (const Operation operation : operations) {
    const auto mask = makeMask({70, 20, 20}, {32, 8, 8});
    mask->setDefaultValue(true);
    fill(*mask, {{33, 9, 9}, {34, 10, 10}}, false);
    DenseMask content(mask->dataDimension(), true);
    content.fill({{33, 9, 9}, {34, 10, 10}}, false);
    inTransaction(*mask, [&] { apply(*mask, operation, 2); });
    EXPECT_EQ(fetched(*mask, content.box()), iterated(content, operation, 2).packed(content.box()));
  }
}

TEST(SoVolumeMaskMorphologyLimits, HugeNumbersOfIterationsEndAtOnce) {
  constexpr std::uint64_t many = 1'000'000'000;
  const auto mask = makeMask({500, 400, 300}, {64, 64, 64});
  const auto all = mask->dataDimension();
  inTransaction(*mask, [&] { EXPECT_TRUE(mask->dilate(many)); });
  EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), 0U);
  fill(*mask, {{499, 399, 299}, {499, 399, 299}}, true);
  inTransaction(*mask, [&] { EXPECT_TRUE(mask->dilate(many)); });
  EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), std::uint64_t{500} * 400 * 300);
  inTransaction(*mask, [&] { EXPECT_TRUE(mask->dilate(~std::uint64_t{0})); });
  fill(*mask, {{0, 0, 0}, {0, 0, 0}}, false);
  inTransaction(*mask, [&] { EXPECT_TRUE(mask->erode(~std::uint64_t{0})); });
  EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), 0U);
  EXPECT_EQ(mask->dataDimension(), all);
}

TEST(SoVolumeMaskMorphologyLimits, TheLastIterationThatMattersIsFound) {
  const auto mask = makeMask({9, 5, 7}, {32, 8, 8});
  fill(*mask, {{0, 0, 0}, {0, 0, 0}}, true);
  const auto count = [&] { return mask->countSetVoxels(wholeBox(*mask)); };
  inTransaction(*mask, [&] { mask->dilate(17); });
  EXPECT_EQ(count(), 9U * 5 * 7 - 1);
  inTransaction(*mask, [&] { mask->dilate(1); });
  EXPECT_EQ(count(), 9U * 5 * 7);
  inTransaction(*mask, [&] { mask->erode(2); });
  EXPECT_EQ(count(), 5U * 1 * 3);
  inTransaction(*mask, [&] { mask->erode(1); });
  EXPECT_EQ(count(), 0U);
}

/// 2^36 tiles, of which a few hundred are near a voxel that counts.
TEST(SoVolumeMaskMorphologyLimits, HugeVolumesCostWhatChangesInThem) {
  const SbVec3i32 size(1 << 17, 1 << 17, 1 << 17);
  const auto mask = makeMask(size, {32, 32, 32});
  const int middle = 1 << 16;
  fill(*mask, {{middle, middle, middle}, {middle, middle, middle}}, true);
  fill(*mask, {{0, 0, 0}, {0, 0, 0}}, true);
  inTransaction(*mask, [&] { mask->dilate(10); });
  // Only these boxes are counted in, as looking at every tile would take minutes.
  const SbBox3i32 corner({0, 0, 0}, {31, 31, 31});
  const SbBox3i32 around({middle - 16, middle - 16, middle - 16}, {middle + 16, middle + 16, middle + 16});
  EXPECT_EQ(mask->countSetVoxels(around), 21U * 223 / 3);
  EXPECT_EQ(mask->countSetVoxels(corner), 286U);
  inTransaction(*mask, [&] { mask->erode(1); });
  EXPECT_EQ(mask->countSetVoxels(around), 19U * 183 / 3);
  EXPECT_EQ(mask->countSetVoxels(corner), 84U);
}

TEST(SoVolumeMaskMorphologyLimits, VolumesWithoutVoxelsAndWithoutTransactions) {
  const auto mask = hxvoxora::makeRef<SoVolumeMask>();
  EXPECT_THROW(mask->dilate(1), McException);
  EXPECT_THROW(mask->erode(1), McException);
  inTransaction(*mask, [&] {
    EXPECT_TRUE(mask->dilate(1));
    EXPECT_TRUE(mask->erode(1));
  });
}

TEST(SoVolumeMaskMorphologyLimits, FollowsOtherEditsOfATransaction) {
  const auto mask = makeMask({40, 20, 20}, {32, 8, 8});
  DenseMask content(mask->dataDimension());
  inTransaction(*mask, [&] {
    mask->fillBox({{5, 5, 5}, {30, 15, 15}}, 1);
    mask->dilate(2);
    mask->fillBox({{10, 7, 7}, {10, 7, 7}}, 0);
    mask->erode(1);
    EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), 0U) << "nobody sees it yet";
  });
  content.fill({{5, 5, 5}, {30, 15, 15}}, true);
  content = iterated(content, Operation::Dilate, 2);
  content.fill({{10, 7, 7}, {10, 7, 7}}, false);
  content = iterated(content, Operation::Erode, 1);
  EXPECT_EQ(fetched(*mask, content.box()), content.packed(content.box()));
  EXPECT_TRUE(mask->hasUnsavedEdits());
}

/// `noise` or for an erosion what is not noise, so that something is left of it; then the operation.
void takeNoise(SoVolumeMask& mask, const SoVolumeMask& noise, Operation operation, std::uint64_t n) {
  mask.combineBox(wholeBox(mask), noise, operation == Operation::Dilate ? TruthTable::CopyB : TruthTable::NotB);
  apply(mask, operation, n);
}

/// Noise in many tiles, that takes a while.
Ref<SoVolumeMask> noisyMask(RandomSource& random, const SbVec3i32& size, const SbVec3i32& tile) {
  const auto buffer = hxvoxora::makeRef<SoCpuBufferBitSet>();
  const auto bits = static_cast<std::size_t>(std::int64_t{size[0]} * size[1] * size[2]);
  buffer->setSize(bits);
  for (std::size_t i = 0; i < bits / 8; ++i)
    buffer->bytes()[i] = static_cast<std::byte>(random.word() & random.word() & random.word() & 0xff);
  auto mask = makeMask(size, tile);
  inTransaction(*mask, [&] { mask->replaceBox(wholeBox(*mask), buffer.get()); });
  return mask;
}

TEST(SoVolumeMaskMorphologyThreads, DoNotMatter) {
  RandomSource random;
  const auto mask = noisyMask(random, {256, 128, 128}, {32, 16, 16});
  for (const Operation operation : operations) {
    std::vector<std::byte> results[2];
    for (const std::size_t threads : {1, 2}) {
      const tbb::global_control control(tbb::global_control::max_allowed_parallelism, threads);
      const auto copy = makeMask({256, 128, 128}, {32, 16, 16});
      inTransaction(*copy, [&] { takeNoise(*copy, *mask, operation, 3); });
      results[threads - 1] = fetched(*copy, wholeBox(*copy));
    }
    EXPECT_EQ(results[0], results[1]);
  }
}

TEST(SoVolumeMaskMorphologyProgress, RisesAndComesFromTheCaller) {
  const auto mask = makeMask({1024, 512, 512}, {64, 64, 64});
  fill(*mask, {{300, 256, 256}, {300, 256, 256}}, true);
  const std::thread::id caller = std::this_thread::get_id();
  double last = 0;
  int calls = 0;
  inTransaction(*mask, [&] {
    EXPECT_TRUE(mask->dilate(500, [&](double fraction) {
      EXPECT_EQ(std::this_thread::get_id(), caller);
      EXPECT_GE(fraction, last);
      EXPECT_LE(fraction, 1.0);
      last = fraction;
      ++calls;
      return true;
    }));
  });
  EXPECT_GT(calls, 1);
}

TEST(SoVolumeMaskMorphologyProgress, GivenUpLeavesTheTransactionAsItWas) {
  RandomSource random;
  const SbVec3i32 size(1024, 512, 512);
  const auto mask = noisyMask(random, size, {32, 8, 8});
  fill(*mask, {{0, 0, 0}, {900, 511, 511}}, false);
  const std::uint64_t before = mask->countSetVoxels(wholeBox(*mask));
  int calls = 0;
  const int id = mask->beginTransaction();
  mask->fillBox({{0, 0, 0}, {0, 0, 0}}, 1);
  EXPECT_FALSE(mask->dilate(500, [&](double) { return ++calls < 2; }));
  EXPECT_EQ(calls, 2);
  EXPECT_THROW(mask->dilate(500, [](double) -> bool { throw std::runtime_error("stop"); }), std::runtime_error);
  mask->endTransaction(id);
  EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), before + 1);
}

TEST(SoVolumeMaskMorphologyMemory, WithoutRoomIsRefusedAndChangesNothing) {
  RandomSource random;
  const auto mask = noisyMask(random, {256, 256, 256}, {64, 64, 64});
  const std::uint64_t before = mask->countSetVoxels(wholeBox(*mask));
  {
    const BudgetScope budget(std::size_t{2} << 20);
    const int id = mask->beginTransaction();
    EXPECT_THROW(mask->dilate(1), McException);
    mask->endTransaction(id);
  }
  EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), before);
}

TEST(SoVolumeMaskMorphologyFiles, StoredTilesWithoutVoxelsGrowNothing) {
  hxvoxora::MemoryFileSystem files;
  files.makeDirectory("/v");
  const volumefiles::Tiles clear{{0, {hxvoxora::StoredTileKind::stored, volumefiles::Bytes(64 * 64 * 64 / 8)}}};
  volumefiles::write(files, "/v/a.ldm", volumefiles::makeHeader({64, 64, 64}, {64, 64, 64}), clear);
  const auto mask = hxvoxora::makeRef<SoVolumeMask>(files);
  mask->bindTo("/v/a.ldm");
  for (const std::uint64_t iterations : {std::uint64_t{3}, std::uint64_t{100}, std::uint64_t{1000}}) {
    inTransaction(*mask, [&] { mask->dilate(iterations); });
    EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), 0u) << iterations;
  }
}

TEST(SoVolumeMaskMorphologyFiles, DamagedTilesAreAnErrorAndChangeNothing) {
  RandomSource random;
  hxvoxora::MemoryFileSystem files;
  {
    const auto mask = hxvoxora::makeRef<SoVolumeMask>(files);
    mask->initializeInMemory({100, 40, 40}, {32, 8, 8});
    const auto noise = noisyMask(random, {100, 40, 40}, {32, 8, 8});
    inTransaction(*mask, [&] { mask->combineBox(wholeBox(*mask), *noise, hxvoxora::TruthTable::CopyB); });
    mask->saveEditing("a.ldm", false, {});
  }
  auto bytes = files.content("a.dat");
  bytes[bytes.size() / 2] ^= std::byte{1};
  files.remove("a.dat");
  files.setContent("a.dat", bytes);
  const auto mask = hxvoxora::makeRef<SoVolumeMask>(files);
  mask->bindTo("a.ldm");
  const std::size_t payloads = hxvoxora::payloadStatistics().payloadsInUse;
  for (const bool isErosion : {false, true}) {
    const int id = mask->beginTransaction();
    EXPECT_THROW(isErosion ? mask->erode(1) : mask->dilate(1), McException);
    mask->endTransaction(id);
    EXPECT_FALSE(mask->hasUnsavedEdits());
  }
  EXPECT_LE(hxvoxora::payloadStatistics().payloadsInUse, payloads + 1000) << "loaded tiles may stay";
}

TEST(SoVolumeMaskMorphologyMemory, MasksLargerThanItGrowAsOthersDo) {
  RandomSource random;
  const SbVec3i32 size(256, 256, 256), tile(64, 64, 64);
  const auto mask = noisyMask(random, size, tile);
  for (const Operation operation : operations) {
    const auto expected = makeMask(size, tile);
    inTransaction(*expected, [&] { takeNoise(*expected, *mask, operation, 2); });
    const std::vector<std::byte> bits = fetched(*expected, wholeBox(*expected));
    hxvoxora::MemoryFileSystem files;
    const SpillScope spill(files);
    const auto copy = makeMask(size, tile);
    const std::uint64_t spillsBefore = hxvoxora::cacheStatistics().spills;
    {
      const BudgetScope budget(std::size_t{1} << 20);
      inTransaction(*copy, [&] { takeNoise(*copy, *mask, operation, 2); });
    }
    EXPECT_GT(hxvoxora::cacheStatistics().spills, spillsBefore);
    EXPECT_TRUE(fetched(*copy, wholeBox(*copy)) == bits);
  }
}

}  // namespace
