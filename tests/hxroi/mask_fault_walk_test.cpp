#include <functional>
#include <optional>

#include "hxroi/details/LeftOvers.h"
#include "hxroi/details/TemporaryFolder.h"
#include "quarn/voxora/files/FaultFileSystem.h"
#include "quarn/voxora/files/PassingFileSystem.h"
#include "tests/hxroi/MaskTest.h"

/// Work on masks during which the n-th call to the file system fails, for every n: what was there before is there
/// still, or what was to be there is; the error names a file; nothing stays behind; and the same work succeeds
/// afterwards.

using hxvoxora::FaultFileSystem;
using hxvoxora::FileSystem;
using hxvoxora::FileSystemOverride;
using Extent = FaultFileSystem::Extent;

namespace {

class MaskFaultWalk : public MaskTest {
protected:
  static constexpr McVec3i kGrid{40, 33, 21};
  static constexpr McBox3i oldBox() { return {1, 35, 2, 12, 3, 13}; }
  static constexpr McBox3i newBox() { return {5, 38, 0, 30, 10, 20}; }

  struct Step {
    std::function<void()> work;
    std::function<void(bool hasThrown)> check;  ///< after the fault; the file system works again
  };

  /// Makes a step, runs it with one more call failing each time, checks it, and ends it, until no call fails any more.
  void walk(Extent extent, const std::function<Step()>& makeStep) {
    canRemove = extent == Extent::once;
    for (std::uint64_t call = 1;; ++call) {
      SCOPED_TRACE("failing call " + std::to_string(call));
      hxvoxora::PassingFileSystem disk(FileSystem::posix());
      FaultFileSystem files(disk);
      const FileSystemOverride current(files);
      const bool hasFailed = runStep(files, {.call = call, .extent = extent}, makeStep);
      hxroi::details::TemporaryFolder::leave();
      // A mark that could be neither finished nor removed is that of a dead process.
      hxroi::details::LeftOvers::removeRemains(files, hxroi::details::TemporaryFolder::path());
      EXPECT_TRUE(allTemporaryFiles().empty()) << allTemporaryFiles().front();
      boost::filesystem::remove_all(userFolder());
      if (!hasFailed || HasFailure()) {
        EXPECT_GT(call, 5U) << "the work touched no files";
        return;
      }
      ASSERT_LT(call, 1000U);
    }
  }

  void walkOnceAndForever(const std::function<Step()>& makeStep) {
    for (const Extent extent : {Extent::once, Extent::forever}) {
      SCOPED_TRACE(extent == Extent::once ? "once" : "for ever");
      walk(extent, makeStep);
    }
  }

  bool runStep(FaultFileSystem& files, const FaultFileSystem::Fault& fault, const std::function<Step()>& makeStep) {
    boost::filesystem::create_directory(userFolder());
    const Step step = makeStep();
    files.arm(fault);
    std::optional<std::string> failure;
    try {
      step.work();
    } catch (const McException& thrown) {
      failure = thrown.what();
    }
    const bool hasFailed = files.hasFailed();
    files.disarm();
    EXPECT_TRUE(!failure || failure->find(folder.string()) != std::string::npos) << *failure;
    step.check(failure.has_value());
    return hasFailed;
  }

  bool canRemove = true;  ///< whether what the failing work leaves can be removed at once

  path userFolder() const { return folder / "user"; }
  path userPrefix() const { return userFolder() / "mask"; }

  std::vector<std::string> allTemporaryFiles() const {
    std::vector<std::string> names;
    if (!exists((folder / "temporary" / "tmp-masks").string())) return names;
    for (const auto& entry : boost::filesystem::directory_iterator(folder / "temporary" / "tmp-masks")) {
      names.push_back(entry.path().filename().string());
    }
    return names;
  }

  static McHandle<Mask> maskOf(const McBox3i& box, const std::string& name = "mask") {
    return makeMask(kGrid, box, name);
  }

  static std::uint64_t voxelsOf(const McBox3i& box) {
    const McVec3i size = hxroi::sizeOf(box);
    return static_cast<std::uint64_t>(size.x) * static_cast<std::uint64_t>(size.y) * static_cast<std::uint64_t>(size.z);
  }

  static void expectContent(const Mask& mask, const McBox3i& box) {
    EXPECT_EQ(count(mask), voxelsOf(box));
    EXPECT_EQ(mask.volumeMask()->computeBoundingBox(SbBox3i32(SbVec3i32(0, 0, 0), SbVec3i32(39, 32, 20))),
              SbBox3i32(SbVec3i32(box[0], box[2], box[4]), SbVec3i32(box[1], box[3], box[5])));
  }

  /// What a program that starts now reads.
  static McHandle<Mask> load(const path& prefix) { return McHandle<Mask>(Mask::loadFromFile("loaded", prefix)); }

  static void expectFiles(const path& prefix, const McBox3i& box) { expectContent(*load(prefix), box); }

  static void expectOldOrNew(const path& prefix, bool mustBeNew) {
    const auto mask = load(prefix);
    const bool isNew = count(*mask) == voxelsOf(newBox());
    EXPECT_TRUE(isNew || !mustBeNew);
    expectContent(*mask, isNew ? newBox() : oldBox());
  }
};

}  // namespace

