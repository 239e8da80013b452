#include <gmock/gmock.h>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/io/HxLDMConverter.h"
#include "quarn/voxora/files/FaultFileSystem.h"
#include "quarn/voxora/files/MemoryFileSystem.h"
#include "quarn/voxora/files/TiledFileReader.h"
#include "tests/support/BorderedVolume.h"

using hxvoxora::FaultFileSystem;
using hxvoxora::FileKind;
using hxvoxora::FileSystemOverride;
using hxvoxora::MemoryFileSystem;
using hxvoxora::TiledFileReader;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class LdmConverter : public testing::Test {
protected:
  LdmConverter() : current_(files) {
    files.makeDirectory("/old");
    files.makeDirectory("/new");
    volume.fill({5, 3, 2}, {40, 17, 9});
    volume.write(files, "/old/a.ldm");
  }

  bool update(bool replaceExisting = false) {
    return HxLDMConverter::updateToUlx9("/old/a.ldm", "/new/b.ldm", replaceExisting);
  }

  std::string refusal() {
    try {
      update();
    } catch (const McException& failure) {
      return failure.what();
    }
    ADD_FAILURE() << "nothing was refused";
    return {};
  }

  std::shared_ptr<TiledFileReader> converted() { return TiledFileReader::open(files, "/new/b.ldm"); }

  /// The text of an element of the new header after a conversion with this element in the old one.
  std::optional<std::string> kept(const char* name, const std::string& text) {
    volume.elements = {{name, text}};
    volume.write(files, "/old/a.ldm");
    update(true);
    return converted()->findHeaderTag(name);
  }

  MemoryFileSystem files;
  HxRecordingSink console;
  BorderedVolume volume{{60, 20, 12}, {32, 8, 8}, 3};

private:
  FileSystemOverride current_;
};

}  // namespace

TEST_F(LdmConverter, WritesHeaderDataAndIndexUnderTheNewName) {
  EXPECT_TRUE(update());
  EXPECT_THAT(files.list("/new"), ElementsAre("b.dat", "b.fcp", "b.ldm"));
  EXPECT_THAT(files.list("/old"), ElementsAre("a.dat", "a.fcp", "a.ldm"));
  const auto file = converted();
  EXPECT_EQ(file->header().dimensions, McVec3i(60, 20, 12));
  EXPECT_EQ(file->header().border, 0);
  EXPECT_EQ(file->header().compression, hxvoxora::TileCompression::gzip);
  std::vector<std::byte> bits(file->header().tileBytes());
  file->read(0, bits);
  EXPECT_EQ(bits[(2 * 8 + 3) * 4], std::byte{0x07});  // voxels 5, 6 and 7 of row (3, 2)
  EXPECT_TRUE(console.consoleEntries.empty());
}

TEST_F(LdmConverter, ReplacesOnlyWhenAskedTo) {
  update();
  const auto before = files.content("/new/b.ldm");
  EXPECT_EQ(refusal(), "/new/b.ldm: exists already and is not replaced");
  files.remove("/new/b.ldm");
  EXPECT_EQ(refusal(), "/new/b.dat: exists already and is not replaced");
  EXPECT_THAT(files.list("/new"), ElementsAre("b.dat", "b.fcp"));
  EXPECT_TRUE(update(true));
  EXPECT_NE(files.content("/new/b.ldm"), before);
  EXPECT_TRUE(HxLDMConverter::updateToUlx9("/old/a.ldm", "/old/a.ldm", true));
  EXPECT_EQ(TiledFileReader::open(files, "/old/a.ldm")->header().border, 0);
}

TEST_F(LdmConverter, RefusalsNameTheFile) {
  volume.damage = [](std::uint64_t, auto& block) { block[0] ^= std::byte{0x80}; };
  volume.write(files, "/old/a.ldm");
  EXPECT_THAT(refusal(), HasSubstr("/old/a.dat: tile 0: "));
  files.remove("/old/a.ldm");
  EXPECT_THAT(refusal(), HasSubstr("/old/a.ldm"));
  EXPECT_TRUE(files.list("/new").empty());
}

