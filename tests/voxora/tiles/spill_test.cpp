#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/FaultFileSystem.h"
#include "tests/voxora/files/temporary_folder.h"
#include "tests/voxora/tiles/budgetScopes.h"
#include "tests/voxora/tiles/tileRows.h"

/// Edited tiles that do not fit into the memory budget.
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

using hxvoxora::CacheStatistics;
using hxvoxora::cacheStatistics;
using hxvoxora::FaultFileSystem;
using hxvoxora::FileCall;
using hxvoxora::MemoryFileSystem;
using hxvoxora::payloadStatistics;
using hxvoxora::TileSnapshot;
using hxvoxora::TruthTable;

/// A budget of so many tiles beside what is in memory already.
std::size_t bytesFor(std::size_t tiles) {
  return payloadStatistics().bytesInUse + cacheStatistics().bytesInBuffers + tiles * tileBytes;
}

TEST(Spill, EditedTilesGoToAFileAndComeBack) {
  MemoryFileSystem files;
  const SpillScope place(files);
  const std::size_t limit = bytesFor(8);
  const BudgetScope budget(limit);
  const CacheStatistics before = cacheStatistics();
  {
    const auto mask = makeRow(files, 60);
    EXPECT_LE(payloadStatistics().bytesInUse, limit);
    EXPECT_GE(cacheStatistics().spills - before.spills, 52u);
    EXPECT_GE(cacheStatistics().bytesSpilled, 52 * tileBytes);
    EXPECT_TRUE(files.list("").empty());
    expectRow(mask->snapshot());
    inTransaction(*mask, [&] { mask->invertBox(wholeBox(*mask)); });
    inTransaction(*mask, [&] { mask->invertBox(wholeBox(*mask)); });
    expectRow(mask->snapshot());
    EXPECT_LE(payloadStatistics().bytesInUse, limit);
  }
  EXPECT_EQ(cacheStatistics().bytesSpilled, before.bytesSpilled);
  EXPECT_TRUE(files.list("").empty());
}

TEST(Spill, SavedTilesNeedNoSpillFileAnyMore) {
  MemoryFileSystem files;
  const SpillScope place(files);
  const std::size_t spilledBefore = cacheStatistics().bytesSpilled;
  const BudgetScope budget(bytesFor(8));
  const auto mask = makeRow(files, 60);
  EXPECT_GT(cacheStatistics().bytesSpilled, spilledBefore);
  const std::uint64_t loads = cacheStatistics().loads;
  mask->saveEditing("row.ldm", false, {"-c", "gzip"});
  EXPECT_EQ(cacheStatistics().loads, loads) << "saving brings no tile into the cache";
  EXPECT_EQ(cacheStatistics().bytesSpilled, spilledBefore);
  expectRow(mask->snapshot());
  const auto reopened = hxvoxora::makeRef<SoVolumeMask>(files);
  reopened->bindTo("row.ldm");
  expectRow(reopened->snapshot());
}

TEST(Spill, TilesGoWhileATransactionIsOpenAndWhenItIsGivenUp) {
  MemoryFileSystem files;
  const SpillScope place(files);
  const std::size_t spilledBefore = cacheStatistics().bytesSpilled;
  const std::size_t limit = bytesFor(8);
  const BudgetScope budget(limit);
  const auto mask = makeRow(files, 60);
  const std::size_t spilledOnce = cacheStatistics().bytesSpilled;
  const int id = mask->beginTransaction();
  mask->invertBox(wholeBox(*mask));
  EXPECT_LE(payloadStatistics().bytesInUse, limit);
  EXPECT_GE(cacheStatistics().bytesSpilled, spilledOnce + 50 * tileBytes);
  expectRow(mask->snapshot());
  mask->abortTransaction(id);
  EXPECT_LE(cacheStatistics().bytesSpilled, spilledBefore + 60 * tileBytes);
  expectRow(mask->snapshot());
}

TEST(Spill, StoredTilesLeaveBeforeEditedOnes) {
  MemoryFileSystem files;
  const SpillScope place(files);
  const auto stored = storedRow(files, 200);
  const BudgetScope budget(bytesFor(160));
  const auto edited = makeRow(files, 100);
  const CacheStatistics before = cacheStatistics();
  expectRow(stored->snapshot());
  EXPECT_EQ(cacheStatistics().spills, before.spills);
  EXPECT_GT(cacheStatistics().evictions, before.evictions);
}

TEST(Spill, EveryFileIsGivenUpWithItsLastTile) {
  // Files are as large as the budget, so that there are many.
  const TemporaryFolder folder;
  const SpillScope place(hxvoxora::FileSystem::posix(), folder.path() + "/mask");
  const BudgetScope budget(bytesFor(8));
  const auto mask = makeRow(hxvoxora::FileSystem::posix(), 100);
  const auto openFiles = [] {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code ignored;
      count += std::filesystem::read_symlink(entry.path(), ignored).string().find(".spill") != std::string::npos;
    }
    return count;
  };
  const std::size_t many = openFiles();
  EXPECT_GE(many, 10u);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
  fill(*mask, wholeBox(*mask), false);
  EXPECT_EQ(openFiles(), 0u);
}