TEST_F(MaskFaultWalk, CreatingNeverFails) {
  walkOnceAndForever([this] {
    console.clear();
    const auto mask = std::make_shared<McHandle<Mask>>();
    return Step{[mask] { *mask = maskOf(newBox()); },
                [this, mask](bool hasThrown) {
                  ASSERT_FALSE(hasThrown);
                  expectContent(**mask, newBox());
                  EXPECT_EQ((*mask)->temporaryPrefix().empty(), console.criticals.size() == 1);
                  (*mask)->flush(1);
                  EXPECT_EQ((*mask)->volumeMask()->hasUnsavedEdits(), (*mask)->temporaryPrefix().empty());
                }};
  });
}

TEST_F(MaskFaultWalk, FailedFlushKeepsTheEdits) {
  walkOnceAndForever([] {
    const auto mask = maskOf(oldBox());
    mask->flush(0);
    fill(*mask, oldBox(), false);
    fill(*mask, newBox());
    return Step{[mask] { mask->flush(0); },
                [mask](bool hasThrown) {
                  expectContent(*mask, newBox());
                  EXPECT_EQ(mask->volumeMask()->hasUnsavedEdits(), hasThrown);
                  expectOldOrNew(mask->temporaryPrefix(), !hasThrown);
                  mask->flush(1);
                  expectFiles(mask->temporaryPrefix(), newBox());
                }};
  });
}

TEST_F(MaskFaultWalk, FailedSaveLeavesTheOldSetOrTheNewOne) {
  walkOnceAndForever([this] {
    maskOf(oldBox())->writeToFile(userPrefix());
    const auto mask = maskOf(newBox());
    mask->setBoundingBox(newBox());
    return Step{[this, mask] { mask->writeToFile(userPrefix()); },
                [this, mask](bool hasThrown) {
                  expectContent(*mask, newBox());
                  expectOldOrNew(userPrefix(), !hasThrown);
                  mask->writeToFile(userPrefix());
                  expectFiles(userPrefix(), newBox());
                  EXPECT_EQ(load(userPrefix())->cachedBoundingBox(), newBox());
                }};
  });
}

TEST_F(MaskFaultWalk, KilledSaveLeavesTheOldSetOrTheNewOne) {
  walk(Extent::killed, [this] {
    maskOf(oldBox())->writeToFile(userPrefix());
    const auto mask = maskOf(newBox());
    return Step{[this, mask] { mask->writeToFile(userPrefix()); },
                [this, mask](bool hasThrown) {
                  expectOldOrNew(userPrefix(), !hasThrown);
                  mask->writeToFile(userPrefix());
                  expectFiles(userPrefix(), newBox());
                }};
  });
}

TEST_F(MaskFaultWalk, FailedCopyLeavesTheOldSetOrTheNewOne) {
  walkOnceAndForever([this] {
    maskOf(oldBox())->writeToFile(userPrefix());
    maskOf(newBox())->writeToFile(userFolder() / "source");
    const auto copy = [this] { Mask::copyMask(userFolder() / "source", userPrefix()); };
    return Step{copy, [this, copy](bool hasThrown) {
                  expectFiles(userFolder() / "source", newBox());
                  expectOldOrNew(userPrefix(), !hasThrown);
                  copy();
                  expectFiles(userPrefix(), newBox());
                }};
  });
}

TEST_F(MaskFaultWalk, FailedFirstWriteLeavesTheMaskBorrowed) {
  walkOnceAndForever([this] {
    maskOf(oldBox())->writeToFile(userPrefix());
    const McHandle<Mask> mask = load(userPrefix());
    return Step{[mask] { mask->saveMaskToTemporary(); },
                [this, mask](bool hasThrown) {
                  expectContent(*mask, oldBox());
                  EXPECT_EQ(mask->ownsTemporaryFiles(), !hasThrown);
                  // While nothing can be removed, files stay until the end of the process.
                  EXPECT_TRUE(!hasThrown || !canRemove || temporaryFiles().empty());
                  fill(*mask, oldBox(), false);
                  fill(*mask, newBox());
                  expectContent(*mask, newBox());
                  mask->flush(0);
                  expectFiles(mask->temporaryPrefix(), newBox());
                  expectFiles(userPrefix(), oldBox());
                }};
  });
}

TEST_F(MaskFaultWalk, FailedStoreLeavesTheOldVoxels) {
  walkOnceAndForever([] {
    const auto source = maskOf(newBox(), "source");
    source->flush(0);
    const auto mask = maskOf(oldBox());
    mask->flush(0);
    return Step{[mask, source] { mask->store(*source); },
                [mask, source](bool hasThrown) {
                  expectContent(*source, newBox());
                  expectContent(*mask, hasThrown ? oldBox() : newBox());
                  mask->store(*source);
                  expectContent(*mask, newBox());
                }};
  });
}

TEST_F(MaskFaultWalk, DroppingNeverThrows) {
  walkOnceAndForever([] {
    const auto mask = std::make_shared<McHandle<Mask>>(maskOf(newBox()));
    (*mask)->flush(0);
    return Step{[mask] {
                  // More calls than the removal makes, so that the walk has an end.
                  mask->reset();
                  for (int i = 0; i < 5; ++i) FileSystem::current().isWritable("/");
                },
                [](bool hasThrown) { EXPECT_FALSE(hasThrown); }};
  });
}
