#include "hxroi/details/LeftOvers.h"

#include <algorithm>
#include <exception>
#include <map>
#include <optional>
#include <unistd.h>

#include "hxroi/details/OwnerMark.h"
#include "hxroi/details/TemporaryNames.h"
#include "hxroi/details/logFailure.h"
#include "quarn/base/McException.h"

namespace hxroi::details::LeftOvers {

namespace {

using hxvoxora::FileKind;
using hxvoxora::FileLock;
using hxvoxora::FileSystem;
using Stem = TemporaryNames::Stem;

enum class MarkState { missing, held, dead };

/// Calls `atDead` for the mark of a dead process while it is locked. A mark that cannot be examined counts as held.
template <class Action>
MarkState examine(FileSystem& files, const std::string& path, Action atDead) {
  std::unique_ptr<FileLock> lock;
  try {
    lock = files.tryLock(path);
  } catch (const McException&) {
    return files.kind(path) == FileKind::missing ? MarkState::missing : MarkState::held;
  }
  if (!lock) return MarkState::held;
  atDead();
  return MarkState::dead;
}

MarkState examine(FileSystem& files, const std::string& path) {
  return examine(files, path, [] {});
}

/// The processes of a folder that live, and since when each has been there.
class Living {
public:
  Living(FileSystem& files, const std::string& folder) {
    for (const std::string& name : files.list(folder)) {
      const std::optional<long> process = TemporaryNames::processOfMark(name);
      const std::string path = folder + "/" + name;
      const bool isHeld = process && examine(files, path) == MarkState::held;
      if (isHeld) since_.emplace(*process, OwnerMark::sinceOf(files, path));
    }
  }

  /// A file that is older than each living process of its process id comes from a dead one.
  bool owns(const Stem& stem) const {
    const auto [begin, end] = since_.equal_range(stem.process);
    return std::any_of(begin, end, [&](const auto& entry) { return entry.second <= stem.time; });
  }

private:
  std::multimap<long, std::string> since_;
};

void removeAll(FileSystem& files, const std::string& folder, const std::vector<std::string>& names) {
  std::exception_ptr failure;
  for (const std::string& name : names) {
    try {
      files.remove(folder + "/" + name);
    } catch (...) {
      if (!failure) failure = std::current_exception();
    }
  }
  if (failure) std::rethrow_exception(failure);
}

struct NamedFile {
  Stem stem;
  std::string name;
};

/// The files of masks whose owners are dead.
std::vector<NamedFile> ownerless(FileSystem& files, const std::string& folder) {
  if (files.kind(folder) != FileKind::directory) return {};
  std::vector<NamedFile> found;
  for (const std::string& name : files.list(folder)) {
    if (const std::optional<Stem> stem = TemporaryNames::stemOf(name)) found.push_back({*stem, name});
  }
  // Looked at after the files: a process has its mark before its first file.
  const Living living(files, folder);
  std::erase_if(found, [&](const NamedFile& file) { return living.owns(file.stem); });
  return found;
}

std::unique_ptr<FileLock> claim(FileSystem& files, const std::string& path) {
  // A process that gives its claim up takes the file away, maybe just before it would be locked here.
  for (int attempt = 0; attempt < 10; ++attempt) {
    try {
      if (files.kind(path) == FileKind::missing) files.createExclusively(path, FileSystem::Access::ownerOnly)->close();
      if (auto lock = files.tryLock(path)) return lock;
    } catch (const McException&) {
      if (attempt == 9) throw;
    }
  }
  throw McException(McException::excerpt(path) + ": another process is recovering masks just now");
}

}  // namespace

std::vector<FileSet> find(FileSystem& files, const std::string& folder) {
  std::map<std::string, FileSet> sets;
  for (const NamedFile& file : ownerless(files, folder)) {
    if (!file.stem.isSpill) sets[file.stem.text].names.push_back(file.name);
  }
  std::vector<FileSet> found;
  for (auto& [stem, set] : sets) {
    set.stem = stem;
    found.push_back(std::move(set));
  }
  return found;
}

void remove(FileSystem& files, const std::string& folder, const FileSet& leftOver) {
  removeAll(files, folder, leftOver.names);
}

void removeRemains(FileSystem& files, const std::string& folder) {
  if (files.kind(folder) != FileKind::directory) return;
  std::vector<std::string> spills;
  for (const NamedFile& file : ownerless(files, folder)) {
    if (file.stem.isSpill) spills.push_back(file.name);
  }
  removeAll(files, folder, spills);
  for (const std::string& name : files.list(folder)) {
    const std::string path = folder + "/" + name;
    if (!TemporaryNames::processOfMark(name)) continue;
    // Removed while it is locked, so that nobody takes it for his own in between.
    examine(files, path, [&] { files.remove(path); });
  }
}

void removeOwn(FileSystem& files, const std::string& folder, const std::string& since, int number,
               const std::set<std::string>& kept) {
  if (files.kind(folder) != FileKind::directory) return;
  std::vector<std::string> names;
  for (const std::string& name : files.list(folder)) {
    const std::optional<Stem> stem = TemporaryNames::stemOf(name);
    const bool isOwn = stem && stem->process == ::getpid() && stem->time >= since &&
                       stem->counter / TemporaryNames::kCountersPerProcess == number;
    if (isOwn && !kept.contains(stem->text)) names.push_back(name);
  }
  removeAll(files, folder, names);
}

Claim::Claim(FileSystem& files, const std::string& folder)
    : files_(files), lock_(claim(files, folder + "/" + TemporaryNames::kRecoveryMark)) {}

Claim::~Claim() {
  try {
    if (lock_->isInPlace()) files_.remove(lock_->path());
  } catch (const std::exception& failure) {
    logFailure("A mark of the recovery was left", failure.what());
  }
}

}  // namespace hxroi::details::LeftOvers
