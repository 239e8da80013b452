#include "quarn/voxora/files/PassingFileSystem.h"

namespace hxvoxora {

namespace {

class PassingOutputFile : public OutputFile {
public:
  explicit PassingOutputFile(std::unique_ptr<OutputFile> file) : OutputFile(file->path()), file_(std::move(file)) {}

  void append(std::span<const std::byte> bytes) override { file_->append(bytes); }
  void sync() override {}
  void close() override { file_->close(); }

private:
  const std::unique_ptr<OutputFile> file_;
};

}  // namespace

std::unique_ptr<InputFile> PassingFileSystem::openForReading(const std::string& path, Links links) {
  return base_.openForReading(path, links);
}

std::unique_ptr<OutputFile> PassingFileSystem::createExclusively(const std::string& path, Access access) {
  return std::make_unique<PassingOutputFile>(base_.createExclusively(path, access));
}

void PassingFileSystem::rename(const std::string& from, const std::string& to) {
  base_.rename(from, to);
}

bool PassingFileSystem::remove(const std::string& path) {
  return base_.remove(path);
}

FileKind PassingFileSystem::kind(const std::string& path) {
  return base_.kind(path);
}

std::vector<std::string> PassingFileSystem::list(const std::string& directory) {
  return base_.list(directory);
}

void PassingFileSystem::syncDirectory(const std::string& /*directory*/) {}

void PassingFileSystem::makePrivateDirectory(const std::string& path) {
  base_.makePrivateDirectory(path);
}

void PassingFileSystem::createDirectory(const std::string& path, Access access) {
  base_.createDirectory(path, access);
}

bool PassingFileSystem::removeDirectory(const std::string& path) {
  return base_.removeDirectory(path);
}

bool PassingFileSystem::isWritable(const std::string& directory) {
  return base_.isWritable(directory);
}

std::unique_ptr<FileLock> PassingFileSystem::tryLock(const std::string& path) {
  return base_.tryLock(path);
}

std::unique_ptr<FileLock> PassingFileSystem::tryLockShared(const std::string& path) {
  return base_.tryLockShared(path);
}

bool PassingFileSystem::isOneFileSystem(const std::string& directory, const std::string& other) {
  return base_.isOneFileSystem(directory, other);
}

std::uint64_t PassingFileSystem::freeSpace(const std::string& directory) {
  return base_.freeSpace(directory);
}

}  // namespace hxvoxora