TEST_F(LdmConverter, NeededRoomIsAskedForFirst) {
  files.setFreeSpace(100);
  EXPECT_THAT(refusal(), testing::ContainsRegex("/new/b.ldm: [0-9]+ bytes are needed, and only 100 are free"));
  EXPECT_TRUE(files.list("/new").empty());
}

TEST_F(LdmConverter, GivingUpLeavesNothing) {
  int asked = 0;
  const auto giveUp = [&](double) { return ++asked < 1; };
  EXPECT_FALSE(HxLDMConverter::updateToUlx9("/old/a.ldm", "/new/b.ldm", false, giveUp));
  EXPECT_TRUE(files.list("/new").empty());
}

TEST_F(LdmConverter, SoundBoxesComeAlong) {
  EXPECT_EQ(kept("BoundingBox", "5 40 3 17 2 9"), "5 40 3 17 2 9");
  EXPECT_EQ(kept("ApproximatedBoundingBox", "5 40 3 17 2 9"), "5 40 3 17 2 9");
  EXPECT_EQ(kept("ApproximatedBoundingBox", "0 59 0 19 0 11"), "0 59 0 19 0 11");
  EXPECT_TRUE(console.consoleEntries.empty());
  EXPECT_EQ(kept("Other", "x"), std::nullopt);
}

TEST_F(LdmConverter, BoxesThatDoNotFitAreLeftOut) {
  for (const char* text : {"5 40 3 17 2 8", "4 40 3 17 2 9", "5 40 3 17 2", "5 40 3 17 2 9 1", "", "5 40 3 17 2 x",
                           "2147483647 -2147483648 2147483647 -2147483648 2147483647 -2147483648"}) {
    console.clear();
    EXPECT_EQ(kept("BoundingBox", text), std::nullopt) << text;
    EXPECT_THAT(console.consoleEntries, ElementsAre("/old/a.ldm: element BoundingBox \"" + std::string(text) +
                                                    "\": not the box of these voxels; left out"));
  }
  for (const char* text : {"5 40 3 17 3 9", "-1 59 0 19 0 11", "0 60 0 19 0 11"})
    EXPECT_EQ(kept("ApproximatedBoundingBox", text), std::nullopt) << text;
}

TEST_F(LdmConverter, EmptyVolumesHaveTheEmptyBox) {
  volume.fill({0, 0, 0}, {59, 19, 11}, false);
  const std::string empty = "2147483647 -2147483648 2147483647 -2147483648 2147483647 -2147483648";
  EXPECT_EQ(kept("BoundingBox", empty), empty);
  EXPECT_EQ(kept("ApproximatedBoundingBox", empty), empty);
  EXPECT_EQ(kept("BoundingBox", "0 0 0 0 0 0"), std::nullopt);
}

TEST_F(LdmConverter, FailedAndKilledUpdatesLeaveTheOldFileOrTheNewOne) {
  for (const auto extent :
       {FaultFileSystem::Extent::once, FaultFileSystem::Extent::forever, FaultFileSystem::Extent::killed}) {
    for (std::uint64_t call = 1;; ++call) {
      SCOPED_TRACE("failing call " + std::to_string(call));
      FaultFileSystem faults(files);
      const FileSystemOverride override(faults);
      faults.arm({.call = call, .extent = extent});
      std::string message;
      try {
        update();
      } catch (const McException& failure) {
        message = failure.what();
      }
      if (!faults.hasFailed()) {
        EXPECT_TRUE(files.kind("/new/b.ldm") == FileKind::regular);
        for (const std::string& name : files.list("/new")) files.remove("/new/" + name);
        break;
      }
      faults.disarm();
      EXPECT_TRUE(message.empty() || message.find("/") != std::string::npos);
      if (files.kind("/new/b.ldm") == FileKind::regular) converted()->checkStoredTiles();
      EXPECT_TRUE(update(true));
      converted()->checkStoredTiles();
      EXPECT_THAT(files.list("/new"), ElementsAre("b.dat", "b.fcp", "b.ldm"));
      for (const std::string& name : files.list("/new")) files.remove("/new/" + name);
      ASSERT_LT(call, 1000U);
    }
  }
}
