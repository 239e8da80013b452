#include "hxroi/details/OwnerMark.h"

#include <cstddef>
#include <exception>
#include <span>
#include <unistd.h>

#include "hxroi/details/LeftOvers.h"
#include "hxroi/details/TemporaryNames.h"
#include "hxroi/details/logFailure.h"
#include "quarn/base/McException.h"

namespace hxroi::details {

namespace {

using hxvoxora::FileKind;
using hxvoxora::FileSystem;

constexpr int kMostNumbers = 200;
constexpr std::size_t kTimeLength = 22;

/// Somebody may take away or lock at any time what seemed to be there.
std::unique_ptr<hxvoxora::FileLock> lockIfPresent(FileSystem& files, const std::string& path) {
  try {
    return files.tryLock(path);
  } catch (const McException&) {
    if (files.kind(path) != FileKind::missing) throw;
    return nullptr;
  }
}

/// Null when somebody else has made it.
std::unique_ptr<hxvoxora::OutputFile> createIfMissing(FileSystem& files, const std::string& path) {
  try {
    return files.createExclusively(path, FileSystem::Access::ownerOnly);
  } catch (const McException&) {
    if (files.kind(path) == FileKind::missing) throw;
    return nullptr;
  }
}

}  // namespace

OwnerMark::OwnerMark(FileSystem& files, const std::string& folder, const std::string& since)
    : files_(files), folder_(folder), since_(since), process_(::getpid()) {
  while (number_ < kMostNumbers && !tryNumber(number_)) ++number_;
  if (!lock_) throw McException(McException::excerpt(folder) + ": no file can be locked");
}

/// False when another process has this number.
bool OwnerMark::tryNumber(int number) {
  const std::string path = folder_ + "/" + TemporaryNames::ownerMark(process_, number);
  if (files_.kind(path) != FileKind::missing) {
    const auto dead = lockIfPresent(files_, path);
    if (!dead) return false;
    files_.remove(path);
  }
  const auto file = createIfMissing(files_, path);
  if (!file) return false;
  try {
    file->append(std::as_bytes(std::span(since_)));
    file->close();
    // Nobody else keeps a lock on it; who looks whether it is locked just now takes it for dead.
    lock_ = lockIfPresent(files_, path);
  } catch (const McException&) {
    files_.remove(path);
    throw;
  }
  return lock_ != nullptr;
}

OwnerMark::~OwnerMark() {
  try {
    if (holds()) files_.remove(lock_->path());
  } catch (const std::exception& failure) {
    logFailure("The mark of this process was left", failure.what());
  }
}

bool OwnerMark::holds() const {
  return process_ == ::getpid() && lock_ && lock_->isInPlace();
}

void OwnerMark::removeOwnFiles(const std::set<std::string>& kept) {
  LeftOvers::removeOwn(files_, folder_, since_, number_, kept);
}

std::string OwnerMark::sinceOf(FileSystem& files, const std::string& path) {
  try {
    const auto file = files.openForReading(path, FileSystem::Links::refuse);
    std::string text(kTimeLength, '\0');
    return file->readAt(0, std::as_writable_bytes(std::span(text))) == kTimeLength ? text : std::string();
  } catch (const McException&) {
    return {};
  }
}

}  // namespace hxroi::details
