#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/FaultFileSystem.h"
#include "tests/voxora/files/volume_files.h"

/// Saves in which a call fails, or after which the process ends: every call of each, in turn.

using hxvoxora::FaultFileSystem;
using hxvoxora::FileCall;
using hxvoxora::FileKind;
using hxvoxora::FileSystem;
using hxvoxora::MemoryFileSystem;
using hxvoxora::StoredTileKind;
using hxvoxora::TiledFileReader;
using hxvoxora::TiledFileWriter;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using volumefiles::messageOf;
using volumefiles::sampleHeader;
using volumefiles::sampleTiles;
using volumefiles::Tiles;
using Extent = FaultFileSystem::Extent;

namespace {

const Tiles oldTiles = sampleTiles(1), newTiles = sampleTiles(2);

const FileCall saveCalls[] = {FileCall::open,   FileCall::create, FileCall::read,  FileCall::identity,
                              FileCall::write,  FileCall::sync,   FileCall::close, FileCall::rename,
                              FileCall::remove, FileCall::kind,   FileCall::list,  FileCall::syncDirectory,
                              FileCall::lock};

/// Writes "a.ldm" with the tiles of "source.ldm", taken over packed.
void copySource(FileSystem& files) {
  const auto reader = TiledFileReader::open(files, "source.ldm");
  TiledFileWriter writer(files, "a.ldm", reader->header());
  std::vector<std::uint64_t> stored;
  for (const auto& run : reader->runs()) {
    if (run.kind != StoredTileKind::stored) writer.setKind(run.firstTile, run.kind, run.tileCount);
    if (run.kind != StoredTileKind::stored) continue;
    for (std::uint64_t i = 0; i < run.tileCount; ++i) stored.push_back(run.firstTile + i);
  }
  writer.putCompressed(reader->readCompressed(stored));
  writer.commit();
}

struct Work {
  const char* name;
  bool hasOldSet;
  void (*run)(FileSystem& files);
};

void saveNew(FileSystem& files) {
  volumefiles::write(files, "a.ldm", sampleHeader(), newTiles);
}

const Work works[] = {{"first save", false, saveNew}, {"save over a set", true, saveNew}, {"copy", true, copySource}};

/// One run of a work with one fault, and what must hold afterwards.
class Run {
public:
  Run(const Work& work, const FaultFileSystem::Fault& fault) : work_(work), fault_(fault) {
    volumefiles::write(base_, "source.ldm", sampleHeader(), newTiles);
    if (work.hasOldSet) volumefiles::write(base_, "a.ldm", sampleHeader(), oldTiles);
    faults_.arm(fault);
    try {
      work.run(faults_);
    } catch (const McException& failure) {
      message_ = failure.what();
    }
  }

  /// Whether the walk got to a call that failed.
  bool reached() const { return faults_.hasFailed(); }

  void check() {
    const auto found = content();
    if (message_) {
      EXPECT_TRUE(found == newTiles || (work_.hasOldSet ? found == oldTiles : !found)) << *message_;
      EXPECT_TRUE(namesAFailedCall()) << *message_;
    } else {
      EXPECT_EQ(found, newTiles);
    }
    if (!mayLeaveFiles()) {
      EXPECT_THAT(base_.list(""), ElementsAreArray(names(found.has_value())));
    }
    work_.run(base_);
    EXPECT_EQ(content(), newTiles);
    EXPECT_THAT(base_.list(""), ElementsAreArray(names(true)));
  }

private:
  std::optional<Tiles> content() {
    if (base_.kind("a.ldm") == FileKind::missing) return std::nullopt;
    return volumefiles::read(base_, "a.ldm");
  }

  static std::vector<std::string> names(bool hasSet) {
    std::vector<std::string> names{"source.dat", "source.fcp", "source.ldm"};
    if (hasSet) names.insert(names.begin(), {"a.dat", "a.fcp", "a.ldm"});
    return names;
  }

  bool namesAFailedCall() const {
    const auto log = faults_.log();
    return std::any_of(log.begin(), log.end(), [&](const FaultFileSystem::Call& call) {
      const std::string text = std::string(hxvoxora::fileCallName(call.kind)) + " " + call.path + ": " + fault_.reason;
      return call.failed && message_->find(text) != std::string::npos;
    });
  }

  /// Without a clean-up, or when one of its calls fails, files stay behind. When the folder cannot be brought to stable
  /// storage the old files are kept: after a power cut they may be the set again.
  bool mayLeaveFiles() const {
    if (fault_.extent == Extent::killed) return true;
    const auto log = faults_.log();
    return std::any_of(log.begin(), log.end(), [&](const FaultFileSystem::Call& call) {
      const bool isCleanUp = call.kind == FileCall::remove || call.kind == FileCall::syncDirectory;
      return call.failed && (isCleanUp || (call.kind == FileCall::rename && fault_.extent == Extent::forever));
    });
  }

