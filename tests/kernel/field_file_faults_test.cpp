#include <algorithm>
#include <cerrno>

#include "quarn/voxora/files/FaultFileSystem.h"
#include "tests/kernel/FieldFileTest.h"
#include "tests/support/stride.h"

/// What fails, ends or comes in between while fields are saved and read: there is the old field or the new one.

using hxvoxora::FaultFileSystem;
using hxvoxora::FileCall;
using hxvoxora::FileKind;
using hxvoxora::FileSystemOverride;
using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Extent = FaultFileSystem::Extent;

namespace {

class FieldFileFaults : public FieldFileTest {
protected:
  void emptyDisk() {
    for (const std::string& name : disk.list("/d")) disk.remove(path(name));
  }

  /// The names but for those of complete files.
  std::vector<std::string> remains() {
    std::vector<std::string> names = disk.list("/d");
    std::erase_if(names, [](const std::string& name) { return name.find('~') == std::string::npos; });
    return names;
  }

  /// Saves with one call after the other failing. `isFirst`: nothing is there before.
  void walkSave(bool isFirst, Extent extent, std::size_t writtenBytes = 0) {
    const auto former = makeLabels(1), latter = makeLabels(2);
    for (std::uint64_t call = 1;; call += testStride()) {
      SCOPED_TRACE("failing call " + std::to_string(call));
      ASSERT_LT(call, 1000u);
      emptyDisk();
      if (!isFirst) save(*former);
      latter->touch(8);
      FaultFileSystem files(disk);
      files.arm({.call = call, .extent = extent, .writtenBytes = writtenBytes});
      std::string failure;
      {
        const FileSystemOverride current(files);
        try {
          HxFieldFile::save(*latter, qpath());
        } catch (const McException& refusal) {
          failure = refusal.what();
        }
      }
      EXPECT_EQ(latter->isModified(), !failure.empty()) << failure;
      EXPECT_THAT(failure, AnyOf("", HasSubstr("a.field.qm")));
      expectState(failure, isFirst ? nullptr : former.get(), *latter, extent);
      if (!files.hasFailed()) {
        EXPECT_EQ(failure, "");
        EXPECT_GT(call, 15u);
        return;
      }
      // The next save is in no way hindered, and clears away what is left.
      save(*former);
      expectSame(*former);
      EXPECT_THAT(disk.list("/d"), SizeIs(2));
      if (HasFailure()) return;
    }
  }

  void expectState(const std::string& failure, HxUniformScalarField3* former, HxUniformScalarField3& latter,
                   Extent extent) {
    const bool isThere = disk.kind(path()) != FileKind::missing;
    const bool isSaved = failure.empty() || failure.find("was saved, but") != std::string::npos;
    if (isSaved) {
      expectSame(latter);
    } else if (former) {
      expectSame(*former);
    } else {
      EXPECT_FALSE(isThere);
    }
    if (extent == Extent::once && !isSaved) {
      EXPECT_THAT(disk.list("/d"), SizeIs(former ? 2 : 0)) << failure;
    }
  }
};

}  // namespace

// --- Calls that fail

TEST_F(FieldFileFaults, FailingCallsOfAFirstSave) {
  walkSave(true, Extent::once);
}

TEST_F(FieldFileFaults, FailingCallsOfASaveOverAnother) {
  walkSave(false, Extent::once);
}

TEST_F(FieldFileFaults, CallsThatGoOnFailing) {
  walkSave(false, Extent::forever);
}

TEST_F(FieldFileFaults, PartsOfWritesThatFail) {
  walkSave(false, Extent::once, 100);
}

TEST_F(FieldFileFaults, AFirstSaveThatIsKilled) {
  walkSave(true, Extent::killed);
}

TEST_F(FieldFileFaults, ASaveOverAnotherThatIsKilled) {
  walkSave(false, Extent::killed, 100);
}

