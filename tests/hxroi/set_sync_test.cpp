#include <algorithm>
#include <cstddef>
#include <optional>

#include "SetStateTest.h"
#include "quarn/voxora/files/FaultFileSystem.h"

/// The order in which a save reaches stable storage: a power cut may drop and reorder all that is not synced.

using hxvoxora::FaultFileSystem;
using hxvoxora::FileCall;
using hxvoxora::FileSystem;
using hxvoxora::FileSystemOverride;

namespace {

class SetSync : public SetStateTest {
protected:
  using Call = FaultFileSystem::Call;
  using Log = std::vector<Call>;

  /// What a save does with files in the masks folder and beside it.
  Log logOfSave() {
    FaultFileSystem files(FileSystem::posix());
    const FileSystemOverride current(files);
    EXPECT_EQ(save(), 1);
    Log log;
    for (const Call& call : files.log()) {
      if (call.path.starts_with(masks.string()) || call.path == folder.string()) log.push_back(call);
    }
    return log;
  }

  static bool isRename(const Call& call, const std::string& to) {
    return call.kind == FileCall::rename && call.path.ends_with(" to " + to);
  }

  /// The first call of this kind from `begin` on, whose path starts so.
  static std::size_t find(const Log& log, std::size_t begin, FileCall kind, const std::string& path) {
    for (std::size_t i = begin; i < log.size(); ++i) {
      if (log[i].kind == kind && log[i].path.starts_with(path)) return i;
    }
    return log.size();
  }

  static std::size_t findLast(const Log& log, std::size_t end, FileCall kind, const std::string& path) {
    for (std::size_t i = end; i-- > 0;) {
      if (log[i].kind == kind && log[i].path.starts_with(path)) return i;
    }
    return log.size();
  }

  std::size_t findCommit(const Log& log) const {
    const auto isCommit = [&](const Call& call) { return isRename(call, (masks / ".committed").string()); };
    return static_cast<std::size_t>(std::find_if(log.begin(), log.end(), isCommit) - log.begin());
  }

  void expectContentSynced(const Log& log, std::size_t commit, const std::string& staged) const {
    int files = 0;
    for (std::size_t i = 0; i < commit; ++i) {
      if (log[i].kind != FileCall::create || !log[i].path.starts_with(staged)) continue;
      ++files;
      const std::size_t synced = find(log, i, FileCall::sync, log[i].path);
      EXPECT_LT(synced, commit) << log[i].path;
      const std::size_t written = findLast(log, commit, FileCall::write, log[i].path);
      EXPECT_TRUE(written < synced || written == log.size()) << log[i].path;
    }
    EXPECT_GT(files, 3);
  }
};

}  // namespace

TEST_F(SetSync, EverythingIsOnStableStorageBeforeTheNextStep) {
  fillSet();
  ASSERT_EQ(save(), 1);
  fill(*rois->getMask("A"), {1, 1, 1}, {9, 9, 5});
  const Log log = logOfSave();
  const std::size_t commit = findCommit(log);
  ASSERT_LT(commit, log.size());
  const std::string staged = log[commit].path.substr(0, log[commit].path.find(" to "));

  expectContentSynced(log, commit, staged);
  const std::size_t stagedSync = findLast(log, commit, FileCall::syncDirectory, staged);
  EXPECT_EQ(log[stagedSync].path, staged);
  for (const FileCall kind : {FileCall::rename, FileCall::create, FileCall::remove}) {
    const std::size_t change = findLast(log, commit, kind, staged + "/");
    EXPECT_TRUE(change == log.size() || change < stagedSync) << log[change].path;
  }
  EXPECT_LT(find(log, 0, FileCall::syncDirectory, staged + "/.set"), commit);

  const std::string committed = (masks / ".committed").string();
  const std::size_t firstMove = find(log, commit + 1, FileCall::rename, committed);
  const std::size_t commitSync = find(log, commit, FileCall::syncDirectory, masks.string());
  EXPECT_LT(commitSync, firstMove) << "moved before the commit was lasting";

  const std::size_t setMove = find(log, commit, FileCall::rename, committed + "/.set");
  ASSERT_LT(setMove, log.size());
  const std::size_t lastMaskMove = findLast(log, setMove, FileCall::rename, committed);
  const std::size_t masksSync = find(log, lastMaskMove, FileCall::syncDirectory, masks.string());
  EXPECT_LT(masksSync, setMove);
  const std::size_t fileSync = find(log, setMove, FileCall::syncDirectory, folder.string());
  EXPECT_LT(fileSync, find(log, setMove, FileCall::removeDirectory, committed));
}

TEST_F(SetSync, TheFileOfAFirstSaveComesFirst) {
  fillSet();
  const Log log = logOfSave();
  const std::size_t commit = findCommit(log);
  ASSERT_LT(commit, log.size());
  const std::size_t firstMove = find(log, commit + 1, FileCall::rename, (masks / ".committed").string());
  ASSERT_LT(firstMove, log.size());
  EXPECT_TRUE(isRename(log[firstMove], file.string()));
}