TEST(Spill, WithoutAPlaceAnEditThatDoesNotFitIsRefused) {
  MemoryFileSystem files;
  const auto mask = makeRow(files, 6);
  const std::vector<std::byte> content = fetched(*mask, wholeBox(*mask));
  const std::size_t limit = bytesFor(2);
  const BudgetScope budget(limit);
  const int id = mask->beginTransaction();
  EXPECT_THAT([&] { mask->invertBox(wholeBox(*mask)); },
              ThrowsMessage<McException>(AllOf(HasSubstr("The memory budget of " + std::to_string(limit) + " bytes"),
                                               HasSubstr("there is no folder for temporary files"))));
  mask->abortTransaction(id);
  EXPECT_EQ(fetched(*mask, wholeBox(*mask)), content);
  EXPECT_LE(payloadStatistics().bytesInUse, limit);

  const SpillScope place(files);
  inTransaction(*mask, [&] { mask->invertBox(wholeBox(*mask)); });
  inTransaction(*mask, [&] { mask->invertBox(wholeBox(*mask)); });
  EXPECT_EQ(fetched(*mask, wholeBox(*mask)), content);
}

TEST(Spill, ReadingIsNeverRefused) {
  MemoryFileSystem files;
  const auto stored = storedRow(files, 20);
  const auto edited = makeRow(files, 10);
  const BudgetScope budget(bytesFor(0));
  expectRow(stored->snapshot());
  expectRow(edited->snapshot());
  EXPECT_THROW(fill(*stored, {{0, 0, 0}, {1, 1, 1}}, true), McException);
}

/// A file system whose spill files keep their names, so that they can be damaged.
class NamedFiles : public MemoryFileSystem {
public:
  bool remove(const std::string& path) override {
    return path.find(".spill") != std::string::npos || MemoryFileSystem::remove(path);
  }
};

TEST(Spill, DamagedTilesAreAnErrorNeverVoxels) {
  NamedFiles files;
  const SpillScope place(files);
  const BudgetScope budget(bytesFor(8));
  const auto mask = makeRow(files, 60);
  expectRow(mask->snapshot());
  for (const std::string& name : files.list("")) {
    MemoryFileSystem::Bytes bytes = files.content(name);
    for (std::size_t at = 0; at < bytes.size(); at += tileBytes) bytes[at + 77] ^= std::byte{1};
    files.setContent(name, bytes);
  }
  int damaged = 0;
  for (std::int64_t tile = 0; tile < 60; ++tile) {
    try {
      EXPECT_EQ(countIn(mask->snapshot(), tile), voxelsIn(tile));
    } catch (const McException& failure) {
      EXPECT_THAT(failure.what(), AllOf(HasSubstr("spilled.spill"), HasSubstr("the checksum is wrong")));
      ++damaged;
    }
  }
  EXPECT_GE(damaged, 52);
}

/// An edit of many tiles with few of them in memory, when a call fails: it is done or refused, and goes well later.
void editWithFault(const FaultFileSystem::Fault& fault) {
  MemoryFileSystem base;
  FaultFileSystem files(base);
  const SpillScope place(files);
  const BudgetScope budget(bytesFor(8));
  const auto mask = makeRow(base, 40);
  const auto invert = [&] { mask->invertBox(wholeBox(*mask)); };
  files.arm(fault);
  const int id = mask->beginTransaction();
  bool isDone = true;
  try {
    invert();
  } catch (const McException& failure) {
    EXPECT_TRUE(files.hasFailed());
    EXPECT_THAT(failure.what(), HasSubstr(fault.reason));
    isDone = false;
  }
  files.disarm();
  isDone ? mask->endTransaction(id) : mask->abortTransaction(id);
  if (isDone) inTransaction(*mask, invert);
  expectRow(mask->snapshot());
  inTransaction(*mask, invert);
  inTransaction(*mask, invert);
  expectRow(mask->snapshot());
  const bool canRemove = fault.only != FileCall::remove || fault.extent == FaultFileSystem::Extent::once;
  EXPECT_TRUE(base.list("").empty() || !canRemove);
}

TEST(Spill, FaultsRefuseAnEditAndLoseNothing) {
  for (const auto extent : {FaultFileSystem::Extent::once, FaultFileSystem::Extent::forever}) {
    for (const FileCall only : {FileCall::create, FileCall::open, FileCall::write, FileCall::remove, FileCall::read}) {
      for (std::uint64_t call = 1; call <= 8; ++call) {
        SCOPED_TRACE(std::string(hxvoxora::fileCallName(only)) + " " + std::to_string(call));
        editWithFault({.call = call, .only = only, .extent = extent, .writtenBytes = call % 2 * 100});
      }
    }
  }
}

TEST(SpillDeathTest, KilledProcessLeavesNothing) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  // The process that is to die runs this test from its beginning.
  const char* const variable = "SPILL_TEST_FOLDER";
  std::optional<TemporaryFolder> folder;
  if (!std::getenv(variable)) ::setenv(variable, folder.emplace().path().c_str(), 1);
  const std::string path = std::getenv(variable);
  const auto spillAndDie = [&] {
    hxvoxora::setSpillPrefix(path + "/mask");
    hxvoxora::setMemoryBudget(bytesFor(8));
    const auto mask = makeRow(hxvoxora::FileSystem::posix(), 60);
    if (cacheStatistics().bytesSpilled > 50 * tileBytes) std::raise(SIGKILL);
  };
  EXPECT_EXIT(spillAndDie(), ::testing::KilledBySignal(SIGKILL), "");
  EXPECT_TRUE(std::filesystem::is_empty(path));
  ::unsetenv(variable);
}

}  // namespace
