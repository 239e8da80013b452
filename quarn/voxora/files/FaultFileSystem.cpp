#include "quarn/voxora/files/FaultFileSystem.h"

#include <algorithm>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/FileError.h"

namespace hxvoxora {

const char* fileCallName(FileCall call) {
  switch (call) {
    case FileCall::open:
    case FileCall::create:
      return "open";
    case FileCall::read:
      return "read";
    case FileCall::identity:
      return "fstat";
    case FileCall::write:
      return "write";
    case FileCall::sync:
    case FileCall::syncDirectory:
      return "fsync";
    case FileCall::close:
      return "close";
    case FileCall::rename:
      return "rename";
    case FileCall::remove:
      return "unlink";
    case FileCall::kind:
      return "lstat";
    case FileCall::list:
      return "opendir";
    case FileCall::makeDirectory:
      return "mkdir";
    case FileCall::removeDirectory:
      return "rmdir";
    case FileCall::isWritable:
      return "access";
    case FileCall::lock:
      return "fcntl";
    case FileCall::device:
      return "stat";
    case FileCall::freeSpace:
      return "statvfs";
  }
  return "";
}

class FaultFileSystem::Input : public InputFile {
public:
  Input(FaultFileSystem& files, std::unique_ptr<InputFile> file)
      : InputFile(file->path()), files_(files), file_(std::move(file)) {}

  std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) const override {
    files_.step(FileCall::read, path());
    return file_->readAt(offset, out);
  }

  FileIdentity identity() const override {
    files_.step(FileCall::identity, path());
    return file_->identity();
  }

private:
  FaultFileSystem& files_;
  const std::unique_ptr<InputFile> file_;
};

class FaultFileSystem::Output : public OutputFile {
public:
  Output(FaultFileSystem& files, std::unique_ptr<OutputFile> file)
      : OutputFile(file->path()), files_(files), file_(std::move(file)) {}

  void append(std::span<const std::byte> bytes) override {
    std::size_t written = 0;
    if (const auto failure = files_.note(FileCall::write, path(), &written)) {
      if (!bytes.empty()) file_->append(bytes.first(std::min(written, bytes.size() - 1)));
      files_.fail(*failure);
    }
    file_->append(bytes);
  }

  void sync() override {
    files_.step(FileCall::sync, path());
    file_->sync();
  }

  void close() override {
    files_.step(FileCall::close, path());
    file_->close();
  }

private:
  FaultFileSystem& files_;
  const std::unique_ptr<OutputFile> file_;
};

class FaultFileSystem::Lock : public FileLock {
public:
  Lock(FaultFileSystem& files, std::unique_ptr<FileLock> lock)
      : FileLock(lock->path()), files_(files), lock_(std::move(lock)) {}

  bool isInPlace() const override { return lock_->isInPlace(); }

  void write(std::string_view text) override {
    files_.step(FileCall::write, path());
    lock_->write(text);
  }

private:
  FaultFileSystem& files_;
  const std::unique_ptr<FileLock> lock_;
};

void FaultFileSystem::arm(const Fault& fault) {
  const std::lock_guard lock(mutex_);
  fault_ = fault;
  counted_ = 0;
  hasFailed_ = false;
  log_.clear();
}

void FaultFileSystem::disarm() {
  const std::lock_guard lock(mutex_);
  fault_.reset();
}

bool FaultFileSystem::hasFailed() const {
  const std::lock_guard lock(mutex_);
  return hasFailed_;
}

std::vector<FaultFileSystem::Call> FaultFileSystem::log() const {
  const std::lock_guard lock(mutex_);
  return log_;
}

std::uint64_t FaultFileSystem::callCount() const {
  const std::lock_guard lock(mutex_);
  return log_.size();
}

std::uint64_t FaultFileSystem::callCount(FileCall kind) const {
  const std::lock_guard lock(mutex_);
  return static_cast<std::uint64_t>(
      std::count_if(log_.begin(), log_.end(), [&](const Call& call) { return call.kind == kind; }));
}

