#include "quarn/voxora/files/FileSystem.h"

#include <atomic>

#include "quarn/voxora/files/PosixFileSystem.h"

namespace hxvoxora {

namespace {

std::atomic<FileSystem*> replacement = nullptr;

}  // namespace

FileSystem::~FileSystem() = default;
FileLock::~FileLock() = default;

FileSystem& FileSystem::posix() {
  static PosixFileSystem& instance = *new PosixFileSystem;  // wanted until the last library has ended
  return instance;
}

FileSystem& FileSystem::current() {
  FileSystem* other = replacement.load();
  return other ? *other : posix();
}

FileSystemOverride::FileSystemOverride(FileSystem& fileSystem) : former_(replacement.exchange(&fileSystem)) {}

FileSystemOverride::~FileSystemOverride() {
  replacement = former_;
}

}  // namespace hxvoxora
