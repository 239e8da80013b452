#include <ctime>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "quarn/base/McException.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "tests/voxora/corpus/BadSet.h"
#include "tests/voxora/corpus/probe.h"

using hxvoxora::StoredTileKind;
using hxvoxora::StoredTileRun;
using hxvoxora::TiledFileReader;

namespace {

constexpr double mostSeconds = 1;
constexpr std::uint64_t mostBytes = std::uint64_t{512} << 20;

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at; (at = text.find(from)) != std::string::npos;) text.replace(at, from.size(), to);
  return text;
}

/// A message as the cases have it: without the folder, which has another name in each run.
std::string withoutFolder(const BadSet& set, const std::string& message) {
  return replaced(replaced(message, set.folder() + "/", ""), set.canary(), "CANARY");
}

template <class Action>
std::string refusalOf(Action action) {
  try {
    action();
  } catch (const McException& failure) {
    return failure.what();
  }
  return {};
}

/// Opens the set and reads all stored tiles, up to the first refusal.
void readAll(const std::string& path) {
  const auto reader = TiledFileReader::open(hxvoxora::FileSystem::posix(), path);
  volumefiles::Bytes bits(reader->header().tileBytes());
  for (const StoredTileRun& run : reader->runs()) {
    if (run.kind != StoredTileKind::stored) continue;
    for (std::uint64_t tile = run.firstTile; tile < run.firstTile + run.tileCount; ++tile) reader->read(tile, bits);
  }
}

/// What a node says that is bound to the set: its file error and dimensions, then the refusal of its tiles.
std::string bindAndRead(const std::string& path) {
  const auto mask = hxvoxora::makeRef<SoVolumeMask>();
  mask->setFileName(path);
  const SbVec3i32 n = mask->dataDimension();
  std::string text =
      mask->fileError() + "|" + std::to_string(n[0]) + " " + std::to_string(n[1]) + " " + std::to_string(n[2]) + "|";
  const auto snapshot = mask->snapshot();
  return text + refusalOf([&] {
           for (std::int64_t tile = 0; tile < snapshot.tileCount(); ++tile) snapshot.payload(tile);
         });
}

void expectCheap(const Probe& probe, const std::string& who) {
  testing::Test::RecordProperty(who + "-milliseconds", std::to_string(1000 * probe.processorSeconds));
  testing::Test::RecordProperty(who + "-bytes", std::to_string(probe.grownBytes));
  EXPECT_TRUE(probe.ended);
  EXPECT_LT(probe.processorSeconds, mostSeconds);
  EXPECT_LT(probe.grownBytes, mostBytes);
}

void expectReaderRefuses(const BadSet& set, const BadCase& badCase) {
  const Probe found = probe([&] { return refusalOf([&] { readAll(set.headerPath()); }); });
  EXPECT_EQ(withoutFolder(set, found.text), badCase.message);
  expectCheap(found, "reader");
}

/// A node without voxels that tells the message; one with voxels when the set opens.
void expectNodeRefuses(const BadSet& set, const BadCase& badCase) {
  const Probe found = probe([&] { return bindAndRead(set.headerPath()); });
  const std::string text = withoutFolder(set, found.text);
  if (badCase.message.empty() || badCase.onlyTilesAreBad) {
    EXPECT_TRUE(text.starts_with("|") && text.ends_with("|" + badCase.message)) << text;
    EXPECT_FALSE(text.starts_with("|0 0 0")) << text;
  } else {
    EXPECT_EQ(text, badCase.message + "|0 0 0|");
  }
  expectCheap(found, "node");
}

class BadSets : public testing::TestWithParam<BadCase> {};

}  // namespace

TEST_P(BadSets, AreRefused) {
  BadSet set;
  GetParam().spoil(set);
  Watch outside({set.canary(), set.otherData()});
  expectReaderRefuses(set, GetParam());
  expectNodeRefuses(set, GetParam());
  EXPECT_FALSE(outside.wasTouched());
}

namespace {

std::string nameOf(const testing::TestParamInfo<BadCase>& info) {
  return info.param.name;
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(VolumeHeader, BadSets, testing::ValuesIn(badHeaders()), nameOf);
INSTANTIATE_TEST_SUITE_P(TileIndex, BadSets, testing::ValuesIn(badIndexes()), nameOf);
INSTANTIATE_TEST_SUITE_P(TileData, BadSets, testing::ValuesIn(badData()), nameOf);

TEST(VolumeHeaderCorpus, CutAtEveryByte) {
  BadSet set;
  const std::string whole = set.header();
  ASSERT_EQ(whole.back(), '\n');
  for (std::size_t size = 0; size < whole.size(); ++size) {
    set.setHeader(whole.substr(0, size));
    const std::string message = withoutFolder(set, refusalOf([&] { readAll(set.headerPath()); }));
    // The last line end is not needed: the text is whole without it.
    const std::string expected = size + 1 == whole.size() ? "" : "a.ldm: not a valid header: ";
    EXPECT_EQ(message.substr(0, expected.size() + (expected.empty() ? 1 : 0)), expected) << size << ": " << message;
  }
}

TEST(Probe, NoticesMemoryTimeAndCrashes) {
  const auto useMemory = [] { return std::to_string(volumefiles::Bytes(std::size_t{100} << 20, std::byte{1}).size()); };
  const Probe grown = probe(useMemory);
  EXPECT_TRUE(grown.ended);
  EXPECT_EQ(grown.text, "104857600");
  EXPECT_GT(grown.grownBytes, std::uint64_t{90} << 20);
  const Probe slow = probe([] {
    for (const std::clock_t start = std::clock(); std::clock() < start + CLOCKS_PER_SEC / 5;) {
    }
    return std::string();
  });
  EXPECT_GT(slow.processorSeconds, 0.15);
  EXPECT_FALSE(probe([]() -> std::string { ::_exit(3); }).ended);
}

TEST(Watch, NoticesThatAFileIsOpened) {
  BadSet set;
  Watch watch({set.canary(), set.otherData()});
  EXPECT_FALSE(watch.wasTouched());
  hxvoxora::FileSystem::posix().openForReading(set.canary(), hxvoxora::FileSystem::Links::follow);
  EXPECT_TRUE(watch.wasTouched());
  EXPECT_FALSE(watch.wasTouched());
}