std::optional<std::string> FaultFileSystem::note(FileCall kind, const std::string& path, std::size_t* written) {
  const std::lock_guard lock(mutex_);
  log_.push_back({kind, path, false});
  if (!fault_) return std::nullopt;
  const bool counts = !fault_->only || *fault_->only == kind;
  if (counts) ++counted_;
  const bool isFirst = counts && counted_ == fault_->call;
  const bool isLater =
      hasFailed_ && (fault_->extent == Extent::killed || (fault_->extent == Extent::forever && counts));
  if (!isFirst && !isLater) return std::nullopt;
  if (isFirst && written) *written = fault_->writtenBytes;
  hasFailed_ = true;
  log_.back().failed = true;
  return std::string(fileCallName(kind)) + " " + McException::excerpt(path) + ": " + fault_->reason;
}

void FaultFileSystem::step(FileCall kind, const std::string& path) {
  if (const auto failure = note(kind, path)) fail(*failure);
}

void FaultFileSystem::fail(const std::string& text) const {
  const std::lock_guard lock(mutex_);
  throw FileError(text, fault_ ? fault_->number : ENOSPC);
}

std::unique_ptr<FileLock> FaultFileSystem::watched(std::unique_ptr<FileLock> lock) {
  return lock ? std::make_unique<Lock>(*this, std::move(lock)) : nullptr;
}

std::unique_ptr<InputFile> FaultFileSystem::openForReading(const std::string& path, Links links) {
  step(FileCall::open, path);
  return std::make_unique<Input>(*this, base_.openForReading(path, links));
}

std::unique_ptr<OutputFile> FaultFileSystem::createExclusively(const std::string& path, Access access) {
  step(FileCall::create, path);
  return std::make_unique<Output>(*this, base_.createExclusively(path, access));
}

void FaultFileSystem::rename(const std::string& from, const std::string& to) {
  step(FileCall::rename, from + " to " + to);
  base_.rename(from, to);
}

bool FaultFileSystem::remove(const std::string& path) {
  step(FileCall::remove, path);
  return base_.remove(path);
}

FileKind FaultFileSystem::kind(const std::string& path) {
  step(FileCall::kind, path);
  return base_.kind(path);
}

std::vector<std::string> FaultFileSystem::list(const std::string& directory) {
  step(FileCall::list, directory);
  return base_.list(directory);
}

void FaultFileSystem::syncDirectory(const std::string& directory) {
  step(FileCall::syncDirectory, directory);
  base_.syncDirectory(directory);
}

void FaultFileSystem::makePrivateDirectory(const std::string& path) {
  step(FileCall::makeDirectory, path);
  base_.makePrivateDirectory(path);
}

void FaultFileSystem::createDirectory(const std::string& path, Access access) {
  step(FileCall::makeDirectory, path);
  base_.createDirectory(path, access);
}

bool FaultFileSystem::removeDirectory(const std::string& path) {
  step(FileCall::removeDirectory, path);
  return base_.removeDirectory(path);
}

bool FaultFileSystem::isWritable(const std::string& directory) {
  return !note(FileCall::isWritable, directory) && base_.isWritable(directory);
}

std::unique_ptr<FileLock> FaultFileSystem::tryLock(const std::string& path) {
  step(FileCall::lock, path);
  return watched(base_.tryLock(path));
}

std::unique_ptr<FileLock> FaultFileSystem::tryLockShared(const std::string& path) {
  step(FileCall::lock, path);
  return watched(base_.tryLockShared(path));
}

bool FaultFileSystem::isOneFileSystem(const std::string& directory, const std::string& other) {
  step(FileCall::device, directory);
  return base_.isOneFileSystem(directory, other);
}

std::uint64_t FaultFileSystem::freeSpace(const std::string& directory) {
  step(FileCall::freeSpace, directory);
  return base_.freeSpace(directory);
}

}  // namespace hxvoxora