  const Work& work_;
  const FaultFileSystem::Fault fault_;
  MemoryFileSystem base_;
  FaultFileSystem faults_{base_};
  std::optional<std::string> message_;
};

/// Every call in turn; returns how many there are.
std::uint64_t walk(const Work& work, FaultFileSystem::Fault fault) {
  for (fault.call = 1;; ++fault.call) {
    SCOPED_TRACE(std::string(work.name) + ", call " + std::to_string(fault.call) + ", extent " +
                 std::to_string(static_cast<int>(fault.extent)) + ", kind " +
                 (fault.only ? hxvoxora::fileCallName(*fault.only) : "any"));
    Run run(work, fault);
    run.check();
    if (!run.reached() || testing::Test::HasFailure()) return fault.call - 1;
  }
}

}  // namespace

TEST(TiledFileFaults, AnyCallMayFail) {
  for (const Work& work : works) {
    for (const Extent extent : {Extent::once, Extent::forever, Extent::killed}) {
      EXPECT_GT(walk(work, {.extent = extent}), 25u);
      EXPECT_GT(walk(work, {.extent = extent, .reason = "Disk quota exceeded", .writtenBytes = 7}), 25u);
    }
  }
}

TEST(TiledFileFaults, AnyCallOfAKindMayFail) {
  for (const Work& work : works) {
    for (const FileCall kind : saveCalls) {
      for (const Extent extent : {Extent::once, Extent::forever, Extent::killed})
        walk(work, {.only = kind, .extent = extent, .reason = "Input/output error"});
    }
  }
}

TEST(TiledFileFaults, TwoCutOffSavesLeaveAWholeSet) {
  for (std::uint64_t first = 1; first < 45; ++first) {
    for (std::uint64_t second = 1; second < 45; ++second) {
      MemoryFileSystem base;
      volumefiles::write(base, "a.ldm", sampleHeader(), oldTiles);
      FaultFileSystem files(base);
      for (const std::uint64_t call : {first, second}) {
        files.arm({.call = call, .extent = Extent::killed});
        try {
          saveNew(files);
        } catch (const McException&) {
          // What counts is what the files hold afterwards.
        }
      }
      const Tiles found = volumefiles::read(base, "a.ldm");
      ASSERT_TRUE(found == oldTiles || found == newTiles) << first << " " << second;
      saveNew(base);
      ASSERT_THAT(base.list(""), ElementsAre("a.dat", "a.fcp", "a.ldm")) << first << " " << second;
    }
  }
}

TEST(TiledFileFaults, SetWhoseHeaderCannotBeReadNowIsNotReplaced) {
  MemoryFileSystem base;
  volumefiles::write(base, "a.ldm", sampleHeader(), oldTiles);
  FaultFileSystem files(base);
  files.arm({.only = FileCall::open, .extent = Extent::forever, .reason = "Too many open files"});
  EXPECT_EQ(messageOf([&] { saveNew(files); }), "open a.ldm: Too many open files");
  EXPECT_EQ(volumefiles::read(base, "a.ldm"), oldTiles);
  EXPECT_THAT(base.list(""), ElementsAre("a.dat", "a.fcp", "a.ldm"));
}

TEST(TiledFileFaults, FilesOfARunningSaveAreLeftAlone) {
  MemoryFileSystem files;
  volumefiles::write(files, "a.ldm", sampleHeader(), oldTiles);
  files.setContent("a.ldm~0123456789abcdef", {});
  {
    TiledFileWriter running(files, "a.ldm", sampleHeader());
    EXPECT_EQ(files.kind("a.ldm~0123456789abcdef"), FileKind::missing);
    files.setContent("a.fcp~0123456789abcdef", {});
    running.put(0, newTiles.at(0).bits);
    volumefiles::write(files, "a.ldm", sampleHeader(), oldTiles);
    running.commit();
  }
  EXPECT_EQ(volumefiles::read(files, "a.ldm"), (Tiles{{0, newTiles.at(0)}}));
  EXPECT_THAT(files.list(""), ElementsAre("a.dat", "a.fcp", "a.fcp~0123456789abcdef", "a.ldm"));
  saveNew(files);
  EXPECT_THAT(files.list(""), ElementsAre("a.dat", "a.fcp", "a.ldm"));
}

TEST(TiledFileFaults, OnlyFilesOfTheSetAreSweptAway) {
  MemoryFileSystem files;
  const std::vector<std::string> others{"a.dat~",         "a.dat~0123456789abcde",  "a.dat~0123456789abcdefg",
                                        "a.dat~new-17-1", "a.txt~0123456789abcdef", "b.dat~0123456789abcdef"};
  for (const std::string& name : others) files.setContent(name, {});
  for (const std::string name : {"a.dat~", "a.fcp~", "a.ldm~"}) files.setContent(name + "0123456789abcdef", {});
  saveNew(files);
  std::vector<std::string> expected = others;
  expected.insert(expected.end(), {"a.dat", "a.fcp", "a.ldm"});
  EXPECT_THAT(files.list(""), testing::UnorderedElementsAreArray(expected));
}