TEST_F(FieldFileFaults, CallsOfOneKindThatGoOnFailing) {
  const auto former = makeLabels(1), latter = makeLabels(2);
  for (const FileCall kind : {FileCall::open, FileCall::create, FileCall::read, FileCall::identity, FileCall::write,
                              FileCall::sync, FileCall::close, FileCall::rename, FileCall::remove, FileCall::kind,
                              FileCall::list, FileCall::syncDirectory, FileCall::isWritable, FileCall::lock}) {
    SCOPED_TRACE(fileCallName(kind));
    emptyDisk();
    save(*former);
    latter->touch(8);
    FaultFileSystem files(disk);
    files.arm({.only = kind, .extent = Extent::forever, .reason = "Input/output error", .number = EIO});
    std::string failure;
    try {
      const FileSystemOverride current(files);
      HxFieldFile::save(*latter, qpath());
    } catch (const McException& refusal) {
      failure = refusal.what();
    }
    EXPECT_TRUE(files.hasFailed());
    expectState(failure, former, *latter, Extent::forever);
    // What is only about tidying up, and locks that the disk does not know, are in nobody's way.
    const bool isInNobodysWay = kind == FileCall::remove || kind == FileCall::list || kind == FileCall::lock;
    EXPECT_EQ(failure.empty(), isInNobodysWay) << failure;
    save(*former);
    EXPECT_THAT(remains(), IsEmpty());
    expectSame(*former);
  }
}

TEST_F(FieldFileFaults, FailingCallsOfReading) {
  const auto field = makeLabels();
  save(*field);
  const FieldContent wanted(*field);
  for (std::uint64_t call = 1;; ++call) {
    ASSERT_LT(call, 100u);
    FaultFileSystem files(disk);
    const FileSystemOverride current(files);
    files.arm({.call = call, .reason = "Input/output error", .number = EIO});
    std::string failure;
    try {
      EXPECT_TRUE(wanted == FieldContent(*HxFieldFile::read(qpath())));
    } catch (const McException& refusal) {
      failure = refusal.what();
    }
    if (!files.hasFailed()) break;
    EXPECT_THAT(failure, HasSubstr("a.field"));
  }
}

TEST_F(FieldFileFaults, AFieldThatWasSavedUncertainlyIsThere) {
  const auto former = makeLabels(1), latter = makeLabels(2);
  save(*former);
  const std::string formerData = dataFile();
  FaultFileSystem files(disk);
  files.arm({.call = 2, .only = FileCall::syncDirectory});
  {
    const FileSystemOverride current(files);
    EXPECT_THAT(textOfException([&] { HxFieldFile::save(*latter, qpath()); }),
                HasSubstr("a.field.qm: was saved, but its folder cannot be brought to stable storage"));
  }
  expectSame(*latter);
  // After a power failure the former parameter file may be there again.
  EXPECT_THAT(disk.list("/d"), Contains(formerData));
  save(*former);
  EXPECT_THAT(disk.list("/d"), SizeIs(2));
}

// --- The order of calls

TEST_F(FieldFileFaults, EverythingIsOnStableStorageBeforeItIsNamed) {
  const auto field = makeLabels();
  save(*field);
  FaultFileSystem files(disk);
  {
    const FileSystemOverride current(files);
    HxFieldFile::save(*field, qpath());
  }
  std::vector<std::string> steps;
  for (const FaultFileSystem::Call& call : files.log()) {
    const bool isData = call.path.find(".dat") != std::string::npos;
    if (call.kind == FileCall::sync) steps.push_back(isData ? "sync data" : "sync parameters");
    if (call.kind == FileCall::rename) steps.push_back(isData ? "name data" : "name parameters");
    if (call.kind == FileCall::syncDirectory) steps.push_back("sync folder");
    if (call.kind == FileCall::remove) steps.push_back("remove");
  }
  EXPECT_THAT(steps, ElementsAre("sync data", "sync parameters", "name data", "sync folder", "name parameters",
                                 "sync folder", "remove"));
}

// --- Stopping, and others at the same files

TEST_F(FieldFileFaults, AnInterruptLeavesEverything) {
  const Field former = makeNoise(1, 40), latter = makeNoise(2, 40);
  save(*former);
  const auto before = disk.list("/d");
  const FieldContent wanted(*former);
  for (int question = 1; question <= 3; ++question) {
    AskingProgress progress([&](int asked) { return asked == question; });
    const ProgressScope scope(progress);
    latter->touch(8);
    EXPECT_THAT(textOfException([&] { save(*latter); }), HasSubstr("a.field.qm: saving was interrupted"));
    EXPECT_TRUE(latter->isModified());
    EXPECT_EQ(disk.list("/d"), before);
    if (question < 3) {
      progress.questions = 0;
      EXPECT_THAT(refusal(), HasSubstr("a.field.qm: reading was interrupted"));
      progress.questions = 0;
      EXPECT_THAT(verify(), ElementsAre(HasSubstr("checking was interrupted")));
    }
    EXPECT_EQ(std::ranges::count(progress.calls, "stop"), question < 3 ? 3 : 1);
  }
  EXPECT_TRUE(wanted == FieldContent(*read()));
}

