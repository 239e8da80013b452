#include "hxroi/detail/SetLock.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <exception>
#include <span>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <utility>

#include "quarn/base/McException.h"

namespace hxroi {

using hxvoxora::FileKind;
using hxvoxora::FileLock;
using hxvoxora::FileSystem;
using std::chrono::milliseconds;

namespace {

constexpr const char* kLockName = "/.lock";
constexpr const char* kTurnName = "/.turn";
constexpr milliseconds kPause(2);

std::atomic<milliseconds> patience{milliseconds(5000)};

/// Who has the lock, as others are told.
std::string ownName() {
  std::array<char, 256> host{};
  if (::gethostname(host.data(), host.size() - 1) != 0) host[0] = '?';
  return "process " + std::to_string(::getpid()) + " on " + host.data();
}

std::string holderOf(FileSystem& files, const std::string& path) {
  try {
    const auto file = files.openForReading(path, FileSystem::Links::refuse);
    std::string text(300, '\0');
    text.resize(file->readAt(0, std::as_writable_bytes(std::span(text))));
    return McException::excerpt(text);
  } catch (const McException&) {
    return {};
  }
}

[[noreturn]] void refuse(FileSystem& files, const std::string& path) {
  const std::string holder = holderOf(files, path);
  throw McException(McException::excerpt(path) + ": locked by " +
                    (holder.empty() ? std::string("another program, which reads the set") : holder) +
                    "; try again when it is done");
}

/// Asks until there is an answer or the patience is at its end.
template <class Question>
auto ask(Question question, milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  for (;;) {
    auto answer = question();
    if (answer || std::chrono::steady_clock::now() >= end) return answer;
    std::this_thread::sleep_for(kPause);
  }
}

void makeIfMissing(FileSystem& files, const std::string& path) {
  if (files.kind(path) != FileKind::missing) return;
  try {
    files.createExclusively(path, FileSystem::Access::byMask)->close();
  } catch (const McException&) {
    // Another program may have made it in between.
    if (files.kind(path) == FileKind::missing) throw;
  }
}

std::unique_ptr<FileLock> tryAlone(FileSystem& files, const std::string& path) {
  makeIfMissing(files, path);
  return files.tryLock(path);
}

/// What a reader gets; both are empty while somebody saves or waits to.
struct ReadingLock {
  bool isOver = false;  ///< nothing to wait for
  std::unique_ptr<FileLock> lock;
  explicit operator bool() const { return isOver; }
};

ReadingLock tryShared(FileSystem& files, const std::string& folder) {
  const std::string turnPath = folder + kTurnName;
  std::unique_ptr<FileLock> turn;
  if (files.kind(turnPath) != FileKind::missing) {
    turn = files.tryLockShared(turnPath);
    if (!turn) return {};
  }
  if (!SetLock::isPresent(files, folder)) return {true, nullptr};
  auto lock = files.tryLockShared(folder + kLockName);
  const bool isOver = lock != nullptr;
  return {isOver, std::move(lock)};
}

}  // namespace

SetLock::SetLock(FileSystem& files, std::unique_ptr<FileLock> turn, std::unique_ptr<FileLock> lock)
    : files_(files), turn_(std::move(turn)), lock_(std::move(lock)), isAlone_(turn_ != nullptr) {
  if (isAlone_) writeHolder(ownName());
}

SetLock::~SetLock() {
  if (isAlone_) writeHolder("");
}

/// The name only serves others; a full disk must not keep a set from being saved elsewhere or read. A name too many in
/// a file that is not locked misleads nobody.
void SetLock::writeHolder(const std::string& name) noexcept {
  try {
    lock_->write(name);
  } catch (const std::exception&) {
    // Who meets the lock is told of another program.
  }
}

std::unique_ptr<SetLock> SetLock::forSaving(FileSystem& files, const std::string& folder) {
  const auto takeAlone = [&](const std::string& path) {
    auto lock = ask([&] { return tryAlone(files, path); }, patience);
    if (!lock) refuse(files, folder + kLockName);
    return lock;
  };
  auto turn = takeAlone(folder + kTurnName);
  auto lock = takeAlone(folder + kLockName);
  return std::unique_ptr<SetLock>(new SetLock(files, std::move(turn), std::move(lock)));
}

std::unique_ptr<SetLock> SetLock::tryForSaving(FileSystem& files, const std::string& folder) {
  auto turn = tryAlone(files, folder + kTurnName);
  auto lock = turn ? tryAlone(files, folder + kLockName) : nullptr;
  if (!lock) return nullptr;
  return std::unique_ptr<SetLock>(new SetLock(files, std::move(turn), std::move(lock)));
}

std::unique_ptr<SetLock> SetLock::forReading(FileSystem& files, const std::string& folder) {
  if (!isPresent(files, folder)) return nullptr;
  ReadingLock taken = ask([&] { return tryShared(files, folder); }, patience);
  if (!taken) refuse(files, folder + kLockName);
  if (!taken.lock) return nullptr;
  return std::unique_ptr<SetLock>(new SetLock(files, nullptr, std::move(taken.lock)));
}

bool SetLock::isPresent(FileSystem& files, const std::string& folder) {
  return files.kind(folder + kLockName) != FileKind::missing;
}

void SetLock::removeFiles() {
  for (const char* name : {kLockName, kTurnName}) {
    const std::string path = lock_->path().substr(0, lock_->path().rfind('/')) + name;
    files_.remove(path);
  }
}

milliseconds SetLock::setPatience(milliseconds newPatience) {
  return patience.exchange(newPatience);
}

}  // namespace hxroi