/// A folder that was copied during a save: the new parameter file was there under its first name, then under its last.
TEST_F(FieldFileFaults, TheFieldInPlaceIsNeverTakenForALeftOver) {
  const Field former = makeNoise(1, 40), latter = makeNoise(2, 40);
  save(*former);
  const auto files = disk.list("/d");
  const std::string data = *std::ranges::find_if(files, [](const auto& name) { return name.ends_with(".dat"); });
  const std::string generation = data.substr(data.size() - 20, 16);
  disk.setContent(path("a.field.qm~" + generation), disk.content(path()));
  AskingProgress progress([](int) { return true; });
  const ProgressScope scope(progress);
  EXPECT_THAT(textOfException([&] { save(*latter); }), HasSubstr("saving was interrupted"));
  EXPECT_EQ(disk.list("/d"), files);
}

TEST_F(FieldFileFaults, ProgressComesToItsEnd) {
  const Field field = makeNoise(1, 40);
  RecordingProgress progress;
  const ProgressScope scope(progress);
  save(*field);
  EXPECT_THAT(progress.calls, ElementsAre("start Saving a.field.qm", "stop"));
  EXPECT_EQ(progress.values.back(), 1.0f);
  read();
  EXPECT_EQ(progress.calls[2], "start Reading a.field.qm");
  EXPECT_TRUE(std::ranges::all_of(progress.values, [](float value) { return value >= 0 && value <= 1; }));
}

TEST_F(FieldFileFaults, AReaderGoesOnWithTheFileItHasOpen) {
  const Field former = makeNoise(1, 40), latter = makeNoise(2, 1);
  save(*former);
  const FieldContent wanted(*former);
  const std::string data = dataFile();
  AskingProgress progress([&](int asked) {
    if (asked != 2) return false;
    HxFieldFile::save(*latter, qpath());
    return false;
  });
  const ProgressScope scope(progress);
  EXPECT_TRUE(wanted == FieldContent(*read()));
  EXPECT_EQ(disk.kind(path(data)), FileKind::missing);
  expectSame(*latter);
}

TEST_F(FieldFileFaults, AReaderWhoseDataFileWentTakesTheNewField) {
  const auto former = makeLabels(1);
  const Field latter = makeNoise();
  save(*former);
  const auto old = mesh();
  save(*latter);
  const FileSystemOverride current(disk);
  EXPECT_TRUE(FieldContent(*latter) == FieldContent(*HxFieldFile::read(*old, qpath())));
}

TEST_F(FieldFileFaults, ASaveDuringAnotherOneDisturbsNobody) {
  const auto outer = makeLabels(1), inner = makeLabels(2), first = makeLabels(3);
  for (const bool isFirst : {true, false}) {
    emptyDisk();
    if (!isFirst) save(*first);
    AskingProgress progress([&](int asked) {
      if (asked != 2) return false;
      save(*inner);
      expectSame(*inner);
      return false;
    });
    const ProgressScope scope(progress);
    save(*outer);
    expectSame(*outer);
    EXPECT_THAT(disk.list("/d"), SizeIs(2));
  }
}

TEST_F(FieldFileFaults, AFieldThatChangesWhileItIsSavedIsNotSaved) {
  const Field field = makeNoise(1, 40);
  AskingProgress progress([&](int asked) {
    if (asked == 2) field->touch(8);
    return false;
  });
  const ProgressScope scope(progress);
  EXPECT_THAT(textOfException([&] { save(*field); }), HasSubstr("the field was changed while it was saved"));
  AskingProgress resizing([&](int asked) {
    if (asked == 1) field->resize(McDim3l(1, 1, 1), McPrimType::Uint8);
    return false;
  });
  const ProgressScope inner(resizing);
  EXPECT_THAT(textOfException([&] { save(*field); }), HasSubstr("the field was changed while it was saved"));
  EXPECT_THAT(disk.list("/d"), IsEmpty());
}
